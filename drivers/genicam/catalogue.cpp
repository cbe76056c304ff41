#include "genicam/catalogue.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <cctype>
#include <cstddef>
#include <map>
#include <set>
#include <stdexcept>

#include "genicam/feature_node.h"

namespace genicam {
namespace {

struct TKnown
{
    const char* property;
    const char* attribute;
    const char* feature;
    const char* unit;  ///< nullptr: what the description says
    bool is_governed;  ///< by the "Mode" of the property, which is listed before
};

// Of several features for one attribute the first that the camera has is shown, and the others are not shown at all:
// they are the same quantity in other units.
const TKnown known_features[] = {
    {"Exposure", "Mode", "ExposureAuto", nullptr, false},
    {"Exposure", "Time", "ExposureTime", "us", true},
    {"Exposure", "Time", "ExposureTimeAbs", "us", true},
    {"Exposure", "Time", "ExposureTimeRaw", nullptr, true},
    {"Gain", "Mode", "GainAuto", nullptr, false},
    {"Gain", "Value", "Gain", nullptr, true},
    {"Gain", "Value", "GainAbs", nullptr, true},
    {"Gain", "Value", "GainRaw", nullptr, true},
    {"Black Level", "Mode", "BlackLevelAuto", nullptr, false},
    {"Black Level", "Value", "BlackLevel", nullptr, true},
    {"Black Level", "Value", "BlackLevelAbs", nullptr, true},
    {"Black Level", "Value", "BlackLevelRaw", nullptr, true},
    {"Frame Rate", "Enabled", "AcquisitionFrameRateEnable", nullptr, false},
    {"Frame Rate", "Value", "AcquisitionFrameRate", "Hz", false},
    {"Frame Rate", "Value", "AcquisitionFrameRateAbs", "Hz", false},
    {"White Balance", "Mode", "BalanceWhiteAuto", nullptr, false},
    {"White Balance", "Channel", "BalanceRatioSelector", nullptr, false},
    {"White Balance", "Ratio", "BalanceRatio", nullptr, true},
    {"White Balance", "Ratio", "BalanceRatioAbs", nullptr, true},
    {"White Balance", "Ratio", "BalanceRatioRaw", nullptr, true},
    {"Image", "Pixel Format", "PixelFormat", nullptr, false},
    {"Device", "Identity.Vendor", "DeviceVendorName", nullptr, false},
    {"Device", "Identity.Model", "DeviceModelName", nullptr, false},
    {"Device", "Identity.Serial", "DeviceSerialNumber", nullptr, false},
    {"Device", "Identity.Serial", "DeviceID", nullptr, false},
    {"Device", "Identity.Version", "DeviceVersion", nullptr, false},
    {"Device", "Identity.Firmware", "DeviceFirmwareVersion", nullptr, false},
};

bool BelongsToDriver(const std::string& feature)
{
    static const std::set<std::string> names = {
        "Width",         "Height",      "OffsetX",         "OffsetY",
        "LinePitch",     "PayloadSize", "AcquisitionMode", "AcquisitionFrameCount",
        "TLParamsLocked"};
    return names.count(feature) != 0 || boost::starts_with(feature, "Gev") || boost::starts_with(feature, "Chunk");
}

/// Categories of what is no setting: for the maker's tests, or parameters of commands, which are not shown.
bool IsNoSetting(const std::string& category)
{
    static const std::set<std::string> names = {"TestControl", "Debug", "FileAccessControl", "UserSetControl"};
    return names.count(category) != 0;
}

/// What a description may call a feature; everything else would be unusable as a key of a file.
void CheckName(const std::string& feature)
{
    const auto is_part = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    if (feature.find_first_not_of('_') == std::string::npos || !std::all_of(feature.begin(), feature.end(), is_part))
        throw std::runtime_error("found a name of other characters, wanted letters, digits and underscores");
}

bool ChangesFrameSize(const std::string& feature)
{
    return boost::starts_with(feature, "Binning") || boost::starts_with(feature, "Decimation");
}

/// "TLParamsLocked" to "TL Params Locked".
std::string Words(const std::string& name)
{
    const auto is = [&name](int (*kind)(int), std::size_t i) {
        return i < name.size() && kind(static_cast<unsigned char>(name[i])) != 0;
    };
    std::string words;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool begins = i > 0 && is(std::isupper, i) &&
                            (is(std::islower, i - 1) || is(std::isdigit, i - 1) ||
                             (is(std::isupper, i - 1) && is(std::islower, i + 1)));
        if (begins)
            words += ' ';
        words += name[i] == '_' ? ' ' : name[i];
    }
    return words;
}

class CLister
{
public:
    CLister(_ArvDevice* device, std::vector<std::string>& complaints) : device_(device), complaints_(complaints) {}

