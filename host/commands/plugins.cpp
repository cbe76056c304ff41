#include "commands/plugins.h"

#include <fmt/format.h>
#include <algorithm>
#include <sstream>

#include "dev/camera/plugin_descriptions.h"
#include "system/console.h"
#include "system/json_text.h"
#include "system/modules.h"

namespace host {

namespace {

struct TEntry
{
    std::string name;
    std::string syntax;
    std::string description;
    std::vector<std::string> keys;  ///< of the camera's section; drivers alone
};

std::vector<TEntry> Operations()
{
    std::vector<TEntry> operations;
    for (const std::string& name : CModules::Operations()) {
        if (name == "Identity")
            operations.push_back({name, {}, "Hands the image on as it is; the node is named \"Source\".", {}});
        else
            operations.push_back({name,
                                  dev::camera::Plugin_Descriptions::Syntax(name),
                                  dev::camera::Plugin_Descriptions::Description(name),
                                  {}});
    }
    return operations;
}

std::vector<TEntry> Drivers(CModules& modules, std::vector<std::string>& faults)
{
    std::vector<TEntry> drivers;
    for (const std::string& scheme : modules.Schemes()) {
        try {
            const capture::CDriver& driver = modules.Driver(scheme);
            drivers.push_back({scheme, driver.Syntax(), driver.Description(), driver.Keys()});
        } catch (const std::exception& error) {
            faults.push_back(error.what());
        }
    }
    return drivers;
}

constexpr std::size_t line_width = 100;  // characters

/// Breaks a text at blanks and at its own line ends; the lines after the first begin with `indent` blanks.
std::string Wrapped(const std::string& text, std::size_t indent)
{
    std::string lines;
    std::size_t column = indent;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (column > indent && column + 1 + word.size() > line_width) {
            lines += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (column > indent) {
            lines += ' ';
            ++column;
        }
        lines += word;
        column += word.size();
    }
    return lines;
}

std::string Table(const std::string& title, const std::vector<TEntry>& entries)
{
    std::size_t width = 0;
    for (const TEntry& entry : entries)
        width = std::max(width, entry.name.size());
    std::string text = title + '\n';
    const std::size_t indent = width + 4;
    for (const TEntry& entry : entries) {
        const std::string first = entry.syntax.empty() ? "(no options)" : entry.syntax;
        text += fmt::format("  {:<{}}  {}\n", entry.name, width, first);
        text += fmt::format("{:{}}{}\n", "", indent, Wrapped(entry.description, indent));
        if (!entry.keys.empty())
            text += fmt::format("{:{}}keys: {}\n", "", indent, fmt::join(entry.keys, ", "));
    }
    return text;
}

Json AsJson(const std::vector<TEntry>& entries, bool with_keys)
{
    Json list = Json::array();
    for (const TEntry& entry : entries) {
        list.push_back({{"name", entry.name}, {"syntax", entry.syntax}, {"description", entry.description}});
        if (with_keys)
            list.back()["keys"] = entry.keys;
    }
    return list;
}

}  // namespace

ExitCode Plugins(const TPluginsOptions& options, CConsole& console)
{
    CModules modules;
    std::vector<std::string> faults = modules.LoadAllPlugins();
    const auto operations = Operations();
    const auto drivers = Drivers(modules, faults);
    if (options.json)
        WriteResult(JsonText(
            {{"operations", AsJson(operations, false)}, {"drivers", AsJson(drivers, true)}, {"faults", faults}}));
    else
        WriteResult(Table("Operations (a node line is \"Operation Dst Src [Params]\"):", operations) + '\n' +
                    Table("Drivers (a SOURCE is \"SCHEME:LOCATION\"):", drivers));
    for (const std::string& fault : faults)
        console.Say(fault);
    return faults.empty() ? Done : Failed;
}

}  // namespace host
