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

TEST_F(Camera, RootIsThereFromTheStart)
{
    CPreprocessorNode* root = camera.Preprocess_Find("Source");
    ASSERT_TRUE(root);
    EXPECT_EQ(camera.Preprocess_OutNode(), root);
    EXPECT_EQ(camera.Sources(), Names{"Source"});
    EXPECT_FALSE(camera.Preprocess_Add("Relay a Source"));
    EXPECT_THAT(console.Take(), HasSubstr("Source node Source has no default output yet"));
    Bring({"Relay a Source", "Relay z Source", "Relay b a"});  // before any frame
    EXPECT_EQ(camera.Preprocess_Find("Source"), root);
    camera.Preprocess(frame);
    EXPECT_EQ(TakeFrames(), "a b z");
    EXPECT_EQ(camera.Sources(), (Names{"Source", "a", "b", "z"})) << "in tree order";
    EXPECT_EQ(camera.RecOutFrame().image, frame.image) << "shared; recording takes the root until told otherwise";
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
    camera.Preprocess_Find("Source")->Remove("a");
    EXPECT_TRUE(camera.Preprocess_Find("a")) << "the tree itself knows of the outputs";
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
}

TEST_F(Camera, DeletingTheRecordingOutputFallsBackToTheRoot)
{
    Bring({"Relay a Source", "Relay b a"});
    camera.SetAsRecOut("a");
    camera.Preprocess(frame);
    EXPECT_EQ(camera.RecOutFrame().image, camera.Preprocess_Find("a")->Image(""));

    EXPECT_THROW(camera.SetAsOut("x"), CPreprocessorNode::name_not_found);
    EXPECT_THROW(camera.SetAsRecOut("x"), CPreprocessorNode::name_not_found);
    EXPECT_THROW(camera.Preprocess_Del("x"), CPreprocessorNode::name_not_found);
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

    // The offsets are taken as unsigned, on purpose: a region may begin left of the sensor.
    Load({{"FB", "Mono8 640x480"}, {"ROI", "-2 0 99 99"}});
    camera.SetOpticalCenter(100.5, 50);
    EXPECT_EQ(camera.FullOpticalCenter(), dev::CCamera::Pair(100.5 + 4294967294.0, 50));
}

dev::camera::CRoI RegionOf(unsigned int width, unsigned int height, const char* geometry)
{
    dev::camera::CRoI roi(width, height);
    roi.Resize(geometry);
    return roi;
}

TEST_F(Camera, ARegionThatMovesLeavesTheOpticalCentreOnTheSensor)
{
    using dev::CCamera;
    Load({{"FB", "Mono8 640x480"}, {"ROI", "160 120 479 359"}, {"OPTICAL CENTER", "100.5 50"}});
    camera.SetRoIIncrements(4, 4, 2, 2);
    EXPECT_EQ(camera.FullOpticalCenter(), CCamera::Pair(100.5, 50)) << "as the file has it, until the region moves";
    const struct
    {
        const char* geometry;
        CCamera::Pair center;
        unsigned int width;
    } rows[] = {
        {"200 100 519 339", {60.5, 70}, 320},
        {"0 0 639 479", {260.5, 170}, 640},
        {"400 300 499 399", {-139.5, -130}, 100},
        {"160 120 479 359", {100.5, 50}, 320},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.geometry);
        console.Take();
        camera.ChangeRoI(RegionOf(640, 480, row.geometry));
        EXPECT_EQ(camera.RoI(), RegionOf(640, 480, row.geometry));
        EXPECT_EQ(camera.OpticalCenter(), row.center);
        EXPECT_EQ(camera.FullOpticalCenter(), CCamera::Pair(260.5, 170));
        EXPECT_EQ(camera.Params().S[0], row.width);
        EXPECT_EQ(camera.WorkingFrames()[3].image->Width(), row.width);
        EXPECT_EQ(camera.Preprocess_Find("Source")->Wnd("").ViewWidth(), row.width);
        EXPECT_THAT(console.Take(), HasSubstr("O: (" + dev::to_string(row.center.first, row.center.second) + ")"));
    }

    EXPECT_THROW(camera.ChangeRoI(RegionOf(640, 481, "0 0 639 479")), std::invalid_argument);
    for (const char* broken : {"2 0 321 99", "0 0 318 99"}) {
        EXPECT_THROW(camera.ChangeRoI(RegionOf(640, 480, broken)), std::runtime_error) << broken;
    }
    EXPECT_EQ(camera.RoI().StrRect(), "(160, 120, 479, 359)");
    EXPECT_EQ(camera.OpticalCenter(), CCamera::Pair(100.5, 50));
    EXPECT_EQ(console.Take(), "");
}

// What is legal, what is refused and what stops the process in a camera's life.
TEST_F(Camera, StatesAndOperations)
{
    const kt::ini::INIFile ini = test::File({{"FB", "Mono8 64x48"}});
    const struct
    {
        std::function<void(dev::CCamera&)> call;
        bool needs_format, needs_tree;
    } operations[] = {
        {[&](dev::CCamera& c) { c.Preprocess(frame); }, false, true},
        {[](dev::CCamera& c) { c.Preprocess_Del("Source"); }, false, true},
        {[](dev::CCamera& c) { c.Preprocess_Find("Source"); }, false, true},
        {[](dev::CCamera& c) { c.SetAsOut("Source"); }, false, true},
        {[](dev::CCamera& c) { c.RecOutFrame(); }, false, true},
        {[](dev::CCamera& c) { c.CollectSources(); }, false, true},
        {[](dev::CCamera& c) { c.SetRoI(dev::camera::CRoI(8, 8)); }, true, false},
        {[](dev::CCamera& c) { c.ChangeRoI(dev::camera::CRoI(64, 48)); }, true, false},
        {[this](dev::CCamera&) { Save({}); }, true, false},
        {[&](dev::CCamera& c) { c.LoadParams(ini, Version::V1_1); }, false, false},
        {[](dev::CCamera& c) { c.On_Initialization(); }, false, false},
        {[](dev::CCamera& c) { c.Sources(); }, false, false},
    };
    for (const auto& operation : operations) {
        if (operation.needs_format) {
            EXPECT_THROW(operation.call(camera), std::logic_error);
        } else if (operation.needs_tree) {
            EXPECT_NO_THROW(operation.call(camera));
        }
    }
    Load({{"FB", "Mono8 64x48"}});
    camera.On_Initialization();
    for (const auto& operation : operations)
        EXPECT_NO_THROW(operation.call(camera));
    EXPECT_EQ(camera.CameraPanel().Children().size(), 1U) << "built once";
    EXPECT_TRUE(camera.Preprocess_Add("Relay a Source"));
    test::TakeJournal();
    camera.On_ShutDown();
    EXPECT_THAT(test::TakeJournal(), ElementsAre("gone a"));
    camera.On_ShutDown();
    for (const auto& operation : operations) {
        if (operation.needs_tree) {
            EXPECT_DEATH(operation.call(camera), "required: tree_");
        } else {
            EXPECT_NO_THROW(operation.call(camera));
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
