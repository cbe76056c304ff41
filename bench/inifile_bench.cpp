// Settings files of 10,000 sections with 20 keys each, beside GLib's GKeyFile: load, look every key up, save with ten
// values changed.
//
// What a save does for its safety: both write a temporary file, fsync it and rename it over the old one; Orvo also
// fsyncs the folder. So on a disk the fsyncs are most of it, and two pairs are measured: "ini_save" in the temporary
// folder (TMPDIR), with what that disk takes, and "ini_save_in_memory" in /dev/shm, the work alone.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "folder.h"
#include "orvo_inifiles/inifile.h"

namespace {

using boost::filesystem::path;

constexpr int sections = 10000;
constexpr int keys = 20;
constexpr int changes = 10;

std::string SectionName(int section)
{
    return "CAMERA " + std::to_string(section);
}

std::string KeyName(int key)
{
    return "DISTORTION K RATIO " + std::to_string(key);
}

/// Writes a settings file.
path Generate(const path& file)
{
    std::ofstream stream(file.string(), std::ios::binary);
    stream << "# A rig with too many cameras\n";
    for (int section = 0; section < sections; ++section) {
        stream << "\n[" << SectionName(section) << "]\n";
        for (int key = 0; key < keys; ++key)
            stream << KeyName(key) << " = " << section + 0.125 * key << ", " << key << "\n";
    }
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
    return file;
}

const path& InputFile()
{
    static const CFolder folder;
    static const path file = Generate(folder / "input.ini");
    return file;
}

/// Names made beforehand, the sections in an order that no cache foresees.
struct TNames
{
    TNames()
    {
        for (int section = 0; section < sections; ++section)
            of_sections.push_back(SectionName(section));
        std::shuffle(of_sections.begin(), of_sections.end(), std::mt19937(1));
        for (int key = 0; key < keys; ++key)
            of_keys.push_back(KeyName(key));
    }

    std::vector<std::string> of_sections;
    std::vector<std::string> of_keys;
};

const TNames& Names()
{
    static const TNames names;
    return names;
}

struct FreeKeyFile
{
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

KeyFile LoadKeyFile(const path& file)
{
    KeyFile loaded(g_key_file_new());
    // Without comments, which is its faster way.
    if (!g_key_file_load_from_file(loaded.get(), file.c_str(), G_KEY_FILE_NONE, nullptr))
        throw std::runtime_error("GKeyFile cannot read " + file.string());
    return loaded;
}

void LoadOrvo(benchmark::State& state)
{
    const path file = InputFile();
    for (auto _ : state) {
        kt::ini::INIFile ini(file, "CAMERA 0");
        benchmark::DoNotOptimize(ini);
    }
}

void LoadGKeyFile(benchmark::State& state)
{
    const path file = InputFile();
    for (auto _ : state)
        benchmark::DoNotOptimize(LoadKeyFile(file));
}

void FindOrvo(benchmark::State& state)
{
    const kt::ini::INIFile ini(InputFile(), "CAMERA 0");
    std::string value;
    for (auto _ : state)
        for (const std::string& name : Names().of_sections) {
            const kt::ini::INIFile section = ini.Section(name);
            for (const std::string& key : Names().of_keys) {
                if (!section.efind(key, value))
                    throw std::runtime_error("lost " + key);
                benchmark::DoNotOptimize(value);
            }
        }
    state.SetItemsProcessed(state.iterations() * sections * keys);
}

void FindGKeyFile(benchmark::State& state)
{
    const KeyFile file = LoadKeyFile(InputFile());
    for (auto _ : state)
        for (const std::string& name : Names().of_sections)
            for (const std::string& key : Names().of_keys) {
                gchar* const value = g_key_file_get_value(file.get(), name.c_str(), key.c_str(), nullptr);
                if (value == nullptr)
                    throw std::runtime_error("lost " + key);
                benchmark::DoNotOptimize(value);
                g_free(value);
            }
    state.SetItemsProcessed(state.iterations() * sections * keys);
}

/// Another value in each run, of one length.
std::string NextValue()
{
    static int run = 100000000;
    return std::to_string(++run);
}

void SaveOrvo(benchmark::State& state, const path& parent)
{
    const CFolder folder(parent);
    const path file = Generate(folder / "rig.ini");
    kt::ini::INIFile ini(file, "CAMERA 0");
    for (auto _ : state) {
        const std::string value = NextValue();
        for (int i = 0; i < changes; ++i)
            ini.Section(Names().of_sections[static_cast<std::size_t>(i)]).set(KeyName(i), value);
        ini.Save();
    }
}

void SaveGKeyFile(benchmark::State& state, const path& parent)
{
    const CFolder folder(parent);
    const path file = Generate(folder / "rig.ini");
    const KeyFile ini = LoadKeyFile(file);
    for (auto _ : state) {
        const std::string value = NextValue();
        for (int i = 0; i < changes; ++i)
            g_key_file_set_value(ini.get(), Names().of_sections[static_cast<std::size_t>(i)].c_str(),
                                 KeyName(i).c_str(), value.c_str());
        if (!g_key_file_save_to_file(ini.get(), file.c_str(), nullptr))
            throw std::runtime_error("GKeyFile cannot save");
    }
}

BENCHMARK(LoadOrvo)->Name("ini_load/orvo")->Unit(benchmark::kMillisecond);
BENCHMARK(LoadGKeyFile)->Name("ini_load/gkeyfile")->Unit(benchmark::kMillisecond);
BENCHMARK(FindOrvo)->Name("ini_find/orvo")->Unit(benchmark::kMillisecond);
BENCHMARK(FindGKeyFile)->Name("ini_find/gkeyfile")->Unit(benchmark::kMillisecond);

// Real time: what a save waits for is the disk.
void RegisterSaves(const std::string& name, const path& parent)
{
    for (const bool is_orvo : {true, false})
        benchmark::RegisterBenchmark((name + (is_orvo ? "/orvo" : "/gkeyfile")).c_str(),
                                     is_orvo ? SaveOrvo : SaveGKeyFile, parent)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv)
{
    RegisterSaves("ini_save", boost::filesystem::temp_directory_path());
    RegisterSaves("ini_save_in_memory", "/dev/shm");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
}
