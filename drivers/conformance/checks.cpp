#include <dirent.h>

#include <algorithm>
#include <boost/noncopyable.hpp>
#include <thread>

#include "capture/faults.h"
#include "conformance/conformance.h"
#include "conformance/run.h"
#include "conformance/settings.h"
#include "orvo_proc_cimage/image.h"

namespace conformance {

namespace {

using dev::camera::CRoI;

constexpr std::uint64_t some_frames = 10;
constexpr int starts = 3;
constexpr int reconnection = 6;  // times the patience

/// Of this process.
struct TBooks
{
    std::size_t threads;
    std::size_t files;
};

std::size_t Entries(const char* folder)
{
    std::size_t count = 0;
    if (DIR* const entries = ::opendir(folder)) {
        while (const dirent* const entry = ::readdir(entries))
            if (entry->d_name[0] != '.')
                ++count;
        ::closedir(entries);
    }
    return count;
}

TBooks LookAtBooks()
{
    return {Entries("/proc/self/task"), Entries("/proc/self/fd") - 1};  // but the one that looks
}

std::string Plural(std::uint64_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Text(const capture::TIdentity& identity)
{
    std::string text;
    for (const std::string& part : {identity.vendor, identity.model, identity.serial, identity.interface})
        if (!part.empty())
            text += (text.empty() ? "" : " ") + part;
    return text.empty() ? "no identity" : text;
}

/// Puts back what a check changed: when it is told to, or at the latest when it goes.
class CPutBack : private boost::noncopyable
{
public:
    /// Why it could not be put back when the object goes, is added to `complaint`, which outlives it.
    CPutBack(std::function<void()> action, std::string* complaint) : action_(std::move(action)), complaint_(complaint)
    {
    }
    ~CPutBack()
    {
        try {
            Now();
        } catch (const std::exception& error) {
            *complaint_ += std::string("; what was changed could not be put back: ") + error.what();
        }
    }

    void Now()
    {
        const auto action = std::move(action_);
        action_ = nullptr;
        if (action)
            action();
    }

private:
    std::function<void()> action_;
    std::string* const complaint_;
};

bool IsLegal(CRoI region, const std::string& geometry, CRoI* changed)
{
    try {
        region.Resize(geometry);
        *changed = region;
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

std::string Geometry(int left, int top, int right, int bottom)
{
    std::string text;
    for (const int number : {left, top, right, bottom})
        text += std::to_string(number) + " ";
    return text;
}

/// A region about half as wide and high, moved, that the increments allow; false when there is none. Increments cannot
/// be asked for, but each axis can be tried on its own. Edges and sizes are even: colour patterns often want that.
bool FindSmaller(const CRoI& region, CRoI* found)
{
    const auto even_above = [](int number) { return (number + 2) / 2 * 2; };
    const auto width = static_cast<int>(region.Width());
    const auto height = static_cast<int>(region.Height());
    CRoI smaller = region;
    const auto narrow = [&] {
        for (int w = even_above(width / 2 - 1); w < width; w += 2)
            for (int left = even_above(region.Left()); left + w <= region.SensorWidth(); left += 2)
                if (IsLegal(region, Geometry(left, region.Top(), left + w - 1, region.Bottom()), &smaller))
                    return true;
        return false;
    };
    const auto flatten = [&] {
        for (int h = even_above(height / 2 - 1); h < height; h += 2)
            for (int top = even_above(region.Top()); top + h <= region.SensorHeight(); top += 2)
                if (IsLegal(region, Geometry(smaller.Left(), top, smaller.Right(), top + h - 1), found))
                    return true;
        return false;
    };
    return narrow() && flatten();
}

class CChecks
{
public:
    CChecks(const TSubject& subject, const TProgress& progress) : subject_(subject), progress_(progress) {}

    std::vector<TResult> Run();

private:
    using Method = std::string (CChecks::*)();

    TResult Try(const char* name, Method check);
    std::unique_ptr<capture::CSource> OpenSource() const;
    /// Opens a source; whether it goes again is looked at before the next check.
    std::unique_ptr<CRun> Open();
    void TryRegion(CRun& run, const CRoI& wanted);
    void TryRefusedRegion(CRun& run, const CRoI& region, const std::string& geometry, unsigned int width,
                          unsigned int height);
    std::size_t HeldImages() const;

    std::string Describe();
    std::string OpenOne();
    std::string Frames();
    std::string Region();
    std::string Properties();
    std::string Stop();
    std::string Again();
    std::string Vanish();
    std::string End();
    std::string Leak();

    const TSubject& subject_;
    const TProgress& progress_;
    boost::optional<capture::TDescription> description_;
    bool opens_ = true;              ///< until it is tried
    boost::optional<TBooks> books_;  ///< after the first run
    std::weak_ptr<void> last_run_;
    std::string left_changed_;  ///< by the check that has just failed
    std::deque<boost::weak_ptr<const cimage::CImage>> images_;
};

std::vector<TResult> CChecks::Run()
{
    const struct
    {
        const char* name;
        Method check;
    } checks[] = {{"describe", &CChecks::Describe}, {"open", &CChecks::OpenOne},          {"frames", &CChecks::Frames},
                  {"region", &CChecks::Region},     {"properties", &CChecks::Properties}, {"stop", &CChecks::Stop},
                  {"again", &CChecks::Again},       {"vanish", &CChecks::Vanish},         {"end", &CChecks::End},
                  {"leak", &CChecks::Leak}};
    std::vector<TResult> results;
    for (const auto& row : checks) {
        if (progress_.begins)
            progress_.begins(row.name);
        results.push_back(Try(row.name, row.check));
        if (progress_.ended)
            progress_.ended(results.back());
    }
    return results;
}

TResult CChecks::Try(const char* name, Method check)
{
    if (!last_run_.expired())
        return {name, Verdict::Skipped, "the source of an earlier check is still running"};
    if (!opens_)
        return {name, Verdict::Skipped, "the source does not open"};
    left_changed_.clear();
    try {
        return {name, Verdict::Passed, (this->*check)()};
    } catch (const skipped& reason) {
        return {name, Verdict::Skipped, reason.what()};
    } catch (const std::exception& error) {
        return {name, Verdict::Failed, error.what() + left_changed_};
    }
}

std::unique_ptr<capture::CSource> CChecks::OpenSource() const
{
    auto source = subject_.driver.Open(subject_.request());
    if (!source)
        throw failed("found that the driver opened nothing, wanted a source or an exception");
    return source;
}

std::unique_ptr<CRun> CChecks::Open()
{
    std::unique_ptr<CRun> run(new CRun(OpenSource(), subject_.request().format, subject_.patience));
    last_run_ = run->Trace();
    if (const auto region = run->Source().Region())
        run->Watch().ExpectSize(region->Width(), region->Height());
    return run;
}

std::string CChecks::Describe()
{
    capture::ThrowFaults(subject_.driver.Check(subject_.request()));
    capture::TDescription description;
    try {
        description = subject_.driver.Describe(subject_.request());
    } catch (const std::runtime_error& error) {
        throw skipped(error.what());
    }
    description_ = description;
    try {
        cimage::Build(description.format);
    } catch (const std::invalid_argument& error) {
        throw failed("found the format \"" + description.format + "\", wanted an image's: " + error.what());
    }
    return description.format + ", " + Text(description.identity);
}

std::string CChecks::OpenOne()
{
    opens_ = false;
    const auto source = OpenSource();
    opens_ = true;
    const capture::TIdentity identity = source->Identity();
    if (description_ && Text(identity) != Text(description_->identity))
        throw failed("found " + Text(identity) + ", wanted " + Text(description_->identity) + ", as it was described");
    return Text(identity);
}

std::string CChecks::Frames()
{
    TSeen seen;
    {
        const auto run = Open();
        run->Start();
        seen = run->AwaitFrames(some_frames);
        if (seen.returned && subject_.ends && !*subject_.ends)
            throw failed("found an end after " + Plural(seen.frames, "frame") + ", wanted a source without one");
        seen = run->Stop();
        run->Close();
        run->Watch().CheckKept();
        images_ = run->Watch().Images();
    }
    books_ = LookAtBooks();
    return Plural(seen.frames, "frame") + " of " + subject_.request().format + ", " + std::to_string(seen.lost) +
           " lost";
}

/// Moves the region while frames come, and sees the frames follow.
void CChecks::TryRegion(CRun& run, const CRoI& wanted)
{
    run.Watch().ExpectSize(0, 0);
    const CRoI taken = run.Source().SetRegion(wanted);
    run.Watch().ExpectSize(taken.Width(), taken.Height());
    if (taken != wanted)
        throw failed("found the region " + taken.StrRect() + ", wanted " + wanted.StrRect() +
                     ", which keeps to the increments");
    run.AwaitMore(some_frames);
}

void CChecks::TryRefusedRegion(CRun& run, const CRoI& region, const std::string& geometry, unsigned int width,
                               unsigned int height)
{
    CRoI bad(width, height);  // its own increments are 1
    bad.Resize(geometry);
    bool refused = false;
    try {
        run.Source().SetRegion(bad);
    } catch (const std::runtime_error&) {
        refused = true;
    }
    if (!refused) {
        run.Source().SetRegion(region);
        throw failed("found that the region " + bad.StrRect() + " was taken, wanted it refused");
    }
    if (*run.Source().Region() != region)
        throw failed("found the region " + run.Source().Region()->StrRect() + " once another was refused, wanted " +
                     region.StrRect() + " as before");
}

std::string CChecks::Region()
{
    const auto run = Open();
    const auto region = run->Source().Region();
    if (!region)
        throw skipped("the source delivers whole pictures");
    CRoI smaller;
    if (!FindSmaller(*region, &smaller))
        throw skipped("found no smaller region that keeps to the increments");
    run->Start();
    run->AwaitFrames(1);
    CPutBack put_back([&] { run->Source().SetRegion(*region); }, &left_changed_);
    TryRegion(*run, smaller);
    run->Watch().ExpectSize(0, 0);
    put_back.Now();
    run->Watch().ExpectSize(region->Width(), region->Height());
    run->AwaitMore(some_frames);

    const auto width = static_cast<unsigned int>(region->SensorWidth());
    const auto height = static_cast<unsigned int>(region->SensorHeight());
    TryRefusedRegion(*run, *region, Geometry(0, 0, region->SensorWidth() + 15, region->SensorHeight() + 15), width + 16,
                     height + 16);
    const std::string odd = Geometry(smaller.Left(), smaller.Top(), smaller.Right() - 1, smaller.Bottom());
    CRoI ignored;
    const bool has_increments = !IsLegal(smaller, odd, &ignored);
    if (has_increments)
        TryRefusedRegion(*run, *region, odd, width, height);
    run->AwaitMore(1);
    run->Stop();
    return smaller.StrRect() + " and back to " + region->StrRect() + "; refused: beyond the sensor" +
           (has_increments ? ", between the increments" : "");
}

std::string CChecks::Properties()
{
    return CheckSettings(*OpenSource());
}

std::string CChecks::Stop()
{
    {
        const auto run = Open();
        run->Source().Stop();
        run->Start();
        const TSeen seen = run->AwaitReturn("it to return at once, stopped before it began");
        if (seen.frames > 1)
            throw failed("found " + Plural(seen.frames, "frame") + " of a source that was stopped before, wanted none");
    }
    bool waits = false;
    {
        const auto run = Open();
        run->Watch().Hold();
        run->Start();
        waits = run->AwaitFrames(1).pushed > 0;
        run->Source().Stop();
        run->Watch().Release();
        run->AwaitReturn("it to return once stopped");
    }
    if (!waits)
        return "before the run, and during it";
    const auto run = Open();
    run->Watch().Refuse();
    run->Start();
    run->AwaitReturn("it to return once the host takes no more");
    return "before the run, in a host that is full, and by a host that takes no more";
}

std::string CChecks::Again()
{
    for (int i = 0; i < starts; ++i) {
        const auto run = Open();
        run->Start();
        run->AwaitFrames(1);
        run->Stop();
        images_ = run->Watch().Images();
    }
    return std::to_string(starts) + " more sources, one after the other";
}

std::string CChecks::Vanish()
{
    if (!subject_.vanish || !subject_.come_back)
        throw skipped("nobody pulls the plug");
    const auto run = Open();
    const auto region = run->Source().Region();
    const auto settings = Settings(run->Source());
    run->Start();
    run->AwaitFrames(1);
    const auto setting = std::find_if(settings.begin(), settings.end(), [](const CSetting& each) {
        return each.IsNumber() && each.IsSettable() && each.Neighbour() != each.Read();
    });
    const std::string original = setting == settings.end() ? "" : setting->Read();
    CPutBack put_back(
        [&] {
            if (setting != settings.end())
                setting->Write(original);
        },
        &left_changed_);
    std::string wanted;
    if (setting != settings.end()) {
        setting->Write(setting->Neighbour());
        wanted = setting->Read();
    }

    const std::uint64_t interruptions = run->AwaitMore(1).interruptions;
    subject_.vanish();
    TSeen seen = run->Watch().Await(reconnection * subject_.patience, [&](const TSeen& now) {
        return now.interruptions > interruptions || now.returned;
    });
    if (seen.returned)
        throw failed("found that Run() returned when the device was gone (" + seen.error + "), wanted it to go on");
    if (seen.interruptions == interruptions)
        throw failed("found no word of the device's going, wanted Interrupted()");
    subject_.come_back();
    const std::uint64_t before = run->Watch().Seen().frames;
    seen = run->Watch().Await(reconnection * subject_.patience,
                              [&](const TSeen& now) { return now.frames > before || now.returned; });
    if (seen.frames == before)
        throw failed("found no frame after the device came back, wanted frames again");
    run->AwaitMore(some_frames);
    if (region && *run->Source().Region() != *region)
        throw failed("found the region " + run->Source().Region()->StrRect() + " after the device came back, wanted " +
                     region->StrRect());
    if (setting != settings.end() && setting->Read() != wanted)
        throw failed(setting->Name() + ": found " + setting->Read() + " after the device came back, wanted " + wanted);
    put_back.Now();
    run->Stop();
    return "told; frames again" + (setting == settings.end() ? "" : " with " + setting->Name() + " as it was set");
}

std::string CChecks::End()
{
    if (subject_.ends && !*subject_.ends)
        throw skipped("the source has no end");
    const auto run = Open();
    run->Start();
    // A recording keeps its times, so the end of a long one may be far.
    const TSeen seen = run->Watch().Await((subject_.ends ? reconnection : 1) * subject_.patience,
                                          [](const TSeen& now) { return now.returned; });
    if (!seen.returned && !subject_.ends) {
        run->Stop();
        throw skipped("after " + Plural(seen.frames, "frame") + " the source had not ended");
    }
    run->AwaitReturn("it to return at the end");
    return "after " + Plural(seen.frames, "frame");
}

std::size_t CChecks::HeldImages() const
{
    return static_cast<std::size_t>(
        std::count_if(images_.begin(), images_.end(), [](const auto& image) { return !image.expired(); }));
}

std::string CChecks::Leak()
{
    if (!books_)
        throw skipped("there was no first run to compare with");
    // Threads end a moment after they are told to.
    const auto end = std::chrono::steady_clock::now() + subject_.patience;
    TBooks now = LookAtBooks();
    while ((now.threads > books_->threads || now.files > books_->files || HeldImages() > 0) &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        now = LookAtBooks();
    }
    if (now.threads > books_->threads)
        throw failed("found " + Plural(now.threads, "thread") + ", wanted " + std::to_string(books_->threads) +
                     " as after the first run");
    if (now.files > books_->files)
        throw failed("found " + Plural(now.files, "open file") + ", wanted " + std::to_string(books_->files) +
                     " as after the first run");
    if (HeldImages() > 0)
        throw failed("found " + Plural(HeldImages(), "image") + " that somebody still holds, wanted none");
    return Plural(now.threads, "thread") + " and " + Plural(now.files, "open file") +
           " as after the first run, no image held";
}

}  // namespace

const char* VerdictName(Verdict verdict)
{
    switch (verdict) {
        case Verdict::Passed:
            return "passed";
        case Verdict::Failed:
            return "failed";
        case Verdict::Skipped:
            break;
    }
    return "skipped";
}

std::vector<TResult> Check(const TSubject& subject, const TProgress& progress)
{
    return CChecks(subject, progress).Run();
}

bool Passed(const std::vector<TResult>& results)
{
    return std::none_of(results.begin(), results.end(),
                        [](const TResult& result) { return result.verdict == Verdict::Failed; });
}

}  // namespace conformance
