// The checks that every source of every driver passes: what drivers/capture/source.h promises to a host, tried out on a
// source, whatever it captures from. Tests run them over all drivers, `orvo devices --test` over a user's own camera.
//
//   describe    the driver finds no fault with the request and can look at the source without opening it
//   open        it opens, and is the device that describe found
//   frames      they come, in order: numbers rise, times do not go back, format and size are those asked for, and no
//               pixel changes once it is delivered
//   region      where the device cuts its region itself: it can be changed and put back while frames come, and one that
//               the device cannot have is refused and changes nothing
//   properties  attributes can be read as text; what is enabled takes its own value again; a number outside the limits
//               is refused and changes nothing
//   stop        before Run() and from another thread during it, while the host is full; a host that takes no more
//   again       another source opens once the last one is gone, several times
//   vanish      the device goes: that is told, and the run goes on; it comes back: frames again, with the same settings
//   end         a source that ends by itself returns from Run() without an error
//   leak        threads and open files are no more than after the first run, and nobody holds an image
//
// Every wait is bounded: a source that gives no frame fails, and so does one whose Run() does not return; that one is
// left alone, on the thread that it holds, and the checks behind it are skipped. So are those of a source that does not
// open.
#ifndef CONFORMANCE_CONFORMANCE_H
#define CONFORMANCE_CONFORMANCE_H

#include <boost/optional.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "capture/source.h"

namespace conformance {

/// What is checked. The driver, and all that the functions use, outlive the check.
struct TSubject
{
    const capture::CDriver& driver;
    /// What each source is opened with, the format that its frames are to have among it. Its settings outlive the
    /// check.
    std::function<capture::TRequest()> request;
    /// Whether a source ends by itself; none: nobody knows, and either will do.
    boost::optional<bool> ends = {};
    /// Takes the device away under a running source, and brings it back; empty where nobody can.
    std::function<void()> vanish = {};
    std::function<void()> come_back = {};
    /// How long a frame, or the return of Run(), may take; a reconnection, six times as long.
    std::chrono::milliseconds patience = std::chrono::seconds(10);
};

enum class Verdict
{
    Passed,
    Failed,
    Skipped
};

/// "passed", "failed", "skipped".
const char* VerdictName(Verdict verdict);

struct TResult
{
    std::string check;
    Verdict verdict;
    /// What was seen; of a failure "found …, wanted …", or what the driver threw; of what was skipped, why.
    std::string text;
};

/// Called on the checking thread; each may be empty.
struct TProgress
{
    std::function<void(const std::string& check)> begins = {};
    std::function<void(const TResult& result)> ended = {};
};

/// Runs all checks, in the order of the list, on the calling thread. Settings of the device that a check changes are
/// put back. Throws nothing but what the functions of `progress` throw.
std::vector<TResult> Check(const TSubject& subject, const TProgress& progress = {});

/// True when none failed.
bool Passed(const std::vector<TResult>& results);

}  // namespace conformance

#endif
