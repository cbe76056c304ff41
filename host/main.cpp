// The program orvo: reads the command line, runs one command, makes the exit code. Results go to standard output, talk
// to standard error.
#include <fcntl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <charconv>
#include <csignal>
#include <functional>

#include "base/number_text.h"
#include "commands/check.h"
#include "commands/devices.h"
#include "commands/export.h"
#include "commands/info.h"
#include "commands/plugins.h"
#include "commands/replay.h"
#include "commands/run.h"
#include "commands/save.h"
#include "commands/show.h"
#include "commands/verify.h"
#include "system/console.h"
#include "system/exit_codes.h"

namespace {

using Command = std::function<host::ExitCode(host::CConsole&)>;

CLI::Option* AddRig(CLI::App& command, std::filesystem::path& rig)
{
    return command.add_option("RIG", rig, "Rig file")->required()->check(CLI::ExistingFile);
}

CLI::Option* AddRecording(CLI::App& command, std::filesystem::path& path)
{
    return command.add_option("RECORDING", path, "Folder of a recording, or a file of it")
        ->required()
        ->check(CLI::ExistingPath);
}

CLI::Option* AddCameras(CLI::App& command, std::vector<std::string>& cameras, const std::string& description)
{
    return command.add_option("--cameras", cameras, description)
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("A,B");
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

void AddDevices(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("devices", "List the devices that answer, or describe or test a source");
    const auto options = std::make_shared<host::TDevicesOptions>();
    command->add_option("SOURCE", options->source, "Describe this one alone: SCHEME:LOCATION, as in a rig file");
    auto* const test = command->add_flag("--test", options->test, "Open the source and check that it behaves");
    auto* const rig = command->add_option("--rig", options->rig, "Test with the settings of a camera of this rig file")
                          ->check(CLI::ExistingFile)
                          ->needs(test);
    rig->needs(command->add_option("--camera", options->camera, "The camera")->type_name("NAME")->needs(rig));
    command->add_flag("--json", options->json, "Write the list or the verdicts as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Devices(*options, console); }; });
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

/// Replaces "500M" by the number of bytes; what is wrong with it, or nothing.
std::string BytesOfSize(std::string& text)
{
    static const std::string units = "KMGT";
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    const std::string unit(parsed.ptr, end);
    const std::size_t power = unit.empty() ? 0 : units.find(unit) + 1;
    const bool known = unit.empty() || (unit.size() == 1 && power > 0);
    if (parsed.ec != std::errc() || !known || number > UINT64_MAX >> 10 * power)
        return "found \"" + text + "\", wanted a number of bytes, or of powers of 1024 with K, M, G or T behind it";
    text = std::to_string(number << 10 * power);
    return {};
}

/// An empty path is what a variable of the shell without a value leaves, and would read as "nothing asked for".
std::string PathFault(const std::string& text)
{
    return text.empty() ? "found nothing, wanted a path" : "";
}

void AddRecord(CLI::App& command, host::TRecordOptions& options)
{
    options.producer = "orvo " ORVO_VERSION;
    auto* const record = command.add_option("--record", options.folder, "Record into the folder DIR, which is made")
                             ->type_name("DIR")
                             ->check(CLI::Validator(PathFault, {}));
    command.add_option("--format", options.format, "Archive of the frames: kta (default) or tar")
        ->check(CLI::IsMember({"kta", "tar"}))
        ->needs(record);
    command.add_option("--compress", options.compression, "Pack all cameras' frames: none, png or zstd (kta alone)")
        ->check(CLI::IsMember({"none", "png", "zstd"}))
        ->needs(record);
    command
        .add_option("--min-free", options.min_free, "Leave SIZE free on the disk, as 500M; default 256M, 0 for none")
        ->type_name("SIZE")
        ->transform(CLI::Validator(BytesOfSize, {}))
        ->needs(record);
}

/// What `run` and `replay` have in common.
void AddRunOptions(CLI::App& command, host::TRunOptions& options)
{
    AddCameras(command, options.cameras, "Run these alone: names, separated by commas");
    command.add_option("--frames", options.frames, "End each camera after N frames from its source")
        ->type_name("N")
        ->check(CLI::Validator(FramesFault, {}));
    command.add_option("--seconds", options.seconds, "End after S seconds")
        ->type_name("S")
        ->check(CLI::Validator(SecondsFault, {}));
    command.add_option("--output", options.output, "Write the output nodes' pictures to DIR/CAMERA/SEQUENCE.png")
        ->type_name("DIR")
        ->check(CLI::Validator(PathFault, {}));
    AddRecord(command, options.record);
    command.add_flag("--profile", options.profile, "Tell how long each camera and node took");
    command.add_option("--trace", options.trace, "Write what ran when to FILE, as JSON for a trace viewer")
        ->type_name("FILE")
        ->check(CLI::Validator(PathFault, {}));
    command.add_flag(
        "--tune", options.tune,
        "Read lines \"CAMERA NAME = VALUE\" while it runs: settings, ROI; CAMERA alone tells what there is");
    command.add_flag("--json", options.json, "Write the report as JSON");
}

void AddRun(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("run", "Run the cameras of a rig; Ctrl-C ends it, twice at once");
    const auto options = std::make_shared<host::TRunOptions>();
    AddRig(*command, options->rig);
    AddRunOptions(*command, *options);
    command->add_flag("--save", options->save, "Keep the cameras' settings in the rig file when the run is over");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Run(*options, console); }; });
}

void AddSave(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("save", "Keep the settings that the cameras have now in the rig file");
    const auto options = std::make_shared<host::TSaveOptions>();
    AddRig(*command, options->rig);
    AddCameras(*command, options->cameras, "Of these alone: names, separated by commas");
    command->add_flag("--json", options->json, "Write what changed as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Save(*options, console); }; });
}

void AddInfo(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("info", "Tell what a recording holds");
    const auto options = std::make_shared<host::TInfoOptions>();
    AddRecording(*command, options->path);
    command->add_flag("--json", options->json, "Write it as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Info(*options, console); }; });
}

void AddVerify(CLI::App& app, Command& chosen)
{
    auto* const command =
        app.add_subcommand("verify", "Check a recording: 0 whole, 3 damaged but readable, 1 unreadable");
    const auto options = std::make_shared<host::TVerifyOptions>();
    AddRecording(*command, options->path);
    command->add_flag("--json", options->json, "Write what was found as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Verify(*options, console); }; });
}

/// What is wrong with a rate of replay, or nothing.
std::string RateFault(const std::string& text)
{
    try {
        const double rate = base::ParseNumber<double>(text);
        if (rate >= 0.001 && rate <= 1000.0)
            return {};
    } catch (const boost::bad_lexical_cast&) {
        // told below
    }
    return "found \"" + text + "\", wanted times the recorded speed, from 0.001 to 1000";
}

void AddReplay(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("replay", "Run a recording through the trees of its rig, or of another");
    const auto options = std::make_shared<host::TReplayOptions>();
    host::TRunOptions& run = options->run;
    AddRecording(*command, options->path);
    command->add_option("RIG", run.rig, "Rig file; the recording's own when left out")->check(CLI::ExistingFile);
    auto* const rate = command->add_option("--rate", options->rate, "Times the recorded speed; 1 when left out")
                           ->type_name("R")
                           ->check(CLI::Validator(RateFault, {}));
    command
        ->add_flag_callback(
            "--max", [options] { options->rate = "MAX"; }, "As fast as the trees run, whatever the recorded times")
        ->excludes(rate);
    command->add_flag("--digest", run.digests, "Write a digest of each output picture; the report becomes talk");
    AddRunOptions(*command, run);
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Replay(*options, console); }; });
}

void AddExport(CLI::App& app, Command& chosen)
{
    auto* const command = app.add_subcommand("export", "Write the frames of a recording in another form");
    const auto options = std::make_shared<host::TExportOptions>();
    AddRecording(*command, options->path);
    command->add_option("--to", options->to, "A folder of pictures, a TAR archive of pictures, or a KTA archive")
        ->required()
        ->check(CLI::IsMember({"images", "tar", "kta"}));
    command
        ->add_option("--output", options->output,
                     "Folder to make; of a name in .tar or .kta, the archive alone. Nothing is overwritten")
        ->required()
        ->type_name("OUT")
        ->check(CLI::Validator(PathFault, {}));
    AddCameras(*command, options->cameras, "Export these alone: names, separated by commas");
    command->add_option("--compress", options->compress, "As recorded, where the form can hold it, when left out")
        ->check(CLI::IsMember({"none", "png", "zstd"}));
    command->add_flag("--json", options->json, "Write what was done as JSON");
    command->callback(
        [&chosen, options] { chosen = [options](auto& console) { return host::Export(*options, console); }; });
}

int Main(int argc, char** argv)
{
    CLI::App app("Describes, checks and runs rigs of cameras and other sensors.", "orvo");
    app.set_version_flag("--version", ORVO_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // its own options may stand behind the command, too
    bool verbose = false;
    app.add_flag("--verbose", verbose, "Show what the device library tells of its work");
    app.footer(
        "Exit codes: 0 done, 1 failed, 2 bad arguments (also a file that is not there), 3 done but data was lost.");
    Command chosen;
    AddRun(app, chosen);
    AddCheck(app, chosen);
    AddShow(app, chosen);
    AddSave(app, chosen);
    AddInfo(app, chosen);
    AddVerify(app, chosen);
    AddReplay(app, chosen);
    AddExport(app, chosen);
    AddPlugins(app, chosen);
    AddDevices(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? host::Done : host::BadArguments;  // help and version come this way, too
    }

    // A reader that goes away, or a file that may not grow, is an error of one write, not the end of a running rig.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGTTIN, SIG_IGN);  // nor is a terminal that cannot be read from the background
    if (fcntl(STDIN_FILENO, F_GETFD) == -1)
        open("/dev/null", O_RDONLY);  // or the next file, a recording perhaps, would be read as standard input
    host::CConsole console(verbose);
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
