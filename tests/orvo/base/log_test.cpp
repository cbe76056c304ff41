#include "base/log.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>

namespace {

TEST(Location, IsCutFromTheSignature)
{
    const std::pair<const char*, const char*> rows[] = {
        {"void dev::CCamera::Preprocess(const dev::TFrame&)", "::CCamera"},
        {"virtual dev::CDiskWriter::~CDiskWriter()", "::CDiskWriter"},
        {"boost::shared_ptr<X> dev::camera::CPreprocessorNode::Add(const string&)", "::CPreprocessorNode"},
        {"void CCamera::Run(int)", " CCamera"},
        {"CCamera::CCamera(int)", "CCamera"},
        {"int kt::Count()", " kt"},
        // The last bracket counts, even inside the list of template arguments.
        {"void a::B<T>::F(int) [with T = x::Y<void (z::W)()>]", "::Y<void (z"},
        // "::" behind the last bracket does not count.
        {"void Run(dev::CCamera)", "void Run(dev::CCamera)"},
        {"int main()", "int main()"},
        {"no bracket a::b::c", "no bracket a::b::c"},
        {"::Run()", ""},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(base::Location(row.first), row.second) << row.first;
}

struct Reporter
{
    static void Report(base::Severity severity) { base::Log(severity, BOOST_CURRENT_FUNCTION, "it's 5 %s"); }
};

TEST(Log, WritesOneLinePerEventWhateverTheStreamIsSetTo)
{
    testing::internal::CaptureStdout();
    std::cout << std::setw(60) << std::setfill('*') << std::left;
    Reporter::Report(base::Severity::Information);
    Reporter::Report(base::Severity::Warning);
    Reporter::Report(base::Severity::Error);
    std::cout << std::setw(0) << std::setfill(' ') << std::right;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[II] ::Reporter: it's 5 %s\n[WW] ::Reporter: it's 5 %s\n[EE] ::Reporter: it's 5 %s\n");
}

}  // namespace
