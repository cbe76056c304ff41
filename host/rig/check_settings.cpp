#include "rig/check_settings.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <cmath>
#include <optional>

#include "base/number_text.h"
#include "dev/camera/roi.h"
#include "dev/camera_models.h"
#include "dev/lens_rules.h"
#include "orvo_proc_cimage/image.h"
#include "rig/nearest.h"

namespace host {

namespace {

const char* const separators = " \t,";
constexpr double half_pi = 1.5707963267948966;

/// What the value of a key must look like.
enum class Value
{
    Any,           ///< text, or looked at elsewhere
    Pose,          ///< three finite numbers
    Pair,          ///< two finite numbers
    Numbers,       ///< any count of finite numbers
    Positive,      ///< one number above 0
    FocalLengths,  ///< two numbers, none below 0
    Angles,        ///< two angles from 0 to less than a right one
    Format,        ///< an image descriptor
    Region,        ///< a region of interest
    Compression,   ///< of recorded frames
    CameraModelName,
    LensModelName
};

struct TRule
{
    const char* key;
    DeviceType since;  ///< the least type that has the key
    Value value;
};

const TRule rules[] = {
    {"TYPE", DeviceType::Device, Value::Any},
    {"VENDOR", DeviceType::Device, Value::Any},
    {"MODEL", DeviceType::Device, Value::Any},
    {"SERIAL", DeviceType::Device, Value::Any},
    {"DESCRIPTION", DeviceType::Device, Value::Any},
    {"POSITION", DeviceType::Sensor, Value::Pose},
    {"ORIENTATION", DeviceType::Sensor, Value::Pose},
    {"RELATIVE TO", DeviceType::Sensor, Value::Any},
    {"RELATIVE POSITION", DeviceType::Sensor, Value::Pose},
    {"RELATIVE ORIENTATION", DeviceType::Sensor, Value::Pose},
    {"FB", DeviceType::Camera, Value::Format},
    {"ROI", DeviceType::Camera, Value::Region},
    {"CAMERA MODEL", DeviceType::Camera, Value::CameraModelName},
    {"DISTORTION MODEL", DeviceType::Camera, Value::LensModelName},
    {"DISTORTION CENTER", DeviceType::Camera, Value::Pair},
    {"DISTORTION K", DeviceType::Camera, Value::Numbers},
    {"DISTORTION K RATIO", DeviceType::Camera, Value::Numbers},
    {"OPTICAL CENTER", DeviceType::Camera, Value::Pair},
    {"ANGULAR FOV", DeviceType::Camera, Value::Angles},
    {"PIXEL FOCAL LENGTH", DeviceType::Camera, Value::FocalLengths},
    {"FOCAL LENGTH", DeviceType::Camera, Value::Any},  // written by saving, read by nobody
    {"PIXEL ASPECT RATIO", DeviceType::Camera, Value::Positive},
    {"SOURCE", DeviceType::Camera, Value::Any},
    {"OUTPUT", DeviceType::Camera, Value::Any},
    {"RECORD", DeviceType::Camera, Value::Any},
    {"RECORD COMPRESSION", DeviceType::Camera, Value::Compression},
};

const TRule* FindRule(const std::string& key)
{
    const auto found =
        std::find_if(std::begin(rules), std::end(rules), [&](const TRule& rule) { return key == rule.key; });
    return found == std::end(rules) ? nullptr : found;
}

bool StartsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// The finite numbers of a list, or none when a token is anything else.
std::optional<std::vector<double>> FiniteNumbers(const std::string& text)
{
    std::vector<double> numbers;
    try {
        numbers = base::ParseNumbers(text);
    } catch (const boost::bad_lexical_cast&) {
        return std::nullopt;
    }
    if (!std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); }))
        return std::nullopt;
    return numbers;
}

template <typename Row>
std::vector<std::string> Names(const std::vector<Row>& table)
{
    std::vector<std::string> names;
    for (const Row& row : table)
        names.push_back(row.text);
    return names;
}

std::string Joined(const std::vector<std::string>& names)
{
    return fmt::format("{}", fmt::join(names, ", "));
}

class CSettingsCheck
{
public:
    CSettingsCheck(const TRig& rig, const TDevice& device, std::vector<TFault>& faults)
        : rig_(rig), device_(device), faults_(faults)
    {
    }

