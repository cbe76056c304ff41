#include "base/log.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

TEST(Location, IsCutFromTheSignature)
{
    const struct
    {
        const char* signature;
        const char* location;
    } rows[] = {
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
        EXPECT_EQ(base::Location(row.signature), row.location) << row.signature;
}

class Log : public testing::Test
{
protected:
    void SetUp() override { old_ = std::cout.rdbuf(captured_.rdbuf()); }
    void TearDown() override { std::cout.rdbuf(old_); }

    std::ostringstream captured_;

private:
    std::streambuf* old_ = nullptr;
};

struct Reporter
{
    static void Report(base::Severity severity) { base::Log(severity, BOOST_CURRENT_FUNCTION, "it's 5 %s"); }
};

TEST_F(Log, WritesOneLinePerEventWhateverTheStreamIsSetTo)
{
    std::cout << std::setw(60) << std::setfill('*') << std::left;
    Reporter::Report(base::Severity::Information);
    Reporter::Report(base::Severity::Warning);
    Reporter::Report(base::Severity::Error);
    std::cout << std::setw(0) << std::setfill(' ') << std::right;
    EXPECT_EQ(captured_.str(), "[II] ::Reporter: it's 5 %s\n[WW] ::Reporter: it's 5 %s\n[EE] ::Reporter: it's 5 %s\n");
}

}  // namespace
