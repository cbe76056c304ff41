#include "orvo_time/chronometer.h"

#include <gtest/gtest.h>

#include <time.h>
#include <thread>

namespace {

using boost::posix_time::microseconds;
using kt::chrono::CChronometer;
using kt::chrono::CTSChronometer;

TEST(Chronometer, MeasuresFromStartToStop)
{
    std::int64_t now_ns = 5000000000;
    CChronometer chronometer(CChronometer::RealTime, "work", [&] { return now_ns; });
    chronometer.Stop();
    EXPECT_EQ(chronometer.StopCounter(), 0u);

    for (const int us : {3, 1, 2}) {
        chronometer.Start();
        now_ns += 70000;
        chronometer.Start();  // gives up the one before
        now_ns += us * 1000 + 499;
        chronometer.Stop();
        chronometer.Stop();
    }
    EXPECT_EQ(chronometer.StopCounter(), 3u);
    EXPECT_EQ(chronometer.Min(), microseconds(1));
    EXPECT_EQ(chronometer.Max(), microseconds(3));
    EXPECT_EQ(chronometer.Avg(), microseconds(2));
    EXPECT_DOUBLE_EQ(chronometer.Var(), 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(chronometer.Accumulator().Last(), 2.499);

    chronometer.Start();
    chronometer.Clear();
    now_ns += 9000;
    chronometer.Stop();
    EXPECT_EQ(chronometer.Min(), microseconds(9));
}

double Microseconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return 1e6 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_nsec);
}

TEST(Chronometer, ReadsTheClockOfItsType)
{
    CTSChronometer real(CChronometer::ClockType(0)), worked(CChronometer::ClockType(1));
    const double before = Microseconds(CLOCK_THREAD_CPUTIME_ID);
    worked.Start();
    real.Start();
    const double begin = Microseconds(CLOCK_MONOTONIC);
    // This thread waits while another one works.
    std::thread([] {
        for (volatile int i = 0; i < 1000000; i = i + 1)
            continue;
    }).join();
    const double end = Microseconds(CLOCK_MONOTONIC);
    real.Stop();
    worked.Stop();
    EXPECT_GE(real.Accumulator().Last(), end - begin - 0.01);
    EXPECT_LE(worked.Accumulator().Last(), Microseconds(CLOCK_THREAD_CPUTIME_ID) - before + 0.01);
}

}  // namespace
