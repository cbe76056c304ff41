#include "dev/profiler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "dev/clock.h"
#include "orvo/base/decimal_comma.h"

namespace {

using kt::chrono::Accumulator;
using kt::chrono::CChronometer;

const std::string report_line = "[II] ::CProfiler: Report\n";

class ProfilerTest : public testing::Test, protected dev::CProfiler
{
protected:
    unsigned int Register_Entry(const std::string& name) override
    {
        names_.push_back(name);
        return static_cast<unsigned int>(names_.size() - 1);
    }
    void On_Accumulator_Update(unsigned int id, const Accumulator& accumulator) override
    {
        heard_ += names_.at(id) + ':' + std::to_string(std::lround(accumulator.Last())) + ' ';
    }

    CChronometer Chronometer(const std::string& name, CChronometer::ClockType type = CChronometer::RealTime)
    {
        return CChronometer(type, name, [this] { return now_ns_; });
    }
    void Measure(CChronometer& chronometer, std::int64_t us)
    {
        chronometer.Start();
        now_ns_ += us * 1000;
        chronometer.Stop();
    }

    template <typename Call>
    static std::string Printed(Call call)
    {
        testing::internal::CaptureStdout();
        call();
        return testing::internal::GetCapturedStdout();
    }

    std::int64_t now_ns_ = 0;
    std::vector<std::string> names_;
    std::string heard_;
};

TEST_F(ProfilerTest, PrintsItsReportWhateverLocaleAndStreamAreSetTo)
{
    const test::CDecimalComma comma;
    CChronometer frame = Chronometer("Frame"),
                 long_name = Chronometer("a name of over eighteen", CChronometer::ThreadTime);
    Accumulator not_printed;
    for (const int us : {2001, 1000, 3002})
        Measure(frame, us);
    for (const std::int64_t s : {3600 * 1234, 3600 * 1234 + 2})
        Measure(long_name, s * 1000000);
    Connect(frame);
    Connect("not printed", not_printed);
    Connect(long_name);

    std::cout.imbue(std::locale());
    std::cout << std::setfill('*') << std::hex << std::left;
    EXPECT_EQ(Printed([this] { PrintReport(); }), report_line +
                                                      "  Name   = .............Frame (RT Clock)\n"
                                                      "    Count = 000003\n"
                                                      "    Min   = 00:00:00.001000\n"
                                                      "    Max   = 00:00:00.003002\n"
                                                      "    Mean  = 00:00:00.002001\n"
                                                      "    Var   = 668.001[ms^2]\n"
                                                      "    StDev = 000.817[ms]\n"
                                                      "  Name   = a name of over eighteen (Thread Time)\n"
                                                      "    Count = 000002\n"
                                                      "    Min   = 1234:00:00\n"
                                                      "    Max   = 1234:00:02\n"
                                                      "    Mean  = 1234:00:01\n"
                                                      "    Var   = 1000000000.000[ms^2]\n"
                                                      "    StDev = 1000.000[ms]\n");
    EXPECT_EQ(Printed([] { std::cout << std::setw(4) << 255; }), "ff**");
    std::cout << std::setfill(' ') << std::dec << std::right;
    std::cout.imbue(std::locale::classic());
}

TEST_F(ProfilerTest, PassesOnMeasurementsAndConnectsTwiceWhatIsConnectedTwice)
{
    EXPECT_EQ(Printed([this] { Reset(); }), "m_chronos=0  m_accums=0\n" + report_line);

    dev::CClock clock(CChronometer::ThreadTime);
    CChronometer twice = Chronometer("twice"), same = twice;
    Accumulator named, removed;
    for (const CChronometer* chronometer : {&twice, &same, &twice})
        Connect(*chronometer);
    Connect(clock);
    Connect("named", named);
    Connect("removed", removed);
    Remove(clock);
    Remove(removed);
    Measure(twice, 5);
    named.Add(6.0);
    removed.Add(7.0);
    EXPECT_EQ(heard_, "twice:5 twice:5 named:6 removed:7 ");
    EXPECT_EQ(Printed([this] { Reset(); }).find("m_chronos=3  m_accums=1\n" + report_line), 0u);
    EXPECT_EQ(twice.StopCounter() + named.Count(), 0u);
    EXPECT_EQ(removed.Count(), 1u);

    Remove(twice);  // both, and not the one that equals it
    Measure(same, 8);
    const std::string rest = Printed([&] { PrintEntry(&same); });
    EXPECT_EQ(Printed([this] { PrintReport(); }), report_line + rest);
}

}  // namespace
