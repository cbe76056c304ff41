#include "system/modules.h"

#include <gmock/gmock.h>

#include "host/rig_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ModulesTest : public host_test::RigFixture
{
protected:
    ModulesTest()
    {
        std::filesystem::create_directories(folder_ / "drivers");
        std::filesystem::create_directories(folder_ / "plugins");
    }

    template <typename Call>
    static std::string MessageOf(Call call)
    {
        try {
            call();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "nothing was thrown";
    }

    host::CModules good_{{"/nonexistent", TEST_MODULES}};
    host::CModules bad_{{BAD_MODULES}};
};

TEST_F(ModulesTest, FindsADriverOnce)
{
    EXPECT_EQ(good_.Driver("test").Syntax(), "test:KIND COUNT");
    EXPECT_EQ(&good_.Driver("test"), &good_.Driver("test"));
    EXPECT_THAT(good_.Schemes(), ElementsAre("test"));
    EXPECT_THROW(good_.Driver("tset"), host::no_such_module);
}

TEST_F(ModulesTest, FindsAnOperationInALibraryOfAnotherName)
{
    good_.NeedOperation("TestChoosy");
    EXPECT_THAT(host::CModules::Operations(), Contains("TestThrow"));
    EXPECT_THROW(good_.NeedOperation("TestUnknown"), host::no_such_module);
}

TEST_F(ModulesTest, NamesTheFileThatIsNoModule)
{
    EXPECT_THAT(MessageOf([&] { bad_.Driver("empty"); }),
                HasSubstr("bad_modules/drivers/empty.so is no capture driver: it has no orvo_capture_driver_1()"));
    // A second time, too.
    for (int time = 0; time < 2; ++time)
        EXPECT_THAT(MessageOf([&] { bad_.NeedOperation("Empty"); }),
                    HasSubstr("bad_modules/plugins/Empty.so registers no new operation"));

    Write("drivers/text.so", "no shared object");
    Write("plugins/Text.so", "no shared object");
    host::CModules text({folder_});
    EXPECT_THAT(MessageOf([&] { text.Driver("text"); }), HasSubstr("drivers/text.so could not be loaded: "));
    EXPECT_THAT(MessageOf([&] { text.NeedOperation("Text"); }), HasSubstr("plugins/Text.so could not be loaded: "));
    EXPECT_THAT(MessageOf([&] { text.NeedOperation("Elsewhere"); }),
                HasSubstr("plugins/Text.so could not be loaded: "));
}

TEST_F(ModulesTest, OneBadLibraryTakesNothingFromTheOthers)
{
    Write("plugins/A.so", "no shared object");
    host::CModules both({folder_, TEST_MODULES});
    EXPECT_THAT(both.LoadAllPlugins(), ElementsAre(HasSubstr("plugins/A.so could not be loaded: ")));
    EXPECT_THAT(host::CModules::Operations(), Contains("TestPass"));
}

TEST_F(ModulesTest, TheFirstFolderWins)
{
    Write("drivers/test.so", "no shared object");
    EXPECT_THAT(MessageOf([&] {
                    host::CModules({folder_, TEST_MODULES}).Driver("test");
                }),
                HasSubstr((folder_ / "drivers/test.so").string()));
}

}  // namespace