    std::vector<TPlace> List()
    {
        for (const TKnown& known : known_features)
            Try(known.feature, [&] { AddKnown(known); });
        seen_.insert("Root");
        for (const std::string& feature : CFeatureNode(device_, "Root").Members())
            Walk(feature, "", "");
        return std::move(places_);
    }

private:
    template <typename Work>
    void Try(const std::string& feature, const Work& work)
    {
        try {
            work();
        } catch (const std::runtime_error& error) {
            complaints_.push_back(feature + ": left out: " + error.what());
        }
    }

    void AddKnown(const TKnown& known)
    {
        const CFeatureNode node(device_, known.feature);
        if (node.Kind() == ValueKind::Other || !node.IsImplemented())
            return;
        const bool is_mode = known.attribute == std::string("Mode");
        if (is_mode && (node.IsReadOnly() || !IsAutomatic(node.Entries())))
            return;
        if (is_mode)
            modes_[known.property] = known.feature;
        seen_.insert(known.feature);
        if (names_.count(known.property + std::string(".") + known.attribute) == 0)
            Add(node, {known.property, known.attribute, known.feature, known.unit ? known.unit : node.Unit(),
                       known.is_governed ? modes_[known.property] : "", false});
    }

    /// A feature or category, below the category `property` (empty: at the top) and the groups `prefix`. What was met
    /// before is passed over, be it in another category or in a ring of them.
    void Walk(const std::string& feature, const std::string& property, const std::string& prefix)
    {
        if (!seen_.insert(feature).second)
            return;
        const std::string words = Words(feature);
        Try(feature, [&] {
            CheckName(feature);
            const CFeatureNode node(device_, feature);
            if (!node.IsImplemented() || !node.IsForUsers() || IsNoSetting(feature))
                return;
            for (const std::string& member : node.Members())
                property.empty() ? Walk(member, words, "") : Walk(member, property, prefix + words + ".");
            if (node.Kind() == ValueKind::Other || BelongsToDriver(feature) || !node.IsAvailable())
                return;
            TPlace place = {property.empty() ? "Features" : property,
                            prefix + words,
                            feature,
                            node.Unit(),
                            "",
                            ChangesFrameSize(feature)};
            if (names_.count(place.Name()) != 0)
                place.attribute = prefix + feature;
            Add(node, place);
        });
    }

    void Add(const CFeatureNode& node, TPlace place)
    {
        if (node.IsWriteOnly())
            return;
        place.read_only = place.read_only || node.IsReadOnly();
        names_.insert(place.Name());
        places_.push_back(place);
    }

    _ArvDevice* device_;
    std::vector<std::string>& complaints_;
    std::set<std::string> seen_;                ///< features and categories
    std::set<std::string> names_;               ///< of attributes
    std::map<std::string, std::string> modes_;  ///< the feature behind "Mode", by property
    std::vector<TPlace> places_;
};

}  // namespace

std::vector<TPlace> ListFeatures(_ArvDevice* device, std::vector<std::string>& complaints)
{
    return CLister(device, complaints).List();
}

bool IsAutomatic(const std::vector<std::string>& entries)
{
    const auto has = [&entries](const char* name) {
        return std::find(entries.begin(), entries.end(), name) != entries.end();
    };
    return has("Off") && (has("Continuous") || has("Once"));
}

}  // namespace genicam
