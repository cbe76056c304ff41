// The program orvo: reads the command line, runs one command, makes the exit code. Results go to standard output, talk
// to standard error.
#include <CLI/CLI.hpp>
#include <csignal>
#include <functional>

#include "base/number_text.h"
#include "commands/check.h"
#include "commands/plugins.h"
#include "commands/run.h"
#include "commands/show.h"
#include "system/console.h"
#include "system/exit_codes.h"

namespace {

using Command = std::function<host::ExitCode(host::CConsole&)>;

CLI::Option* AddRig(CLI::App& command, std::filesystem::path& rig)
{
    return command.add_option("RIG", rig, "Rig file")->required()->check(CLI::ExistingFile);
}

void AddCheck(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("check", "Find everything that is wrong with a rig file");
    const auto options = std::make_shared<host::TCheckOptions>();
    AddRig(*command, options->rig);
    command->add_flag("--json", options->json, "Write the faults as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Check(*options, console); }; });
}

void AddShow(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("show", "Show what a rig file describes");
    const auto options = std::make_shared<host::TShowOptions>();
    AddRig(*command, options->rig);
    command->add_flag("--json", options->json, "Write the description as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Show(*options, console); }; });
}

void AddPlugins(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("plugins", "List the image operations and the capture drivers");
    const auto options = std::make_shared<host::TPluginsOptions>();
    command->add_flag("--json", options->json, "Write the list as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Plugins(*options, console); }; });
}

/// What is wrong with a number of seconds, or nothing. A year is the limit: what is longer is none, and would not fit
/// the clock in the end.
std::string SecondsFault(const std::string& text)
{
    try {
        const double seconds = base::ParseNumber<double>(text);
        if (seconds > 0.0 && seconds <= 31536000.0)
            return {};
    } catch (const boost::bad_lexical_cast&) {
        // told below
    }
    return "found \"" + text + "\", wanted seconds above 0, at most a year";
}

/// What is wrong with a number of frames, or nothing.
std::string FramesFault(const std::string& text)
{
    try {
        if (text[0] != '-' && base::ParseNumber<unsigned long>(text) > 0)
            return {};
    } catch (const boost::bad_lexical_cast&) {
        // told below
    }
    return "found \"" + text + "\", wanted a whole number from 1";
}

void AddRun(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("run", "Run the cameras of a rig; Ctrl-C ends it, twice at once");
    const auto options = std::make_shared<host::TRunOptions>();
    AddRig(*command, options->rig);
    command->add_option("--cameras", options->cameras, "Run these alone: names, separated by commas")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("A,B");
    command->add_option("--frames", options->frames, "End each camera after N frames from its source")
        ->type_name("N")
        ->check(CLI::Validator(FramesFault, {}));
    command->add_option("--seconds", options->seconds, "End after S seconds")
        ->type_name("S")
        ->check(CLI::Validator(SecondsFault, {}));
    command->add_option("--output", options->output, "Write the output nodes' pictures to DIR/CAMERA/SEQUENCE.png")
        ->type_name("DIR");
    command->add_flag("--json", options->json, "Write the report as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Run(*options, console); }; });
}

int Main(int argc, char** argv)
{
    CLI::App app("Describes, checks and runs rigs of cameras and other sensors.", "orvo");
    app.set_version_flag("--version", ORVO_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 done, 1 failed, 2 bad arguments (also a file that is not there), 3 done but data was lost.");
    Command chosen;
    AddRun(app, chosen);
    AddCheck(app, chosen);
    AddShow(app, chosen);
    AddPlugins(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? host::Done : host::BadArguments;  // help and version come this way, too
    }

    // A reader that goes away is an error of one write, not the end of a running rig.
    std::signal(SIGPIPE, SIG_IGN);
    host::CConsole console;
    try {
        return chosen(console);
    } catch (const std::exception& error) {
        console.Say(std::string("orvo: ") + error.what());
        return host::Failed;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    return Main(argc, argv);
}
