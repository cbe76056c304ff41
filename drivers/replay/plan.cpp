#include "replay/plan.h"

#include <boost/filesystem/operations.hpp>
#include <limits>
#include <stdexcept>

#include "base/number_text.h"
#include "capture/passes.h"

namespace replay {

const char* const rate_key = "REPLAY RATE";
const char* const loop_key = "LOOP";

namespace {

bool ParseRate(const std::string& text, double* rate)
{
    if (text == "MAX") {
        *rate = std::numeric_limits<double>::infinity();
        return true;
    }
    try {
        *rate = base::ParseNumber<double>(text);
        return *rate >= 0.001 && *rate <= 1000.0;
    } catch (const boost::bad_lexical_cast&) {
        return false;
    }
}

void ReadKeys(const kt::ini::INIFile& settings, TPlan* plan, std::vector<capture::TFault>* faults)
{
    std::string text;
    if (settings.efind(rate_key, text) && !ParseRate(text, &plan->rate))
        faults->push_back({rate_key, "\"" + text + "\"", "a number from 0.001 to 1000, or MAX"});
    if (settings.efind(loop_key, text) && !capture::ParsePasses(text, &plan->passes))
        faults->push_back({loop_key, "\"" + text + "\"", capture::passes_wanted});
}

/// Splits "FILE#TRACK" at the first "#" that has a file before it; names of files and tracks may hold others. Returns
/// whether there is a track.
bool Split(const capture::TRequest& request, std::string* file, std::string* track)
{
    const std::string& location = request.location;
    const auto path = [&request](const std::string& name) {
        return boost::filesystem::absolute(name, request.folder).string();
    };
    boost::system::error_code ignored;
    std::size_t mark = location.find('#');
    while (mark != std::string::npos && !boost::filesystem::exists(path(location.substr(0, mark)), ignored))
        mark = location.find('#', mark + 1);
    if (mark == std::string::npos && !boost::filesystem::exists(path(location), ignored))
        mark = location.find('#');
    *file = path(location.substr(0, mark));
    *track = mark == std::string::npos ? "" : location.substr(mark + 1);
    return mark != std::string::npos;
}

/// "WHERE: found X, wanted Y" taken apart.
capture::TFault ToFault(const std::runtime_error& error)
{
    const std::string text = error.what();
    const std::string found = ": found ";
    const std::string wanted = ", wanted ";
    const std::size_t at = text.find(found);
    const std::size_t end = text.rfind(wanted);
    if (at == std::string::npos || end == std::string::npos || end < at + found.size())
        return {"SOURCE", text, "a recording"};
    return {"SOURCE", text.substr(0, at + 2) + text.substr(at + found.size(), end - at - found.size()),
            text.substr(end + wanted.size())};
}

void FindTrack(bool named, const std::string& name, TPlan* plan)
{
    const std::vector<rec::TTrack>& tracks = plan->recording->Tracks();
    if (named || tracks.empty())
        plan->track = plan->recording->Find(name);
    else if (tracks.size() > 1)
        throw std::runtime_error(plan->recording->File() + ": found " + std::to_string(tracks.size()) +
                                 " tracks, wanted one of them named: replay:FILE#" + tracks[0].name);
}

/// As far as the index tells: frames of a TAR archive show their format when they are read.
void CheckFormat(const TPlan& plan, const cimage::CImage& full)
{
    for (std::size_t i = 0; i < plan.recording->Frames(plan.track); ++i) {
        const rec::TBlock block = plan.recording->Block(plan.track, i);
        if (block.format != nullptr && !Fits(*block.format, block.width, block.height, full))
            throw std::runtime_error(plan.recording->File() + ": found " +
                                     cimage::Build(*block.format, block.width, block.height)->Descriptor() +
                                     " in track " + plan.recording->Tracks()[plan.track].name + ", wanted " +
                                     full.Descriptor() + " (FB) or a region of it");
    }
}

}  // namespace

TPlan ReadPlan(const capture::TRequest& request, bool with_format, std::vector<capture::TFault>* faults)
{
    TPlan plan;
    ReadKeys(request.settings, &plan, faults);
    std::string file;
    std::string track;
    const bool named = Split(request, &file, &track);
    try {
        plan.recording = rec::Open(file);
        FindTrack(named, track, &plan);
        if (with_format)
            CheckFormat(plan, *cimage::Build(request.format));
    } catch (const std::runtime_error& error) {
        faults->push_back(ToFault(error));
    } catch (const std::invalid_argument& error) {
        faults->push_back({"FB", "\"" + request.format + "\"", error.what()});
    }
    return plan;
}

bool Fits(const cimage::TPixelFormat& format, unsigned int width, unsigned int height, const cimage::CImage& full)
{
    return &format == &full.Format() && width <= full.Width() && height <= full.Height();
}

}  // namespace replay
