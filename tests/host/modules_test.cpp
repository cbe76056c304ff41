#include "system/modules.h"

#include <gmock/gmock.h>

#include "host/rig_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class ModulesTest : public host_test::RigFixture
{
protected:
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
};

TEST_F(ModulesTest, NamesTheFileThatIsNoModule)
{
    host::CModules bad({BAD_MODULES});
    EXPECT_THAT(MessageOf([&] { bad.Driver("empty"); }),
                HasSubstr("bad_modules/drivers/empty.so is no capture driver: it has no orvo_capture_driver_2()"));
    for (int time = 0; time < 2; ++time)  // a second time, too
        EXPECT_THAT(MessageOf([&] { bad.NeedOperation("Empty"); }),
                    HasSubstr("bad_modules/plugins/Empty.so registers no new operation"));

    EXPECT_THROW(bad.Driver("tset"), host::no_such_module);
    for (const char* const kind : {"drivers", "plugins"})
        std::filesystem::create_directories(folder_ / kind);
    const std::string driver = Write("drivers/test.so", "no shared object").string();
    const std::string plugin = Write("plugins/A.so", "no shared object").string();
    host::CModules both({folder_, TEST_MODULES});  // the first folder wins
    EXPECT_THAT(MessageOf([&] { both.Driver("test"); }), HasSubstr(driver + " could not be loaded: "));
    EXPECT_THAT(MessageOf([&] { both.NeedOperation("Elsewhere"); }), HasSubstr(plugin + " could not be loaded: "));
    // One bad library takes nothing from the others.
    EXPECT_THAT(both.LoadAllPlugins(), ElementsAre(HasSubstr(plugin + " could not be loaded: ")));
    EXPECT_THAT(host::CModules::Operations(), Contains("TestPass"));
}

}  // namespace
