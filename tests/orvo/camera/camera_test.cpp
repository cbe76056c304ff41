#include "dev/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "orvo/camera/camera_fixture.h"
#include "orvo/camera/probe_plugins.h"

namespace {

using dev::camera::CPreprocessorNode;
using hws::Version;
using test::TakeFrames;
using testing::ElementsAre;
using testing::HasSubstr;
using Names = std::list<std::string>;

class Camera : public test::CameraFixture
{
protected:
    Camera() { frame.image = cimage::Build("Mono8 64x48"); }

    /// Loads the camera and gives it nodes.
    void Bring(const std::vector<std::string>& lines = {})
    {
        Load({{"FB", "Mono8 64x48"}});
        for (const std::string& line : lines)
            ASSERT_TRUE(camera.Preprocess_Add(line)) << line;
        console.Take();
        test::TakeJournal();
    }

    dev::TFrame<> frame;
};

TEST_F(Camera, TellsEveryCallbackOfAFrameAtOnce)
{
    std::vector<std::string> heard;
    camera.Do_On_Frame_AsyncReceived([&heard](const dev::TFrame<>& f) { heard.push_back("first " + f.text); });
    camera.Do_On_Frame_AsyncReceived([&heard](const dev::TFrame<>& f) { heard.push_back("second " + f.text); });
    frame.text = "f";
    camera.Notify_Frame_Received_Async(frame);
    EXPECT_THAT(heard, ElementsAre("first f", "second f"));
    camera.On_ShutDown();
    camera.Notify_Frame_Received_Async(frame);
    EXPECT_EQ(heard.size(), 2U);
}

TEST_F(Camera, PreprocessSharesTheImageAndRunsTheTree)
{
    Bring({"Relay a Source", "Relay b a"});
    camera.Preprocess(frame);
    EXPECT_EQ(TakeFrames(), "a b");
    EXPECT_EQ(camera.Preprocess_Find("Source")->Image(""), frame.image);
    EXPECT_EQ(camera.RecOutFrame().image, frame.image) << "recording takes the root until told otherwise";
}

TEST_F(Camera, RootIsThereFromTheStart)
{
    CPreprocessorNode* root = camera.Preprocess_Find("Source");
    ASSERT_TRUE(root);
    EXPECT_TRUE(root->IsRoot());
    EXPECT_EQ(camera.Preprocess_OutNode(), root);
    EXPECT_EQ(camera.Sources(), Names{"Source"});
    EXPECT_FALSE(camera.Preprocess_Add("Relay a Source"));
    EXPECT_THAT(console.Take(), HasSubstr("Source node Source has no default output yet"));
    Bring({"Relay a Source"});  // before any frame
    EXPECT_EQ(camera.Preprocess_Find("Source"), root);
}

TEST_F(Camera, AddAndDelKeepTheSourcesInTreeOrder)
{
    Bring({"Relay a Source", "Relay z Source", "Relay b a"});
    EXPECT_EQ(camera.Sources(), (Names{"Source", "a", "b", "z"}));
    EXPECT_FALSE(camera.Preprocess_Add("Relay b Source"));
    camera.Preprocess_Del("a");  // has a child
    EXPECT_EQ(camera.Sources(), (Names{"Source", "a", "b", "z"}));
    camera.Preprocess_Del("b");
    camera.Preprocess_Del("a");
    EXPECT_EQ(camera.Sources(), (Names{"Source", "z"}));
    EXPECT_FALSE(camera.Preprocess_Find("a"));
}

TEST_F(Camera, OutputNodeIsRefusedDeletion)
{
    Bring({"Relay a Source"});
    const std::string refusal = "[WW] ::CCamera: This is the current output node and cannot be deleted\n";
    camera.Preprocess_Del("Source");
    EXPECT_EQ(console.Take(), refusal) << "the output node is the root until set";

    camera.SetAsOut("a");
    EXPECT_EQ(camera.Preprocess_OutNode(), camera.Preprocess_Find("a"));
    camera.Preprocess_Del("a");
    EXPECT_EQ(console.Take(), refusal);
    EXPECT_EQ(camera.Sources(), (Names{"Source", "a"}));
    camera.Preprocess_Del("Source");
    EXPECT_EQ(console.Take(), "[EE] ::CPreprocessorNode: Cannot remove the root node\n");

    camera.SetAsOut("Source");
    camera.Preprocess_Del("a");
    EXPECT_EQ(camera.Sources(), Names{"Source"});
}

TEST_F(Camera, OutFrameIsMadeFromTheOutputNode)
{
    Bring({"Relay a Source", "Silent mute Source"});
    EXPECT_FALSE(camera.OutFrame().image);
    camera.SetAsOut("a");
    ASSERT_TRUE(camera.OutFrame().image);
    EXPECT_EQ(camera.OutFrame().image->Descriptor(), "Mono8 64x48");
    EXPECT_NE(camera.OutFrame().image, camera.Preprocess_OutNode()->Image(""));
    camera.SetAsOut("mute");
    EXPECT_FALSE(camera.OutFrame().image) << "a node without a default image leaves it empty";
    EXPECT_EQ(camera.Preprocess_OutNode()->Name(), "mute");
}

TEST_F(Camera, DeletingTheRecordingOutputFallsBackToTheRoot)
{
    Bring({"Relay a Source", "Relay b a"});
    camera.SetAsRecOut("a");
    camera.Preprocess(frame);
    EXPECT_EQ(camera.RecOutFrame().image, camera.Preprocess_Find("a")->Image(""));

    camera.Preprocess_Del("a");  // has a child: stays, and stays what is recorded
    EXPECT_EQ(console.Take(), "");
    EXPECT_NE(camera.RecOutFrame().image, frame.image);

    camera.Preprocess_Del("b");
    console.Take();
    camera.Preprocess_Del("a");
    EXPECT_EQ(console.Take(),
              "[WW] ::CCamera: The recording output node a goes: recording takes Source now\n"
              "[II] ::CPreprocessorNode: Removing preprocessor node a\n");
    EXPECT_EQ(camera.RecOutFrame().image, frame.image);
}

TEST_F(Camera, TheTreeItselfKnowsOfTheOutputs)
{
    Bring({"Relay out Source", "Relay rec Source"});
    camera.SetAsOut("out");
    camera.SetAsRecOut("rec");
    camera.Preprocess(frame);
    CPreprocessorNode& root = *camera.Preprocess_Find("Source");
    root.Remove("out");
    EXPECT_EQ(camera.Preprocess_OutNode(), camera.Preprocess_Find("out"));
    root.Remove("rec");
    EXPECT_EQ(camera.RecOutFrame().image, frame.image);
}

TEST_F(Camera, UnknownNamesChangeNothing)
{
    Bring({"Relay a Source"});
    camera.SetAsOut("a");
    camera.SetAsRecOut("a");
    const dev::TFrame<> out = camera.OutFrame();
    EXPECT_THROW(camera.SetAsOut("x"), CPreprocessorNode::name_not_found);
    EXPECT_THROW(camera.SetAsRecOut("x"), CPreprocessorNode::name_not_found);
    EXPECT_THROW(camera.Preprocess_Del("x"), CPreprocessorNode::name_not_found);
    EXPECT_FALSE(camera.Preprocess_Find("x"));
    EXPECT_EQ(camera.Preprocess_OutNode()->Name(), "a");
    EXPECT_EQ(camera.OutFrame().image, out.image);
    EXPECT_EQ(camera.RecOutFrame().image, camera.Preprocess_OutNode()->Image(""));
    EXPECT_EQ(console.Take(), "");
}

TEST_F(Camera, AnExceptionOfAPluginFreesTheMutex)
{
    Bring({"Relay bad Source throw=frame"});
    EXPECT_THROW(camera.Preprocess(frame), std::runtime_error);
    EXPECT_THROW(camera.Preprocess(frame), std::runtime_error);
    camera.Preprocess_Del("bad");
    camera.Preprocess(frame);
}

TEST_F(Camera, RegionChangeIsLoggedAndReachesTheRoot)
{
    Load({{"FB", "Mono8 640x480"},
          {"ROI", "320 240"},
          {"POSITION", "1 2 3"},
          {"ORIENTATION", "0.1 0.2 0.3"},
          {"OPTICAL CENTER", "320.5 240.25"},
          {"PIXEL FOCAL LENGTH", "500 501.5"}});
    const std::string params =
        "\tParams: K: (500, 501.5), O: (320.5, 240.25), S: (320, 240), T: (1, 2, 3), Y: 0.1, P: 0.2, R: 0.3\n";
    EXPECT_THAT(console.Take(), testing::EndsWith("[II] ::CCamera:  Changing RoI\n"
                                                  "\tSensor=640x480, Rect=(160, 120, 479, 359), Size=(320, 240)\n" +
                                                  params));
    CPreprocessorNode& root = *camera.Preprocess_Find("Source");
    EXPECT_EQ(root.Wnd("").ViewWidth(), 320U);

    // The argument is printed and no more: the camera's own region is the one that counts. What the tree holds of the
    // last frame stays until the next.
    camera.Preprocess(frame);
    camera.SetRoI(dev::camera::CRoI(100, 50));
    EXPECT_EQ(console.Take(),
              "[II] ::CCamera:  Changing RoI\n\tSensor=100x50, Rect=(0, 0, 99, 49), Size=(100, 50)\n" + params);
    EXPECT_EQ(camera.RoI().StrSize(), "(320, 240)");
    EXPECT_EQ(camera.RecOutFrame().image, frame.image);
    EXPECT_EQ(root.Wnd("").ViewWidth(), 320U);

    Load({{"FB", "Mono8 640x480"}, {"ROI", "200 100"}});
    EXPECT_EQ(root.Wnd("").ViewWidth(), 200U);
}

TEST_F(Camera, OpticalCentreCountsFromTheRegion)
{
    Load({{"FB", "Mono8 640x480"}, {"ROI", "320 240"}});
    camera.SetOpticalCenter(100.5, 50);
    EXPECT_EQ(camera.OpticalCenter(), dev::CCamera::Pair(100.5, 50));
    EXPECT_EQ(camera.FullOpticalCenter(), dev::CCamera::Pair(260.5, 170));
    EXPECT_EQ(camera.Params().O[0], 100.5);

    // The offsets are taken as unsigned, on purpose: a region may begin left of the sensor.
    Load({{"FB", "Mono8 640x480"}, {"ROI", "-2 0 99 99"}});
    camera.SetOpticalCenter(100.5, 50);
    EXPECT_EQ(camera.FullOpticalCenter(), dev::CCamera::Pair(100.5 + 4294967294.0, 50));
}

/// A camera whose driver wants to know of its region.
class CDriven : public dev::CCamera
{
public:
    std::string told;

protected:
    void On_RoIChanged(const dev::camera::CRoI& roi) override
    {
        told += roi.StrRect();
        CCamera::On_RoIChanged(roi);
    }
};

TEST_F(Camera, RegionHookIsVirtual)
{
    CDriven driven;
    driven.LoadParams(File({{"FB", "Mono8 640x480"}, {"ROI", "320 240"}}), Version::V1_1);
    driven.SetRoI(dev::camera::CRoI(10, 10));
    EXPECT_EQ(driven.told, "(160, 120, 479, 359)(0, 0, 9, 9)");
    EXPECT_TRUE(driven.Preprocess_Find("Source")->Image(""));
}

TEST_F(Camera, PanelIsBuiltOnce)
{
    const ui::wgt::Widget& panel = camera.CameraPanel();
    EXPECT_EQ(panel.Kind() + " " + panel.Attr("label") + " " + panel.Attr("visible"), "panel Camera FALSE");
    EXPECT_TRUE(panel.Children().empty());
    camera.On_Initialization();
    camera.On_Initialization();
    ASSERT_EQ(panel.Children().size(), 1U);
    const ui::wgt::Widget sizer = panel.Children()[0];
    const ui::wgt::Widget grid = sizer.Children().at(0);
    EXPECT_EQ(sizer.Kind() + sizer.Attr("hexpand") + sizer.Attr("vexpand"), "vsizer11");
    EXPECT_EQ(grid.Kind() + grid.Attr("hexpand") + grid.Attr("vexpand"), "propertygrid11");
    EXPECT_EQ(camera.CalibrationPanel().Children().size(), 1U) << "the sensor's part comes with it";
}

TEST_F(Camera, KnowsTheOperations)
{
    EXPECT_THAT(camera.Plugins(), ElementsAre("Hollow", "Null", "Relay", "Silent"));
}

TEST_F(Camera, ShutDownDestroysTheTree)
{
    Bring({"Relay a Source", "Relay b a"});
    camera.On_ShutDown();
    EXPECT_THAT(test::TakeJournal(), testing::UnorderedElementsAre("gone a", "gone b"));
}

// Every operation in every state of a camera's life: what is legal, what is refused, what stops the process.
TEST_F(Camera, StatesAndOperations)
{
    enum State
    {
        Constructed,
        Loaded,
        Initialised,
        ShutDown,
        ShutDownTwice
    };
    struct TOperation
    {
        const char* name;
        std::function<void(dev::CCamera&)> call;
        const char* outcomes[3];  ///< constructed, loaded (and initialised), shut down
    };
    const kt::ini::INIFile ini = File({{"FB", "Mono8 64x48"}});
    const char ok[] = "ok";
    const char stops[] = "stops";
    const auto demand = [](bool condition) {
        if (!condition)
            throw std::runtime_error("refused");
    };
    const TOperation operations[] = {
        {"Preprocess", [&](dev::CCamera& c) { c.Preprocess(frame); }, {ok, ok, stops}},
        {"Preprocess_Add",
         [&](dev::CCamera& c) { demand(c.Preprocess_Add("Relay n Source")); },
         {"refused", ok, stops}},
        {"Preprocess_Del", [](dev::CCamera& c) { c.Preprocess_Del("Source"); }, {ok, ok, stops}},
        {"Preprocess_Find", [](dev::CCamera& c) { c.Preprocess_Find("Source"); }, {ok, ok, stops}},
        {"Preprocess_OutNode", [](dev::CCamera& c) { c.Preprocess_OutNode(); }, {ok, ok, stops}},
        {"SetAsOut", [](dev::CCamera& c) { c.SetAsOut("Source"); }, {ok, ok, stops}},
        {"SetAsRecOut", [](dev::CCamera& c) { c.SetAsRecOut("Source"); }, {ok, ok, stops}},
        {"RecOutFrame", [](dev::CCamera& c) { c.RecOutFrame(); }, {ok, ok, stops}},
        {"CollectSources", [](dev::CCamera& c) { c.CollectSources(); }, {ok, ok, stops}},
        {"SetRoI", [](dev::CCamera& c) { c.SetRoI(dev::camera::CRoI(8, 8)); }, {"no format", ok, ok}},
        {"SaveParams",
         [](dev::CCamera& c) {
             kt::ini::INIFile into = File({});
             c.SaveParams(into, Version::V1_1);
         },
         {"no format", ok, ok}},
        {"LoadParams", [&](dev::CCamera& c) { c.LoadParams(ini, Version::V1_1); }, {ok, ok, ok}},
        {"On_Initialization", [](dev::CCamera& c) { c.On_Initialization(); }, {ok, ok, ok}},
        {"Params", [](dev::CCamera& c) { c.Params(); }, {ok, ok, ok}},
        {"Sources", [](dev::CCamera& c) { c.Sources(); }, {ok, ok, ok}},
        {"Notify", [&](dev::CCamera& c) { c.Notify_Frame_Received_Async(frame); }, {ok, ok, ok}},
    };
    for (const State state : {Constructed, Loaded, Initialised, ShutDown, ShutDownTwice}) {
        for (const TOperation& operation : operations) {
            SCOPED_TRACE(operation.name + std::string(" in state ") + std::to_string(state));
            dev::CCamera subject;  // destroyed in every state
            if (state >= Loaded)
                subject.LoadParams(ini, Version::V1_1);
            if (state >= Initialised)
                subject.On_Initialization();
            for (int i = ShutDown; i <= state; ++i)
                subject.On_ShutDown();
            const std::string wanted = operation.outcomes[state == Constructed ? 0 : state >= ShutDown ? 2 : 1];
            if (wanted == stops) {
                EXPECT_DEATH(operation.call(subject), "required: tree_");
                continue;
            }
            std::string outcome = ok;
            try {
                operation.call(subject);
            } catch (const std::logic_error&) {
                outcome = "no format";
            } catch (const std::runtime_error& error) {
                outcome = error.what();
            }
            EXPECT_EQ(outcome, wanted);
        }
    }
}

// Run under the thread sanitizer: one thread runs frames while another edits the tree.
TEST_F(Camera, TreeIsEditedWhileFramesRun)
{
    Bring({"Relay a Source"});
    std::atomic<bool> done{false};
    std::atomic<int> frames{0};
    std::thread runner([&] {
        while (!done) {
            camera.Preprocess(frame);
            ++frames;
        }
    });
    const auto next_frame = [&] {
        for (const int now = frames; frames == now;)
            std::this_thread::yield();
    };
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(camera.Preprocess_Add("Silent b a"));
        camera.SetAsOut("b");
        camera.SetAsRecOut("b");
        next_frame();
        EXPECT_EQ(camera.Preprocess_OutNode(), camera.Preprocess_Find("b"));
        camera.SetAsOut("a");
        camera.Preprocess_Del("b");
        camera.SetRoI(camera.RoI());
        next_frame();
    }
    done = true;
    runner.join();
    EXPECT_EQ(camera.Sources(), (Names{"Source", "a"}));
}

}  // namespace