    void CheckKeys(const std::vector<std::string>* driver_keys);
    void CheckCamera();

private:
    void Add(const std::string& key, const std::string& found, const std::string& wanted,
             const std::string& suggestion = {});
    void CheckUnknown(const std::string& key, const std::vector<std::string>* driver_keys);
    void CheckValue(const std::string& key, const std::string& text, Value value);
    void CheckFormat(const std::string& text);
    void CheckRegion(const std::string& text);
    void CheckPair(const std::string& key, const std::string& text, Value value);
    void CheckLensCounts();
    void CheckFocalVersion();

    template <typename Enum>
    std::optional<Enum> Model(const std::string& key, const std::vector<dev::TModelName<Enum>>& table,
                              Enum fallback) const;
    template <typename Enum>
    void CheckModel(const std::string& key, const std::string& text, const std::vector<dev::TModelName<Enum>>& table);

    const TRig& rig_;
    const TDevice& device_;
    std::vector<TFault>& faults_;
};

void CSettingsCheck::Add(const std::string& key, const std::string& found, const std::string& wanted,
                         const std::string& suggestion)
{
    const std::size_t line = device_.settings.Line(key);
    faults_.push_back({line > 0 ? line : device_.settings.Line(), device_.name, key, found, wanted, suggestion});
}

void CSettingsCheck::CheckKeys(const std::vector<std::string>* driver_keys)
{
    for (const std::string& key : device_.settings.Keys()) {
        const TRule* const rule = FindRule(key);
        // Node lines are checked with the tree; lookup tables are a program's own, under any name that begins so.
        const bool camera_family = StartsWith(key, "LUT") || StartsWith(key, "PREPROCESS") || IsVideoKey(key);
        if (rule != nullptr ? device_.type < rule->since : camera_family && device_.type != DeviceType::Camera)
            Add(key, fmt::format("a key that a {} does not have", TypeName(device_.type)),
                fmt::format("TYPE = {}, or no such key", TypeName(rule != nullptr ? rule->since : DeviceType::Camera)));
        else if (rule != nullptr)
            CheckValue(key, ValueOr(device_.settings, key, {}), rule->value);
        else if (IsVideoKey(key) && !VideoName(key))
            Add(key, "a key that names no setting",
                "\"VIDEO <property>.<attribute>\", for instance VIDEO Exposure.Time");
        else if (!camera_family)
            CheckUnknown(key, driver_keys);
    }
}

void CSettingsCheck::CheckUnknown(const std::string& key, const std::vector<std::string>* driver_keys)
{
    std::vector<std::string> known;
    if (driver_keys != nullptr)
        known = *driver_keys;
    if (std::find(known.begin(), known.end(), key) != known.end())
        return;
    for (const TRule& rule : rules)
        if (rule.since <= device_.type)
            known.push_back(rule.key);
    if (device_.type == DeviceType::Camera)
        known.push_back("PREPROCESS 1");
    const std::string nearest = Nearest(key, known);
    // Without its driver nobody can tell whether the camera has a key of that name.
    if (device_.type == DeviceType::Camera && driver_keys == nullptr && nearest.empty())
        return;
    Add(key, "an unknown key", fmt::format("one that a {} has", TypeName(device_.type)), nearest);
}

void CSettingsCheck::CheckValue(const std::string& key, const std::string& text, Value value)
{
    switch (value) {
        case Value::Any:
            break;
        case Value::Pose: {
            const auto numbers = FiniteNumbers(text);
            if (!numbers || numbers->size() != 3)
                Add(key, Quoted(text), "three finite numbers, for instance \"0.0, 0.0, 0.0\"");
            break;
        }
        case Value::Pair:
        case Value::FocalLengths:
        case Value::Angles:
            CheckPair(key, text, value);
            break;
        case Value::Numbers:
            if (!FiniteNumbers(text))
                Add(key, Quoted(text), "finite numbers, for instance \"-0.27, 0.04, 0.0, 0.0\"");
            break;
        case Value::Positive: {
            const auto numbers = FiniteNumbers(text);
            if (!numbers || numbers->size() != 1 || numbers->front() <= 0.0)
                Add(key, Quoted(text), "one number above 0");
            break;
        }
        case Value::Format:
            CheckFormat(text);
            break;
        case Value::Region:
            CheckRegion(text);
            break;
        case Value::Compression:
            if (text != "none" && text != "png" && text != "zstd")
                Add(key, Quoted(text), "none, png or zstd", Nearest(text, {"none", "png", "zstd"}));
            break;
        case Value::CameraModelName:
            CheckModel(key, text, dev::mapCameraModel_INIStr);
            break;
        case Value::LensModelName:
            CheckModel(key, text, dev::mapLensModel_INIStr);
            break;
    }
}

