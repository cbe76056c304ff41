#include "dev/camera/plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "dev/camera.h"
#include "dev/camera/plugin_factory.h"
#include "orvo/camera/probe_plugins.h"
#include "orvo_proc_cimage/image.h"

namespace {

using dev::camera::Plugin;
using dev::camera::Plugin_Descriptions;
using test::CRelay;
using test::TakeJournal;
using testing::ElementsAre;
using ImagePtr = Plugin::ImagePtr;
using Options = std::map<std::string, std::string>;

class Plugins : public testing::Test
{
protected:
    Plugins() { TakeJournal(); }

    /// A relay named "p", as a tree would bring it up.
    void Start(const std::string& options = "")
    {
        plugin.Rename("p");
        plugin.SetOperation("Relay", options);
        plugin.SetSource(cimage::Build("Mono8 64x48"));
        plugin.Initialize();
    }

    CRelay plugin;
};

TEST_F(Plugins, OptionGrammar)
{
    const struct
    {
        const char* text;
        Options options;
    } rows[] = {
        {"", {}},
        {" ;\t; ", {}},
        {"7 size=5;mode=fast", {{"$1", "7"}, {"size", "5"}, {"mode", "fast"}}},
        {"a x b=1 y", {{"$1", "a"}, {"$2", "x"}, {"b", "1"}, {"$3", "y"}}},
        {"a=1;a=2", {{"a", "1"}}},
        {"=v", {{"", "v"}}},
        {"k=", {{"k", ""}}},
        {"k=a=b", {{"k", "a=b"}}},
        {"$1=given x", {{"$1", "given"}}},  // the first value of a key stays, a positional one's too
    };
    for (const auto& row : rows) {
        CRelay fresh;
        fresh.ParseOptions(row.text);
        EXPECT_EQ(fresh.Options(), row.options) << '"' << row.text << '"';
    }
    plugin.ParseOptions("1 2 3 4 5 6 7 8 9");
    EXPECT_EQ(plugin.Options().at("$9"), "9");
    plugin.ParseOptions("x a=1");
    EXPECT_EQ(plugin.Options().at("$1"), "1") << "an earlier parse wins";
    EXPECT_THROW(plugin.ParseOptions("1 2 3 4 5 6 7 8 9 10"), std::runtime_error);
}

TEST_F(Plugins, LifeInOrder)
{
    plugin.Rename("p");
    plugin.SetOperation("Relay", "gain=2");
    const ImagePtr image = cimage::Build("Mono8 64x48");
    plugin.SetSource(image);
    ASSERT_TRUE(plugin.source_);
    EXPECT_NE(plugin.source_, image) << "the template is the plugin's own";
    EXPECT_EQ(plugin.Wnd("").Width(), 320U);
    plugin.ChangeOutput();
    EXPECT_THAT(TakeJournal(), ElementsAre()) << "nothing reaches the hooks before Initialize";

    plugin.Initialize();
    EXPECT_THAT(TakeJournal(), ElementsAre("init p", "source p", "output p"));
    EXPECT_EQ(plugin.Wnd("").ViewWidth(), 64U);

    plugin.SetSource(cimage::Build("Mono8 32x16"));
    plugin.ChangeOutput();
    EXPECT_THAT(TakeJournal(), ElementsAre("source p", "output p"));
    EXPECT_EQ(plugin.Wnd("").Width(), 32U);
}

TEST_F(Plugins, AFailedStartIsNoStart)
{
    EXPECT_THROW(Start("throw=init"), std::runtime_error);
    plugin.ChangeOutput();
    EXPECT_THAT(TakeJournal(), ElementsAre("init p"));
}

TEST_F(Plugins, TitlesNameCameraAndOperation)
{
    dev::CCamera camera;
    camera.Rename("front");
    const std::pair<const char*, const char*> rows[] = {{"Blur", "front_Blur"}, {"Identity", "front"}, {"", "front_"}};
    for (const auto& row : rows) {
        CRelay titled;
        titled.SetOperation(row.first, "");
        titled.Control(camera);
        titled.SetSource(cimage::Build("Mono8 8x8"));
        titled.Initialize();
        EXPECT_EQ(titled.Wnd("").Title(), row.second);
    }
    Start();
    EXPECT_EQ(plugin.Wnd("").Title(), "_Relay") << "a plugin without a camera";
}

TEST_F(Plugins, ExecuteRenewsEveryOutputThatHoldsAnImage)
{
    Start();
    plugin.images_["half"] = cimage::Build("Mono16 32x24");
    plugin.images_["none"] = ImagePtr();
    const std::map<std::string, ImagePtr> before = plugin.Images();
    plugin.Execute(cimage::Build("Mono8 64x48"));
    for (const char* name : {"", "half"}) {
        EXPECT_NE(plugin.Image(name), before.at(name)) << '"' << name << "\" may still be read by somebody";
        EXPECT_EQ(plugin.Image(name)->Descriptor(), before.at(name)->Descriptor());
    }
    EXPECT_FALSE(plugin.Image("none"));
    EXPECT_FALSE(plugin.Image("unknown"));
    EXPECT_EQ(plugin.Images().size(), before.size()) << "asking inserts nothing";
}

// Hands on every second frame; in between somebody keeps what it was given to write into.
class CMoody : public dev::camera::Plugin
{
public:
    bool pass_on = false;
    ImagePtr given;  ///< the default output as it was before this frame's decision

protected:
    void On_Output_Change() override { images_[""] = source_; }
    void On_Execute(const ImagePtr& image) override
    {
        given = images_[""];
        if (pass_on)
            PassOn(image);
    }
};

// Changes its mind within a frame.
class CFickle : public dev::camera::Plugin
{
public:
    ImagePtr other;

protected:
    void On_Output_Change() override { images_[""] = source_; }
    void On_Execute(const ImagePtr& image) override
    {
        PassOn(other);
        other.reset();
        PassOn(image);
    }
};

TEST_F(Plugins, AnImageThatSomebodySawIsNeverGivenAgain)
{
    CMoody moody;
    const auto frame = cimage::Build("Mono8 64x48");
    moody.SetSource(frame);
    moody.Initialize();
    std::vector<ImagePtr> seen;
    for (const bool pass_on : {true, true, false, true, false, false, true, true}) {
        moody.pass_on = pass_on;
        moody.Execute(frame);
        EXPECT_EQ(moody.Image("") == frame, pass_on);
        EXPECT_TRUE(moody.given->IsLike(*frame));
        EXPECT_EQ(std::count(seen.begin(), seen.end(), moody.given), 0) << "may still be read";
        seen.push_back(moody.given);
    }

    // One that nobody saw may serve again, but only for the same kind of picture.
    moody.pass_on = true;
    for (const char* descriptor : {"Mono8 64x48", "Mono8 32x24", "Mono16 32x24"}) {
        const auto other = cimage::Build(descriptor);
        for (int i = 0; i < 3; ++i) {
            moody.Execute(other);
            moody.given.reset();
        }
        moody.Execute(other);
        EXPECT_EQ(moody.given->Descriptor(), descriptor);
    }
}

TEST_F(Plugins, WhatCameFromOutsideIsNotKeptAsASpare)
{
    const auto frame = cimage::Build("Mono8 64x48");
    CFickle fickle;
    fickle.SetSource(frame);
    fickle.Initialize();
    std::vector<unsigned char> pixels(64 * 48);
    bool released = false;
    fickle.other = cimage::Wrap(frame->Format(), 64, 48, 64, pixels.data(), [&released] { released = true; });
    fickle.Execute(frame);
    EXPECT_EQ(fickle.Image(""), frame);
    EXPECT_TRUE(released) << "a driver waits for its buffer";
}

TEST(PluginDescriptions, KeepTheirFirstTexts)
{
    Plugin_Descriptions::Add("Tested", "n", "first");
    Plugin_Descriptions::Add("Tested", "m", "second");
    EXPECT_EQ(Plugin_Descriptions::Description("Tested"), "first");

    // Looking an operation up enters it, so that adding it later has no effect.
    EXPECT_EQ(Plugin_Descriptions::Syntax("Late"), "");
    Plugin_Descriptions::Add("Late", "n", "text");
    EXPECT_EQ(Plugin_Descriptions::Description("Late"), "");
}

}  // namespace
