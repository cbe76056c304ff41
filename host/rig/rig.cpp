#include "rig/rig.h"

#include <fmt/format.h>
#include <algorithm>
#include <charconv>
#include <map>

#include "rig/nearest.h"

namespace host {

namespace {

const std::string rig_section = "RIG";
const std::vector<std::string> rig_keys = {"NAME", "HWS VERSION", "DATA DIR"};
const std::string video_prefix = "VIDEO ";
const std::vector<std::string> type_names = {"DEVICE", "SENSOR", "CAMERA"};  // by DeviceType

void ReadVersion(const kt::ini::INIFile& ini, TRig& rig, std::vector<TFault>& faults)
{
    const std::string text = ValueOr(ini, "HWS VERSION", "1.1");
    if (text == "1.0")
        rig.version = hws::Version::V1_0;
    else if (text != "1.1")
        faults.push_back({ini.Line("HWS VERSION"), rig_section, "HWS VERSION", Quoted(text), "1.0 or 1.1", {}});
}

void ReadDataDir(const kt::ini::INIFile& ini, TRig& rig, std::vector<TFault>& faults)
{
    // The data folder may lie relative to $INAME, but not to itself.
    const std::string file = std::filesystem::absolute(rig.file).string();
    rig.paths = kt::CVarReplacer("", file);
    rig.data_dir = Absolute(rig, ValueOr(ini, "DATA DIR", "."));
    std::error_code error;
    const auto canonical = std::filesystem::weakly_canonical(rig.data_dir, error);
    if (!error)
        rig.data_dir = canonical;
    rig.paths = kt::CVarReplacer(rig.data_dir.string(), file);

    std::string text;
    if (ini.efind("DATA DIR", text) && !std::filesystem::is_directory(rig.data_dir, error))
        faults.push_back({ini.Line("DATA DIR"),
                          rig_section,
                          "DATA DIR",
                          fmt::format("{} ({})", Quoted(text), rig.data_dir.string()),
                          "a folder that is there",
                          {}});
}

void ReadRigSection(const kt::ini::INIFile& ini, TRig& rig, std::vector<TFault>& faults)
{
    if (ini.Line() == 0)
        faults.push_back({1, rig_section, {}, "no such section", "one with the keys NAME, HWS VERSION, DATA DIR", {}});
    for (const std::string& key : ini.Keys())
        if (std::find(rig_keys.begin(), rig_keys.end(), key) == rig_keys.end())
            faults.push_back({ini.Line(key), rig_section, key, "an unknown key", "NAME, HWS VERSION or DATA DIR",
                              Nearest(key, rig_keys)});
    rig.name = ValueOr(ini, "NAME", rig.file.stem().string());
    ReadVersion(ini, rig, faults);
    ReadDataDir(ini, rig, faults);
}

void ReadDevice(const kt::ini::INIFile& section, TRig& rig, std::vector<TFault>& faults)
{
    const std::string& name = section.SectionName();
    std::string text;
    const bool there = section.efind("TYPE", text);
    const auto type = std::find(type_names.begin(), type_names.end(), text);
    if (type != type_names.end()) {
        rig.devices.push_back({name, static_cast<DeviceType>(type - type_names.begin()), section, {}});
        return;
    }
    rig.unread.push_back(name);
    faults.push_back({there ? section.Line("TYPE") : section.Line(), name, "TYPE", there ? Quoted(text) : "nothing",
                      "CAMERA, SENSOR or DEVICE", there ? Nearest(text, type_names) : std::string()});
}

}  // namespace

const char* TypeName(DeviceType type)
{
    return type_names[static_cast<std::size_t>(type)].c_str();
}

const TDevice* TRig::Find(const std::string& device) const
{
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&](const TDevice& each) { return each.name == device; });
    return found == devices.end() ? nullptr : &*found;
}

std::size_t TRig::Count(DeviceType type) const
{
    return static_cast<std::size_t>(
        std::count_if(devices.begin(), devices.end(), [&](const TDevice& each) { return each.type == type; }));
}

