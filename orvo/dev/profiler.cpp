#include "dev/profiler.h"

#include <algorithm>
#include <boost/bind/bind.hpp>
#include <boost/date_time/posix_time/posix_time_io.hpp>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <locale>
#include <sstream>

#include "base/log.h"
#include "base/require.h"
#include "orvo_time/chronometer.h"

namespace dev {

using kt::chrono::Accumulator;
using kt::chrono::CChronometer;

namespace {

/// One unformatted write of a text made elsewhere: no setting or locale of std::cout shows in it, and none is changed.
void Print(const std::ostringstream& text)
{
    const std::string bytes = text.str();
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Removes every entry that is `object` itself; the rest keeps its order.
template <typename T>
void RemoveAll(std::vector<T*>& entries, const T& object)
{
    entries.erase(
        std::remove_if(entries.begin(), entries.end(), [&](const T* entry) { return is_equal(entry, object); }),
        entries.end());
}

}  // namespace

CProfiler::CProfiler() = default;
CProfiler::~CProfiler() = default;

void CProfiler::Connect(const CChronometer& c)
{
    const unsigned int id = Register_Entry(c.Name());
    c.Accumulator().RegisterObserver(boost::bind(&CProfiler::On_Accumulator_Update, this, id, boost::placeholders::_1));
    chronometers_.push_back(const_cast<CChronometer*>(&c));
}

void CProfiler::Connect(const std::string& name, const Accumulator& a)
{
    const unsigned int id = Register_Entry(name);
    a.RegisterObserver(boost::bind(&CProfiler::On_Accumulator_Update, this, id, boost::placeholders::_1));
    accumulators_.push_back(const_cast<Accumulator*>(&a));
}

void CProfiler::Remove(const CChronometer& c)
{
    RemoveAll(chronometers_, c);
}

void CProfiler::Remove(const Accumulator& a)
{
    RemoveAll(accumulators_, a);
}

void CProfiler::PrintReport()
{
    base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION, "Report");
    for (const CChronometer* chronometer : chronometers_)
        PrintEntry(chronometer);
    std::cout.flush();
}

void CProfiler::PrintEntry(const CChronometer* c)
{
    ORVO_REQUIRE(c != nullptr);
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << "  Name   = " << std::setfill('.') << std::setw(18) << c->Name() << " ("
        << (c->Type() == CChronometer::ThreadTime ? "Thread Time" : "RT Clock") << ")\n";
    out << std::setfill('0');
    out << "    Count = " << std::setw(6) << c->StopCounter() << '\n';
    out << "    Min   = " << c->Min() << '\n';
    out << "    Max   = " << c->Max() << '\n';
    out << "    Mean  = " << c->Avg() << '\n';
    out << std::fixed << std::setprecision(3);
    out << "    Var   = " << std::setw(7) << c->Var() / 1000.0 << "[ms^2]\n";
    out << "    StDev = " << std::setw(7) << std::sqrt(c->Var()) / 1000.0 << "[ms]\n";
    Print(out);
}

void CProfiler::Reset()
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << "m_chronos=" << chronometers_.size() << "  m_accums=" << accumulators_.size() << '\n';
    Print(out);
    PrintReport();
    for (CChronometer* chronometer : chronometers_)
        chronometer->Clear();
    for (Accumulator* accumulator : accumulators_)
        accumulator->Reset();
}

}  // namespace dev