void CSettingsCheck::CheckPair(const std::string& key, const std::string& text, Value value)
{
    const auto numbers = FiniteNumbers(text);
    const auto all = [&](auto&& condition) { return std::all_of(numbers->begin(), numbers->end(), condition); };
    if (!numbers || numbers->size() != 2)
        Add(key, Quoted(text), "two finite numbers, for instance \"0.0, 0.0\"");
    else if (value == Value::FocalLengths && !all([](double length) { return length >= 0.0; }))
        Add(key, Quoted(text), "two focal lengths in pixels, not below 0");
    else if (value == Value::Angles && rig_.version == hws::Version::V1_0 &&
             !all([](double angle) { return angle >= 0.0 && angle < half_pi; }))
        Add(key, Quoted(text), "two angles in radians between the optical axis and the image border, from 0 to 1.57");
}

void CSettingsCheck::CheckFormat(const std::string& text)
{
    try {
        const auto image = cimage::Build(text);
        dev::camera::CRoI(image->Width(), image->Height());
    } catch (const std::invalid_argument&) {
        std::vector<std::string> names;
        for (const cimage::TPixelFormat& format : cimage::PixelFormats())
            names.push_back(format.name);
        const auto tokens = base::Tokens(text, " \t");
        const std::string name = tokens.empty() ? std::string() : tokens.front();
        const bool known = std::find(names.begin(), names.end(), name) != names.end();
        Add("FB", Quoted(text), "\"<pixel format> <width>x<height>\", for instance \"Mono8 1280x960\"",
            known ? std::string() : Nearest(name, names));
    } catch (const std::runtime_error& error) {
        Add("FB", Quoted(text), fmt::format("an image at least two pixels wide and high ({})", error.what()));
    }
}

void CSettingsCheck::CheckRegion(const std::string& text)
{
    const std::string format = ValueOr(device_.settings, "FB", {});
    dev::camera::CRoI roi;
    try {
        const auto image = cimage::Build(format);
        roi = dev::camera::CRoI(image->Width(), image->Height());
    } catch (const std::exception&) {
        return;  // told at "FB"
    }
    try {
        ParseRegion(roi, format, text);
    } catch (const std::runtime_error& error) {
        faults_.push_back(FaultFromText(device_.settings.Line("ROI"), device_.name, "ROI", error.what()));
    }
}

template <typename Enum>
std::optional<Enum> CSettingsCheck::Model(const std::string& key, const std::vector<dev::TModelName<Enum>>& table,
                                          Enum fallback) const
{
    std::string text;
    if (!device_.settings.efind(key, text))
        return fallback;
    const auto row = std::find_if(table.begin(), table.end(), [&](const auto& each) { return text == each.text; });
    return row == table.end() ? std::nullopt : std::optional<Enum>(row->value);
}

template <typename Enum>
void CSettingsCheck::CheckModel(const std::string& key, const std::string& text,
                                const std::vector<dev::TModelName<Enum>>& table)
{
    if (!Model(key, table, Enum()))
        Add(key, Quoted(text), "one of " + Joined(Names(table)), Nearest(text, Names(table)));
}

void CSettingsCheck::CheckLensCounts()
{
    const auto camera = Model("CAMERA MODEL", dev::mapCameraModel_INIStr, dev::CameraModel::Pinhole);
    const auto lens = Model("DISTORTION MODEL", dev::mapLensModel_INIStr, dev::LensModel::NoDistortion);
    const auto coefficients = FiniteNumbers(ValueOr(device_.settings, "DISTORTION K", {}));
    if (!camera || !lens || !coefficients)
        return;
    const std::string complaint = dev::CheckLens(*camera, *lens, coefficients->size());
    if (complaint.empty())
        return;
    // Blame the key that is there: a model without coefficients has no line for them.
    const char* key = "CAMERA MODEL";
    for (const char* const candidate : {"DISTORTION MODEL", "DISTORTION K"})
        if (device_.settings.Line(candidate) > 0)
            key = candidate;
    const std::size_t line = device_.settings.Line(key);
    faults_.push_back(FaultFromText(line > 0 ? line : device_.settings.Line(), device_.name, key, complaint));
}

