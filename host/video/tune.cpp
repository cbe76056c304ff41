#include "video/tune.h"

#include <fmt/format.h>
#include <future>
#include <stdexcept>
#include <utility>

#include "rig/fault.h"
#include "rig/nearest.h"
#include "system/console.h"
#include "video/video_keys.h"

namespace host {

namespace {

const char* const blanks = " \t\r";
const std::string region_name = "ROI";

std::string Trimmed(const std::string& text)
{
    const auto begin = text.find_first_not_of(blanks);
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

/// What `work` returns or throws.
std::string BetweenFrames(CTunable& camera, const std::function<std::string()>& work)
{
    std::packaged_task<std::string()> task(work);
    camera.BetweenFrames([&task] { task(); });
    return task.get_future().get();
}

/// "Exposure.Time = 5000 us (10 to 10000000, step 1)"
std::string Line(const std::string& name, const CVideoAttributes::Attribute& attribute)
{
    const TVideoLimits limits = LimitsOf(attribute);
    std::string text = name + " = ";
    try {
        text += ValueOf(attribute);
        if (!limits.unit.empty())
            text += ' ' + limits.unit;
    } catch (const std::exception& error) {
        text += fmt::format("? ({})", error.what());
    }
    if (!limits.choices.empty())
        text += fmt::format(" ({})", fmt::join(limits.choices, ", "));
    else if (!limits.min.empty())
        text += fmt::format(" ({} to {}{})", limits.min, limits.max, limits.step == "0" ? "" : ", step " + limits.step);
    if (!CanBeSet(attribute))
        text += ", read only";
    else if (!IsEnabled(attribute))
        text += ", disabled";
    return OneLine(text);
}

/// Of all settings whose names begin so, a line each.
std::string Lines(const CTunable& camera, const std::string& begin)
{
    std::string text;
    for (const auto& [name, attribute] : camera.Settings().All())
        if (name.compare(0, begin.size(), begin) == 0 && attribute->Kind() != CVideoAttributes::Attribute::Type::Group)
            text += fmt::format("\n  {}", Line(name, *attribute));
    return text;
}

/// Of the camera, with an empty name, of a setting, or of a property and what is below it.
std::string Tell(const CTunable& camera, const std::string& name)
{
    const std::string region = fmt::format("{} = {}", region_name, camera.Region());
    if (name.empty())
        return camera.Name() + Lines(camera, {}) + "\n  " + region;
    if (name == region_name)
        return camera.Name() + ' ' + region;
    const std::string lines = Lines(camera, name + '.');
    if (!lines.empty())
        return camera.Name() + ' ' + name + lines;
    return camera.Name() + ' ' + Line(name, camera.Settings().Find(name));
}

std::string Set(CTunable& camera, const std::string& name, const std::string& value)
{
    if (name == region_name) {
        camera.ChangeRegion(value);
        return camera.Region();
    }
    camera.Settings().Set(name, value);
    return ValueOf(camera.Settings().Find(name));
}

}  // namespace

CTune::CTune(std::filesystem::path rig, std::vector<CTunable*> cameras, CConsole& console)
    : rig_(std::move(rig)), cameras_(std::move(cameras)), console_(console)
{
}

void CTune::Do(const std::string& line)
{
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] == '#')
        return;
    try {
        console_.Say("ok: " + (text == "save" ? Save() : Answer(text)));
    } catch (const std::exception& error) {
        console_.Say("error: " + OneLine(text + ": " + error.what()));
    }
}

/// The camera whose name the line begins with, the longest of several; null: none.
CTunable* CTune::CameraOf(const std::string& line) const
{
    CTunable* found = nullptr;
    for (CTunable* const camera : cameras_) {
        const std::string& name = camera->Name();
        const bool begins = line.compare(0, name.size(), name) == 0 &&
                            (line.size() == name.size() || line.find_first_of(" \t=", name.size()) == name.size());
        if (begins && (found == nullptr || name.size() > found->Name().size()))
            found = camera;
    }
    return found;
}

std::string CTune::Answer(const std::string& line) const
{
    CTunable* const camera = CameraOf(line);
    if (camera == nullptr) {
        std::vector<std::string> names;
        for (const CTunable* const each : cameras_)
            names.push_back(each->Name());
        const std::string nearest = Nearest(line.substr(0, line.find_first_of(blanks)), names);
        throw std::runtime_error(fmt::format("found no camera, wanted \"CAMERA NAME = VALUE\", the camera one of {}{}",
                                             fmt::join(names, ", "),
                                             nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?"));
    }
    const std::string rest = Trimmed(line.substr(camera->Name().size()));
    const auto equals = rest.find('=');
    return BetweenFrames(*camera, [&] {
        if (equals == std::string::npos)
            return Tell(*camera, rest);
        const std::string name = Trimmed(rest.substr(0, equals));
        return OneLine(
            fmt::format("{} {} = {}", camera->Name(), name, Set(*camera, name, Trimmed(rest.substr(equals + 1)))));
    });
}

std::string CTune::Save() const
{
    std::vector<TVideoValue> values;
    std::vector<std::string> faults;
    for (CTunable* const camera : cameras_)
        BetweenFrames(*camera, [&] {
            for (TVideoValue& value : CurrentValues(camera->Name(), camera->Settings(), faults))
                values.push_back(std::move(value));
            return std::string();
        });
    const TVideoSaved saved = SaveVideoValues(rig_, values, std::move(faults));
    for (const std::string& fault : saved.faults)
        console_.Say("error: " + fault);
    std::string text = ChangesText(rig_, saved);
    text.pop_back();
    return text;
}

}  // namespace host
