// A folder of a test's own with rig files in it, and the rig that most tests begin with.
#ifndef TESTS_HOST_RIG_FIXTURE_H
#define TESTS_HOST_RIG_FIXTURE_H

#include <gtest/gtest.h>
#include <filesystem>
#include <string>

#include "system/console.h"

namespace host_test {

/// A sensor and two cameras, without a fault; the line numbers matter to the tests.
extern const std::string good_rig;

/// `text` with `from`, which it holds once, replaced.
std::string With(std::string text, const std::string& from, const std::string& to);

class RigFixture : public testing::Test
{
protected:
    RigFixture();
    ~RigFixture() override;

    std::filesystem::path Write(const std::string& name, const std::string& text) const;
    static std::string Read(const std::filesystem::path& file);

    std::filesystem::path folder_;
    host::CConsole console_;  ///< captures work while it lives
};

}  // namespace host_test

#endif