/// A measured value under the other format's key would silently count for nothing.
void CSettingsCheck::CheckFocalVersion()
{
    const bool old = rig_.version == hws::Version::V1_0;
    const std::string read = old ? "ANGULAR FOV" : "PIXEL FOCAL LENGTH";
    const std::string unread = old ? "PIXEL FOCAL LENGTH" : "ANGULAR FOV";
    const auto measured = FiniteNumbers(ValueOr(device_.settings, unread, {}));
    if (device_.settings.Line(read) > 0 || !measured)
        return;
    // Zeros stand for "not measured"; saving adds them under both keys.
    if (std::any_of(measured->begin(), measured->end(), [](double number) { return number != 0.0; }))
        Add(unread, fmt::format("a key that HWS VERSION {} does not read", old ? "1.0" : "1.1"),
            fmt::format("\"{}\", or the other HWS VERSION", read));
}

void CSettingsCheck::CheckCamera()
{
    if (device_.settings.Line("FB") == 0)
        Add("FB", "nothing", "\"<pixel format> <width>x<height>\", for instance \"Mono8 1280x960\"");
    CheckLensCounts();
    CheckFocalVersion();
    // Cameras give their names to folders of pictures, to lists on the command line and to lines of a terminal.
    const bool has_control =
        std::any_of(device_.name.begin(), device_.name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
    if (device_.name.find_first_of("/,") != std::string::npos || device_.name == "." || device_.name == ".." ||
        has_control)
        faults_.push_back({device_.settings.Line(),
                           device_.name,
                           {},
                           "a camera of this name",
                           "one that can name a folder, without commas and control characters",
                           {}});
}

/// What a region lets pass and a camera that cuts its region out of whole pictures cannot do; empty: nothing.
std::string WantedOfPictures(const dev::camera::CRoI& roi, const std::string& format)
{
    const std::string pixels = cimage::Build(format)->Format().name;
    if (roi.Left() < 0 || roi.Top() < 0 || roi.Right() >= roi.SensorWidth() || roi.Bottom() >= roi.SensorHeight())
        return fmt::format("a region within the {} pixels of \"FB\"", roi.StrSensor());
    if (StartsWith(pixels, "Bayer") && (roi.Left() % 2 != 0 || roi.Top() % 2 != 0))
        return "even left and top edges, which keep the order of the Bayer pattern";
    if (StartsWith(pixels, "YUV422") && (roi.Left() % 2 != 0 || roi.Width() % 2 != 0))
        return "an even left edge and an even width, for two pixels share their colour";
    return {};
}

}  // namespace

dev::camera::CRoI ParseRegion(dev::camera::CRoI roi, const std::string& format, const std::string& text)
{
    const std::size_t count = base::Tokens(text, separators).size();
    std::string wanted = "\"width height\" or \"left top right bottom\"";
    if (count == 2 || count == 4) {
        try {
            roi.Resize(text);
            wanted = WantedOfPictures(roi, format);
        } catch (const boost::bad_lexical_cast&) {
            wanted = "whole numbers of pixels";
        } catch (const std::runtime_error& error) {
            wanted = fmt::format("a region within the {} pixels of \"FB\" ({})", roi.StrSensor(), error.what());
        }
    }
    if (!wanted.empty())
        throw std::runtime_error(fmt::format("found {}, wanted {}", Quoted(text), wanted));
    return roi;
}

void CheckSettings(const TRig& rig, const TDevice& device, const std::vector<std::string>* driver_keys,
                   std::vector<TFault>& faults)
{
    CSettingsCheck check(rig, device, faults);
    check.CheckKeys(driver_keys);
    if (device.type == DeviceType::Camera)
        check.CheckCamera();
}

}  // namespace host
