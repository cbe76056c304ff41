// Where the time goes: gathers chronometers, passes on their measurements as they come, and prints what they found.
#ifndef DEV_PROFILER_H
#define DEV_PROFILER_H

#include <memory>
#include <string>
#include <vector>

#include "base/export.h"

namespace kt {
namespace chrono {
class Accumulator;
class CChronometer;
}  // namespace chrono
}  // namespace kt

namespace dev {

/// True for the entry that is `object` itself, not one that equals it.
template <typename T>
bool is_equal(const T* entry, const T& object)
{
    return entry == std::addressof(object);
}

/// Base of profilers; a derived class decides what becomes of single measurements.
/// It owns nothing. What is connected must live until it is removed, and the profiler must outlive the last
/// measurement of whatever was ever connected, because neither Remove() nor the destructor ends the observation.
/// Thread rule: no lock. Connect(), Remove(), PrintReport() and Reset() come one at a time, and the last two while
/// nothing is measured. Measurements arrive on the threads that take them, several at once.
class ORVO_DEV_API CProfiler
{
public:
    CProfiler();
    CProfiler(const CProfiler&) = delete;
    CProfiler& operator=(const CProfiler&) = delete;
    virtual ~CProfiler();

    /// Called by Connect(), once per connection. Returns the identifier under which the measurements will come. When it
    /// throws, nothing is connected.
    virtual unsigned int Register_Entry(const std::string& name) = 0;

    /// Called after each measurement of an entry, on the thread that took it; the value is `acc.Last()`. Must be safe
    /// on several threads at once.
    virtual void On_Accumulator_Update(unsigned int id, const kt::chrono::Accumulator& acc) = 0;

    /// Connects a chronometer under its present name, or an accumulator under the given one. What is connected twice is
    /// registered, observed, printed and cleared twice. Although they are taken as const, Reset() clears them: neither
    /// may be an object that was defined const.
    void Connect(const kt::chrono::CChronometer& c);
    void Connect(const std::string& name, const kt::chrono::Accumulator& a);
    void Connect(const kt::chrono::CChronometer&&) = delete;  // it would be gone at once
    void Connect(const std::string&, const kt::chrono::Accumulator&&) = delete;

    /// Takes all connections of this very object out of reports and resets. Its measurements go on coming.
    void Remove(const kt::chrono::CChronometer& c);
    void Remove(const kt::chrono::Accumulator& a);

    /// Prints the connected chronometers on standard output in the order of their connection, below a line "Report".
    /// Accumulators that were connected by name are not printed.
    void PrintReport();

    /// Prints one chronometer on standard output:
    ///   Name   = .............Frame (RT Clock)           "Thread Time" for the thread's CPU time
    ///     Count = 000003
    ///     Min   = 00:00:00.001000
    ///     Max   = 00:00:00.003000
    ///     Mean  = 00:00:00.002000
    ///     Var   = 666.667[ms^2]
    ///     StDev = 000.816[ms]
    /// What is labelled as a variance in milliseconds squared is a thousand times that, on purpose: programs that read
    /// these reports divide it. The standard deviation is in milliseconds as labelled.
    void PrintEntry(const kt::chrono::CChronometer* c);

    /// Prints how many chronometers and accumulators are connected, then the report, then clears them all.
    void Reset();

private:
    std::vector<kt::chrono::CChronometer*> chronometers_;
    std::vector<kt::chrono::Accumulator*> accumulators_;
};

}  // namespace dev

#endif
