#include "system/console.h"

#include <gmock/gmock.h>
#include <iostream>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Console, ACaptureTakesTheLinesOfItsThreadAlone)
{
    const host::CConsole console;
    testing::internal::CaptureStderr();
    std::vector<std::string> inner_lines;
    {
        const host::CConsole::CCapture outer;
        std::cout << "one " << 1 << "\nbegun";
        {
            const host::CConsole::CCapture inner;
            std::cout << " and ended" << std::endl;
            std::thread([] { std::cout << "elsewhere\n"; }).join();
            inner_lines = inner.Lines();
        }
        std::cout << "two\n";
        EXPECT_THAT(outer.Lines(), ElementsAre("one 1", "two"));
    }
    std::cout << "free\n";
    EXPECT_THAT(inner_lines, ElementsAre("begun and ended"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "elsewhere\nfree\n");
}

TEST(Console, LinesOfThreadsDoNotMix)
{
    testing::internal::CaptureStderr();
    {
        const host::CConsole console;
        std::vector<std::thread> threads;
        for (int number = 0; number < 4; ++number)
            threads.emplace_back([number] {
                for (int line = 0; line < 200; ++line)
                    std::cout << number << number << number << '\n';
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    std::istringstream talk(testing::internal::GetCapturedStderr());
    std::map<std::string, int> lines;
    for (std::string line; std::getline(talk, line);)
        ++lines[line];
    EXPECT_EQ(lines, (std::map<std::string, int>{{"000", 200}, {"111", 200}, {"222", 200}, {"333", 200}}));
}

TEST(Console, TheLastErrorIsTheMessageWithItsLines)
{
    const host::CConsole console;
    const host::CConsole::CCapture capture;
    EXPECT_THAT(capture.LastError(), IsEmpty());
    std::cout << "[EE] ::CNode: first\n[II] ::CNode: between\n[EE] ::CNode: second: of two\nlines\n";
    EXPECT_EQ(capture.LastError(), "second: of two\nlines");
}

}  // namespace
