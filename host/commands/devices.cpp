#include "commands/devices.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <stdexcept>

#include "conformance/conformance.h"
#include "rig/fault.h"
#include "rig/nearest.h"
#include "rig/rig.h"
#include "system/console.h"
#include "system/json_text.h"
#include "system/modules.h"

namespace host {

namespace {

/// What the user asked for is not there.
struct bad_argument : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// A device that answered.
struct TFound
{
    std::string source;
    capture::TDescription description;
    std::string fault;  ///< why it could not be described; else empty
};

kt::ini::INIFile NoSettings()
{
    return {"", "CAMERA"};  // a file that is not there has no keys
}

/// Paths on the command line count from where it is typed.
std::string WorkingFolder()
{
    return std::filesystem::current_path().string();
}

/// Throws std::runtime_error, and no_such_module with the schemes that there are.
capture::CDriver& DriverOf(const std::string& scheme, CModules& modules)
{
    try {
        return modules.Driver(scheme);
    } catch (const no_such_module&) {
        const auto schemes = modules.Schemes();
        const std::string nearest = Nearest(scheme, schemes);
        throw no_such_module(fmt::format("found the scheme {}, wanted one of {}{}", Quoted(scheme),
                                         fmt::join(schemes, ", "),
                                         nearest.empty() ? "" : "; did you mean " + Quoted(nearest) + "?"));
    }
}

TFound Describe(const capture::CDriver& driver, const TSourceText& source)
{
    TFound found{source.scheme + ":" + source.location, {}, {}};
    const kt::ini::INIFile settings = NoSettings();
    try {
        found.description = driver.Describe({source.location, WorkingFolder(), settings, {}});
    } catch (const std::exception& error) {
        found.fault = OneLine(error.what());
    }
    return found;
}

std::vector<TFound> FindAll(CModules& modules, std::vector<std::string>& faults)
{
    std::vector<TFound> all;
    for (const std::string& scheme : modules.Schemes()) {
        try {
            const capture::CDriver& driver = modules.Driver(scheme);
            for (const std::string& location : driver.Locations())
                all.push_back(Describe(driver, {scheme, location}));
        } catch (const std::exception& error) {
            faults.push_back(scheme + ": " + OneLine(error.what()));
        }
    }
    return all;
}

/// As a settings file can hold it: what a device says of itself may be any bytes.
std::string Value(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The keys of a camera's section, without those that have no value.
std::vector<std::pair<std::string, std::string>> Section(const TFound& device)
{
    const capture::TIdentity& identity = device.description.identity;
    std::vector<std::pair<std::string, std::string>> keys = {
        {"TYPE", "CAMERA"},        {"SOURCE", device.source},   {"VENDOR", identity.vendor},
        {"MODEL", identity.model}, {"SERIAL", identity.serial}, {"FB", device.description.format}};
    for (auto& [key, value] : keys)
        value = Value(value);
    keys.erase(std::remove_if(keys.begin(), keys.end(), [](const auto& key) { return key.second.empty(); }),
               keys.end());
    return keys;
}

std::string Table(const std::vector<TFound>& devices)
{
    constexpr std::size_t columns = 6;
    std::vector<std::array<std::string, columns>> rows = {{"SOURCE", "VENDOR", "MODEL", "SERIAL", "INTERFACE", "FB"}};
    std::array<std::size_t, columns> widths{};
    for (const TFound& device : devices) {
        const auto& [identity, format] = device.description;
        rows.push_back({Value(device.source), Value(identity.vendor), Value(identity.model), Value(identity.serial),
                        Value(identity.interface), device.fault.empty() ? format : "(" + device.fault + ")"});
    }
    for (const auto& row : rows)
        for (std::size_t i = 0; i < columns; ++i)
            widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i + 1 < columns; ++i)
            text += fmt::format("{:<{}}  ", row[i], widths[i]);
        text += row.back() + '\n';
    }
    return text;
}

std::string Sections(const std::vector<TFound>& devices)
{
    std::string text;
    int number = 0;
    for (const TFound& device : devices) {
        if (!device.fault.empty())
            continue;
        text += fmt::format("\n[camera{}]\n", ++number);
        for (const auto& [key, value] : Section(device))
            text += key + " = " + value + '\n';
    }
    return text;
}

std::string AsJson(const std::vector<TFound>& devices, const std::vector<std::string>& faults)
{
    Json list = Json::array();
    for (const TFound& device : devices) {
        const auto& [identity, format] = device.description;
        Json section;
        if (device.fault.empty())
            for (const auto& [key, value] : Section(device))
                section[key] = value;
        list.push_back({{"source", device.source},
                        {"vendor", identity.vendor},
                        {"model", identity.model},
                        {"serial", identity.serial},
                        {"interface", identity.interface},
                        {"format", format},
                        {"fault", device.fault},
                        {"section", section}});
    }
    return JsonText({{"devices", list}, {"faults", faults}});
}

ExitCode List(const TDevicesOptions& options, const std::optional<TSourceText>& source, CModules& modules,
              CConsole& console)
{
    std::vector<std::string> faults;
    std::vector<TFound> devices;
    if (source) {
        devices.push_back(Describe(DriverOf(source->scheme, modules), *source));
        if (!devices.front().fault.empty()) {
            faults.push_back(options.source + ": " + devices.front().fault);
            devices.clear();
        }
    } else {
        devices = FindAll(modules, faults);
    }
    if (options.json)
        WriteResult(AsJson(devices, faults));
    else if (!devices.empty())
        WriteResult(Table(devices) + Sections(devices));
    else if (!source)
        console.Say("no device answers; pictures, recordings, pipelines and addresses are sources, too: orvo plugins");
    for (const std::string& fault : faults)
        console.Say(OneLine(fault));
    return faults.empty() ? Done : Failed;
}

/// The section of the rig's camera that the checks use.
kt::ini::INIFile SectionOf(const TDevicesOptions& options)
{
    if (options.rig.empty())
        return NoSettings();
    std::vector<TFault> faults;
    const TRig rig = ReadRig(options.rig, faults);
    const TDevice* const camera = rig.Find(options.camera);
    if (camera != nullptr && camera->type == DeviceType::Camera)
        return camera->settings;
    const auto names = CameraNames(rig);
    std::string text = fmt::format("--camera: found {}, wanted {}", Quoted(options.camera),
                                   names.empty() ? "the name of a camera, and the file has none"
                                                 : fmt::format("one of {}", fmt::join(names, ", ")));
    for (const TFault& fault : faults)
        text += "; " + Text(options.rig.string(), fault);
    throw bad_argument(text);
}

std::string AsJson(const TDevicesOptions& options, const std::string& format,
                   const std::vector<conformance::TResult>& results, const std::vector<std::string>& faults)
{
    Json checks = Json::array();
    for (const auto& result : results)
        checks.push_back({{"check", result.check},
                          {"verdict", conformance::VerdictName(result.verdict)},
                          {"text", OneLine(result.text)}});
    return JsonText({{"source", options.source},
                     {"format", format},
                     {"passed", faults.empty() && conformance::Passed(results)},
                     {"checks", checks},
                     {"faults", faults}});
}

std::string Summary(const std::string& source, const std::vector<conformance::TResult>& results)
{
    const auto count = [&results](conformance::Verdict verdict) {
        return std::count_if(results.begin(), results.end(),
                             [verdict](const auto& result) { return result.verdict == verdict; });
    };
    return fmt::format("{}: {}: {} checks passed, {} failed, {} skipped\n", source,
                       conformance::Passed(results) ? "passed" : "failed", count(conformance::Verdict::Passed),
                       count(conformance::Verdict::Failed), count(conformance::Verdict::Skipped));
}

ExitCode Test(const TDevicesOptions& options, const TSourceText& source, CModules& modules, CConsole& console)
{
    const capture::CDriver& driver = DriverOf(source.scheme, modules);
    const kt::ini::INIFile settings = SectionOf(options);
    std::string format = ValueOr(settings, "FB", {});
    const auto request = [&] {
        return capture::TRequest{source.location, WorkingFolder(), settings, format,
                                 [&](const std::string& sentence) { console.Say(OneLine(sentence)); }};
    };
    conformance::TSubject subject{driver, request};
    if (format.empty()) {
        const capture::TDescription description = driver.Describe(request());
        format = description.format;
        if (!description.identity.model.empty())
            subject.ends = false;  // a device does not: nobody needs to wait and see
    }

    conformance::TProgress progress;
    progress.begins = [&](const std::string& check) { console.ShowLive({check + " ..."}); };
    progress.ended = [&](const conformance::TResult& result) {
        console.ShowLive({});
        const std::string line = fmt::format("{:<8} {:<11} {}\n", conformance::VerdictName(result.verdict),
                                             result.check, OneLine(result.text));
        if (!options.json)
            WriteResult(line);
    };
    console.Say(fmt::format("{}: the checks change settings of a device and put them back", options.source));
    const auto results = conformance::Check(subject, progress);
    WriteResult(options.json ? AsJson(options, format, results, {}) : Summary(options.source, results));
    return conformance::Passed(results) ? Done : Failed;
}

}  // namespace

ExitCode Devices(const TDevicesOptions& options, CConsole& console)
{
    const auto refuse = [&](ExitCode code, const std::string& what) {
        const std::string text = OneLine(what);
        console.Say(text);
        if (options.json)
            WriteResult(options.test ? AsJson(options, {}, {}, {text}) : AsJson({}, {text}));
        return code;
    };
    const auto source = SplitSource(options.source);
    if ((options.test || !options.source.empty()) && !source)
        return refuse(BadArguments,
                      fmt::format("SOURCE: found {}, wanted \"SCHEME:LOCATION\", for instance \"genicam:192.168.1.10\"",
                                  options.source.empty() ? "nothing" : Quoted(options.source)));
    CModules modules;
    try {
        return options.test ? Test(options, *source, modules, console) : List(options, source, modules, console);
    } catch (const bad_argument& error) {
        return refuse(BadArguments, error.what());
    } catch (const std::exception& error) {
        return refuse(Failed, error.what());
    }
}

}  // namespace host
