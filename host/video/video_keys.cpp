#include "video/video_keys.h"

#include <fmt/format.h>
#include <unistd.h>
#include <algorithm>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <cerrno>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "base/number_text.h"

namespace host {

namespace {

using Type = CVideoAttributes::Attribute::Type;

const std::string manual = "Manual";

struct TWish
{
    std::string key;
    std::string name;
    std::string value;
};

std::string PropertyOf(const std::string& name)
{
    return name.substr(0, name.find('.'));
}

/// An automatic mode, and not another choice of that name.
bool IsMode(const std::string& name, const CVideoAttributes& attributes)
{
    static const std::string last = ".Mode";
    if (name.size() <= last.size() || name.compare(name.size() - last.size(), last.size(), last) != 0)
        return false;
    const auto& all = attributes.All();
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.first == name; });
    if (found == all.end() || found->second->Kind() != Type::Choice)
        return false;
    const auto choices = LimitsOf(*found->second).choices;
    return std::find(choices.begin(), choices.end(), manual) != choices.end();
}

/// Sets what can be set and returns the rest with the reasons.
std::vector<std::pair<TWish, std::string>> SetAll(const std::vector<TWish>& wishes, const CVideoAttributes& attributes)
{
    std::vector<std::pair<TWish, std::string>> refused;
    for (const TWish& wish : wishes) {
        try {
            attributes.Set(wish.name, wish.value);
        } catch (const std::exception& error) {
            refused.emplace_back(wish, error.what());
        }
    }
    return refused;
}

/// True when the file's text means the value that the camera has.
bool IsSame(const std::string& text, const TVideoValue& value)
{
    if (text == value.value)
        return true;
    try {
        if (value.kind == Type::Switch)
            return ui::detail::text<bool>::Parse(text) == ui::detail::text<bool>::Parse(value.value);
        if (value.kind == Type::Float)
            return base::ParseNumber<float>(text) == base::ParseNumber<float>(value.value);
        if (value.kind == Type::Double)
            return base::ParseNumber<double>(text) == base::ParseNumber<double>(value.value);
    } catch (const boost::bad_lexical_cast&) {
        // not the text of any value
    }
    return false;
}

void Put(const kt::ini::INIFile& file, const TVideoValue& value, TVideoSaved& saved)
{
    kt::ini::INIFile section = file.Section(value.camera);
    if (section.Line() == 0)
        throw std::runtime_error("found no section of that name any more, wanted the camera's");
    const std::string key = VideoKey(value.name);
    std::string text;
    const bool there = section.efind(key, text);
    if (there && IsSame(text, value)) {
        ++saved.unchanged;
        return;
    }
    section.set(key, value.value);
    saved.changes.push_back({value.camera, key, there ? std::optional(text) : std::nullopt, value.value});
}

}  // namespace

std::vector<TFault> ApplyVideoKeys(const TDevice& camera, const CVideoAttributes& attributes)
{
    std::vector<TWish> values;
    std::vector<TWish> modes;
    for (const std::string& key : camera.settings.Keys())
        if (const auto name = VideoName(key))
            (IsMode(*name, attributes) ? modes : values).push_back({key, *name, ValueOr(camera.settings, key, {})});
    std::vector<TWish> first;
    std::vector<TWish> last;
    for (const TWish& mode : modes) {
        const bool has_values = std::any_of(values.begin(), values.end(), [&](const TWish& value) {
            return PropertyOf(value.name) == PropertyOf(mode.name);
        });
        if (mode.value == manual || has_values)
            first.push_back({mode.key, mode.name, manual});
        if (mode.value != manual)
            last.push_back(mode);
    }

    auto refused = SetAll(first, attributes);
    auto refused_values = SetAll(values, attributes);
    for (std::size_t before = values.size(); !refused_values.empty() && refused_values.size() < before;) {
        before = refused_values.size();
        std::vector<TWish> again;
        for (auto& each : refused_values)
            again.push_back(std::move(each.first));
        refused_values = SetAll(again, attributes);
    }
    auto refused_modes = SetAll(last, attributes);
    for (auto* const more : {&refused_values, &refused_modes})
        refused.insert(refused.end(), std::make_move_iterator(more->begin()), std::make_move_iterator(more->end()));

    std::vector<TFault> faults;
    for (const auto& [wish, reason] : refused)
        faults.push_back(FaultFromText(camera.settings.Line(wish.key), camera.name, wish.key, reason));
    SortByLine(faults);
    return faults;
}

std::vector<TVideoValue> CurrentValues(const std::string& camera, const CVideoAttributes& attributes,
                                       std::vector<std::string>& faults)
{
    std::vector<TVideoValue> values;
    for (const auto& [name, attribute] : attributes.All()) {
        if (!CanBeSet(*attribute) || !IsEnabled(*attribute))
            continue;
        try {
            values.push_back({camera, name, ValueOf(*attribute), attribute->Kind()});
        } catch (const std::exception& error) {
            faults.push_back(OneLine(fmt::format("{}: {}: cannot be read: {}", camera, name, error.what())));
        }
    }
    return values;
}

TVideoSaved SaveVideoValues(const std::filesystem::path& rig, const std::vector<TVideoValue>& values,
                            std::vector<std::string> faults)
{
    TVideoSaved saved;
    saved.faults = std::move(faults);
    if (values.empty())
        return saved;
    const kt::ini::INIFile file(rig.string(), "RIG");
    for (const TVideoValue& value : values) {
        try {
            Put(file, value, saved);
        } catch (const std::exception& error) {
            saved.faults.push_back(OneLine(
                fmt::format("{}: [{}] {}: {}", rig.string(), value.camera, VideoKey(value.name), error.what())));
        }
    }
    if (saved.changes.empty())
        return saved;
    // Saving puts a new file in the old one's place, which the folder's rights allow.
    if (access(rig.c_str(), W_OK) != 0)
        throw std::runtime_error(fmt::format("{}: found {}, wanted a file that may be written", rig.string(),
                                             std::generic_category().message(errno)));
    file.Save();
    return saved;
}

std::string ChangesText(const std::filesystem::path& rig, const TVideoSaved& saved)
{
    std::string text;
    for (const TVideoChange& change : saved.changes)
        text += OneLine(fmt::format("{}: [{}] {}: {} -> {}", rig.string(), change.camera, change.key,
                                    change.before.value_or("nothing"), change.after)) +
                '\n';
    if (text.empty())
        text =
            fmt::format("{}: nothing changed, {} settings are as the file has them\n", rig.string(), saved.unchanged);
    return text;
}

}  // namespace host
