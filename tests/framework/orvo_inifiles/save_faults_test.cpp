// A save or a load of which the Nth system call fails, or is the last thing that the process does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "framework/orvo_inifiles/folder.h"
#include "framework/orvo_inifiles/system_calls.h"
#include "orvo_inifiles/inifile.h"

namespace {

using kt::ini::INIFile;
using test::Trouble;
using testing::AnyOf;
using testing::HasSubstr;

const char* const old_text = "; the old one\n[A]\nK=v\n\n[B]\nL=w";
const char* const new_text = "; the old one\n[A]\nK=changed\nN = 1\n\n[B]\nL=w\n\n[C]\nM = 2\n";

/// One way for the target to be there, or not.
struct TPlace
{
    bool exists, is_linked;
};

class SaveFaults : public testing::TestWithParam<TPlace>
{
protected:
    /// A folder in its first state, and the changed document of it.
    INIFile Prepare()
    {
        folder_.Empty();
        folder_.Write("rig.ini", old_text);
        chmod((folder_ / "rig.ini").c_str(), 0640);
        boost::filesystem::create_symlink("rig.ini", folder_ / "link.ini");
        INIFile ini(folder_ / (GetParam().is_linked ? "link.ini" : "rig.ini"), "A");
        ini.set("K", "changed");
        ini.set("N", "1");
        ini.Section("C").set("M", "2");
        if (!GetParam().exists)
            boost::filesystem::remove(folder_ / "rig.ini");
        return ini;
    }

    /// Saves, with trouble at that call. What was thrown, or nothing.
    std::string Save(const INIFile& ini, Trouble trouble, int at = 0)
    {
        std::string what;
        test::Arm(trouble, at);
        try {
            ini.Save();
        } catch (const std::runtime_error& error) {
            what = error.what();
        }
        calls_ = test::Disarm();
        return what;
    }

    void ExpectOldOrNew() const
    {
        EXPECT_THAT(folder_.Read("rig.ini"), AnyOf(GetParam().exists ? old_text : "(missing)", new_text));
        EXPECT_TRUE(boost::filesystem::is_symlink(folder_ / "link.ini"));
        EXPECT_TRUE(!GetParam().exists || folder_.Mode("rig.ini") == 0640u);
    }

    std::vector<std::string> Leftovers() const
    {
        std::vector<std::string> names = folder_.List();
        for (const char* known : {"rig.ini", "link.ini"})
            names.erase(std::remove(names.begin(), names.end(), known), names.end());
        return names;
    }

    test::CFolder folder_;
    std::vector<std::string> calls_;
};

TEST_P(SaveFaults, WhenCallsFailTheFileIsOldOrNew)
{
    for (const Trouble trouble : {Trouble::OneFails, Trouble::AllFail})
        for (int at = 1;; ++at) {
            const INIFile ini = Prepare();
            const std::string what = Save(ini, trouble, at);
            if (static_cast<int>(calls_.size()) < at) {
                EXPECT_EQ(what, "");
                EXPECT_GT(at, 8) << "calls went past the test";
                break;
            }
            SCOPED_TRACE("call " + std::to_string(at) + ", " + calls_[static_cast<std::size_t>(at) - 1]);
            ExpectOldOrNew();
            if (trouble == Trouble::AllFail)
                continue;
            EXPECT_THAT(Leftovers(), testing::IsEmpty());
            if (what.empty())
                EXPECT_EQ(folder_.Read("rig.ini"), new_text) << "no error, and not saved";
            else
                EXPECT_THAT(
                    what, AnyOf(HasSubstr((folder_ / "rig.ini").string()), HasSubstr((folder_ / "link.ini").string())));

            // The document is none the worse for it.
            EXPECT_EQ(Save(ini, Trouble::None), "");
            EXPECT_EQ(folder_.Read("rig.ini"), new_text);
        }
}

TEST_P(SaveFaults, WhenTheProcessEndsTheFileIsOldOrNew)
{
    const int saved = 42;
    int result = 0;
    for (int at = 1; result != saved; ++at) {
        SCOPED_TRACE("ended at call " + std::to_string(at));
        const INIFile ini = Prepare();
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            test::Arm(Trouble::Exit, at);
            ini.Save();
            _exit(saved);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        result = WEXITSTATUS(status);
        ASSERT_THAT(result, AnyOf(0, saved));
        ExpectOldOrNew();
        const mode_t too_much = GetParam().exists ? ~0640u : 0;
        for (const std::string& left : Leftovers())
            EXPECT_EQ(folder_.Mode(left) & too_much, 0u) << left << " is more readable than the settings file";

        EXPECT_EQ(Save(ini, Trouble::None), "");
        EXPECT_EQ(folder_.Read("rig.ini"), new_text);
    }
}

TEST_P(SaveFaults, ShortWritesAndSignalsDoNotMatterAndBytesReachTheDiskBeforeTheName)
{
    EXPECT_EQ(Save(Prepare(), Trouble::Hamper), "");
    EXPECT_EQ(folder_.Read("rig.ini"), new_text);
    EXPECT_GT(calls_.size(), std::string(new_text).size());

    EXPECT_EQ(Save(Prepare(), Trouble::None), "");
    std::string order;
    for (const std::string& call : calls_)
        if (call == "writev" || call == "fsync" || call == "rename")
            order += call + " ";
    EXPECT_EQ(order, "writev fsync rename fsync ");
}

INSTANTIATE_TEST_SUITE_P(Places, SaveFaults,
                         testing::Values(TPlace{true, false}, TPlace{false, false}, TPlace{true, true},
                                         TPlace{false, true}));

TEST(LoadFaults, AFailedCallIsAnErrorAndNeverAnEmptyDocument)
{
    const test::CFolder folder;
    folder.Write("rig.ini", old_text);
    int at = 0, calls = 0;
    do {
        std::string what, value;
        test::Arm(Trouble::OneFails, ++at);
        try {
            INIFile(folder / "rig.ini", "A").efind("K", value);
        } catch (const std::runtime_error& error) {
            what = error.what();
        }
        calls = static_cast<int>(test::Disarm().size());
        EXPECT_TRUE(value == "v" || (value.empty() && what.find((folder / "rig.ini").string()) != std::string::npos))
            << "call " << at << ": " << what;
    } while (calls >= at);
    EXPECT_GT(at, 4) << "calls went past the test";

    test::Arm(Trouble::Hamper);
    const std::string value = INIFile(folder / "rig.ini", "B").Value<std::string>("L");
    test::Disarm();
    EXPECT_EQ(value, "w");
}

}  // namespace