TRig ReadRig(const std::filesystem::path& file, std::vector<TFault>& faults)
{
    std::vector<kt::ini::TFault> syntax;
    const kt::ini::INIFile ini(file.string(), rig_section, syntax);
    for (const kt::ini::TFault& fault : syntax)
        faults.push_back(FaultFromText(fault.line, {}, {}, fault.text));

    TRig rig;
    rig.file = file;
    ReadRigSection(ini, rig, faults);
    for (const std::string& name : ini.Sections())
        if (name != rig_section)
            ReadDevice(ini.Section(name), rig, faults);
    if (rig.devices.empty() && rig.unread.empty())
        faults.push_back({ini.Line(),
                          rig_section,
                          {},
                          "no device",
                          "a section per device, for instance [left] with TYPE = CAMERA",
                          {}});
    return rig;
}

void Override(const std::vector<TOverride>& overrides, TRig& rig)
{
    for (const TOverride& each : overrides)
        for (TDevice& device : rig.devices) {
            if (device.name != each.device)
                continue;
            if (each.key == "SOURCE")
                device.replaced_source = ValueOr(device.settings, each.key, {});
            device.settings.set(each.key, each.value);
        }
}

std::vector<std::string> CameraNames(const TRig& rig)
{
    std::vector<std::string> names;
    for (const TDevice& device : rig.devices)
        if (device.type == DeviceType::Camera)
            names.push_back(device.name);
    return names;
}

std::filesystem::path Absolute(const TRig& rig, const std::string& path)
{
    std::string expanded = path;
    rig.paths.Replace(expanded, kt::CVarReplacer::All);
    return Folder(rig) / expanded;
}

std::filesystem::path Folder(const TRig& rig)
{
    return std::filesystem::absolute(rig.file).parent_path();
}

std::optional<unsigned int> NodeNumber(const std::string& key)
{
    static const std::string prefix = "PREPROCESS ";
    if (key.compare(0, prefix.size(), prefix) != 0)
        return std::nullopt;
    unsigned int number = 0;
    const char* const begin = key.data() + prefix.size();
    const char* const end = key.data() + key.size();
    const auto parsed = std::from_chars(begin, end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || *begin == '0')
        return std::nullopt;
    return number;
}

std::vector<TNodeLine> NodeLines(const TDevice& camera)
{
    std::map<unsigned int, TNodeLine> lines;
    for (const std::string& key : camera.settings.Keys())
        if (const auto number = NodeNumber(key))
            lines.insert({*number, {key, ValueOr(camera.settings, key, {})}});
    std::vector<TNodeLine> ordered;
    ordered.reserve(lines.size());
    for (auto& line : lines)
        ordered.push_back(std::move(line.second));
    return ordered;
}

bool IsVideoKey(const std::string& key)
{
    return key == "VIDEO" || key.compare(0, video_prefix.size(), video_prefix) == 0;
}

std::optional<std::string> VideoName(const std::string& key)
{
    if (key.compare(0, video_prefix.size(), video_prefix) != 0)
        return std::nullopt;
    const std::string name = key.substr(video_prefix.size());
    const auto dot = name.find('.');
    if (dot == std::string::npos || dot == 0 || name.back() == '.' || name[0] == ' ' || name[0] == '\t')
        return std::nullopt;
    return name;
}

std::string VideoKey(const std::string& name)
{
    return video_prefix + name;
}

std::optional<TSourceText> SplitSource(const std::string& text)
{
    static const char* const letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    const auto colon = text.find_first_not_of(letters);
    if (colon == 0 || colon == std::string::npos || text[colon] != ':')
        return std::nullopt;
    return TSourceText{text.substr(0, colon), text.substr(colon + 1)};
}

std::string ValueOr(const kt::ini::INIFile& settings, const std::string& key, const std::string& fallback)
{
    std::string value;
    return settings.efind(key, value) ? value : fallback;
}

}  // namespace host
