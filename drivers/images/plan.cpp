#include "images/plan.h"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include "base/number_text.h"
#include "capture/faults.h"
#include "capture/passes.h"
#include "images/natural_order.h"

namespace images {

const char* const loop_key = "LOOP";
const char* const fps_key = "FPS";
const char* const stamps_key = "STAMPS";

namespace {

/// The text as a pattern that matches nothing but itself.
std::string Literally(const std::string& text)
{
    std::string pattern;
    for (const char c : text) {
        if (c == '*' || c == '?' || c == '[' || c == '\\')
            pattern += '\\';
        pattern += c;
    }
    return pattern;
}

/// The location as a pattern, in which a path that is there, or the folders of one, mean themselves.
std::string PatternOf(const capture::TRequest& request)
{
    const boost::filesystem::path path = boost::filesystem::absolute(request.location, request.folder);
    boost::system::error_code ignored;
    if (boost::filesystem::exists(path, ignored))
        return Literally(path.string());
    if (boost::filesystem::is_directory(path.parent_path(), ignored))
        return Literally(path.parent_path().string()) + "/" + path.filename().string();
    const bool is_absolute = boost::filesystem::path(request.location).is_absolute();
    return (is_absolute ? "" : Literally(request.folder) + "/") + request.location;
}

/// Every file that matches, in natural order; folders are left out.
std::vector<std::string> Match(const std::string& pattern)
{
    std::vector<std::string> files;
    ::glob_t matches;
    if (::glob(pattern.c_str(), GLOB_MARK | GLOB_NOSORT, nullptr, &matches) == 0) {
        for (std::size_t i = 0; i < matches.gl_pathc; ++i) {
            const std::string path = matches.gl_pathv[i];
            if (path.back() != '/')
                files.push_back(path);
        }
    }
    ::globfree(&matches);
    std::sort(files.begin(), files.end(), NaturalLess);
    return files;
}

bool IsRate(const std::string& text, double* fps)
{
    try {
        *fps = base::ParseNumber<double>(text);
        return *fps >= 0.001 && *fps <= 10000.0;
    } catch (const boost::bad_lexical_cast&) {
        return false;
    }
}

bool IsStamps(const std::string& text, Stamps* stamps)
{
    if (text == "FILE TIME")
        *stamps = Stamps::FileTime;
    else if (text == "FILE NAME")
        *stamps = Stamps::FileName;
    else if (text == "CLOCK")
        *stamps = Stamps::Clock;
    else
        return false;
    return true;
}

void ReadKeys(const kt::ini::INIFile& settings, TPlan* plan, std::vector<capture::TFault>* faults)
{
    std::string text;
    if (settings.efind(loop_key, text) && !capture::ParsePasses(text, &plan->passes))
        faults->push_back({loop_key, capture::Quoted(text), capture::passes_wanted});
    if (settings.efind(fps_key, text) && !IsRate(text, &plan->fps))
        faults->push_back({fps_key, capture::Quoted(text), "frames per second, from 0.001 to 10000"});
    if (settings.efind(stamps_key, text) && !IsStamps(text, &plan->stamps))
        faults->push_back({stamps_key, capture::Quoted(text), "FILE TIME, FILE NAME or CLOCK"});
}

void LookAtFiles(const std::string& pattern, const TPlan& plan, std::vector<capture::TFault>* faults)
{
    if (plan.files.empty())
        faults->push_back({"SOURCE", "no file that matches " + pattern, "at least one picture"});
    for (const std::string& file : plan.files) {
        boost::system::error_code ignored;
        if (!boost::filesystem::is_regular_file(file, ignored))
            faults->push_back({"SOURCE", file + ": no regular file", "a picture file"});
        else if (::access(file.c_str(), R_OK) != 0)
            faults->push_back({"SOURCE", file + ": " + std::generic_category().message(errno), "a readable file"});
    }
    if (plan.stamps != Stamps::FileName)
        return;
    // One file shows that the names are of another kind; the others would say the same.
    const auto unnamed = std::find_if(plan.files.begin(), plan.files.end(),
                                      [](const std::string& file) { return TimeOfName(file).is_not_a_date_time(); });
    if (unnamed != plan.files.end())
        faults->push_back(
            {stamps_key, "FILE NAME with " + *unnamed,
             "file names that end in a time since 1970: seconds with a decimal point, or 10, 13, 16 or 19 "
             "digits"});
}

}  // namespace

TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults)
{
    TPlan plan;
    ReadKeys(request.settings, &plan, faults);
    const std::string pattern = PatternOf(request);
    plan.files = Match(pattern);
    LookAtFiles(pattern, plan, faults);
    return plan;
}

bool IsRaw(const std::string& file)
{
    for (const std::string extension : {".raw", ".bayer"}) {
        if (file.size() > extension.size() &&
            file.compare(file.size() - extension.size(), extension.size(), extension) == 0)
            return true;
    }
    return false;
}

}  // namespace images
