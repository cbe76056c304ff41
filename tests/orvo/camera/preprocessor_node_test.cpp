#include "dev/camera/preprocessor_node.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "orvo/camera/console.h"
#include "orvo/camera/probe_plugins.h"
#include "orvo_proc_cimage/image.h"

namespace {

using dev::camera::CNodeObserver;
using dev::camera::CPreprocessorNode;
using test::TakeFrames;
using test::TakeJournal;
using testing::ElementsAre;
using ImagePtr = CPreprocessorNode::ImagePtr;

const char listing[] = ". Available Plugins are:\nHollow\n,Null\n,Relay\n,Silent\n\n";

std::string Info(const std::string& message)
{
    return "[II] ::CPreprocessorNode: " + message + "\n";
}
std::string Error(const std::string& message)
{
    return "[EE] ::CPreprocessorNode: " + message + "\n";
}

/// A tree without a camera, its root ready for children.
class Tree : public testing::Test
{
protected:
    Tree()
    {
        root.SetOperation("Identity", "any name", "fps_factor=0.25");
        root.SetSource(frame);
        root.Initialize();
        TakeJournal();
    }

    /// Adds nodes that must not fail.
    void Grow(const std::vector<std::string>& lines)
    {
        for (const std::string& line : lines)
            ASSERT_TRUE(root.Add(line)) << line;
        TakeJournal();
        console.Take();
    }

    /// Every node that iteration visits, depth first, as "name(child child)".
    static std::string Shape(const CPreprocessorNode& node)
    {
        std::string text = node.Name();
        if (!node.SubNodes().empty()) {
            std::string separator = "(";
            for (const CPreprocessorNode& child : node.SubNodes()) {
                text += separator + Shape(child);
                separator = " ";
            }
            text += ")";
        }
        return text;
    }

    /// The frames, from 1, that reach each node, of `count` frames.
    std::vector<int> FramesRun(const std::string& name, int count)
    {
        std::vector<int> run;
        for (int i = 1; i <= count; ++i) {
            TakeJournal();
            root.Execute(frame);
            for (const std::string& report : TakeJournal())
                if (report == "frame " + name)
                    run.push_back(i);
        }
        return run;
    }

    test::CConsole console;
    const ImagePtr frame = cimage::Build("Mono8 64x48");
    CPreprocessorNode root;
};

TEST_F(Tree, IdentityIsNamedSourceAndTakesNoOptions)
{
    EXPECT_EQ(root.Name(), "Source");
    EXPECT_EQ(root.FpsFactor(), 1.0F);
    EXPECT_TRUE(root.GetPlugin()->Options().empty());

    // The same below the root, whatever name the line gives: it can be found by no name, and never removed.
    CPreprocessorNode* identity = root.Add("Identity x Source");
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->Name(), "Source");
    EXPECT_FALSE(root.HasNode("x"));
    EXPECT_EQ(root.find("Source"), &root);
    EXPECT_EQ(identity->find("Source"), identity);
}

TEST_F(Tree, AddReportsAndBringsThePluginUp)
{
    CPreprocessorNode* node = root.Add(" Relay\tsmall;;Source radius=3 fps_factor=0.5 = 7 ");
    ASSERT_TRUE(node);
    EXPECT_EQ(console.Take(), Info("Adding plugin:  Relay\tsmall;;Source radius=3 fps_factor=0.5 = 7 "));
    EXPECT_THAT(TakeJournal(), ElementsAre("init small", "source small", "output small"));
    EXPECT_EQ(node->ConfigString(), " Relay\tsmall;;Source radius=3 fps_factor=0.5 = 7 ");
    EXPECT_EQ(node->Parent(), &root);
    EXPECT_EQ(node->FpsFactor(), 0.5F);
    EXPECT_EQ(node->GetPlugin()->Options(),
              (std::map<std::string, std::string>{{"radius", "3"}, {"fps_factor", "0.5"}, {"", ""}, {"$1", "7"}}));
    EXPECT_EQ(node->Wnd("").ViewWidth(), 64U) << "the geometry of the source node's output";
    EXPECT_EQ(root.Page().Children(), std::vector<ui::wgt::Widget>{node->Page()});
    EXPECT_EQ(node->Page().Children().at(0).Children().at(0), node->GetPlugin()->Page());
}

TEST_F(Tree, AddThatFailsSaysWhyAndLeavesTheTree)
{
    Grow({"Relay a Source", "Silent mute Source", "Relay b a"});
    const std::string shape = Shape(root);
    const struct
    {
        const char* line;
        const char* error;
        bool announced;
        bool listed;
    } rows[] = {
        {"Relay c", "Plugin syntax: Operation Dst Src [Params]", false, false},
        {"Relay b Source", "Cannot add this node: another node named b already exists.", true, false},
        {"Relay c nowhere", "Source node must exists", true, false},
        {"Blur c a", "plugin allocator not found", true, true},
        {"Hollow c a", "call to empty boost::function", true, true},
        {"Null c a", "plugin allocator of Null made no plugin", true, true},
        {"Relay c a fps_factor=-0.5", "fps_factor: found \"-0.5\", wanted a finite number from 0 up", true, true},
        {"Relay c a fps_factor=nan", "fps_factor: found \"nan\", wanted a finite number from 0 up", true, true},
        {"Relay c a fps_factor=", "fps_factor: found \"\", wanted a finite number from 0 up", true, true},
        {"Relay c mute", "Source node mute has no default output yet", true, false},
        {"Relay c a throw=init", "no way to begin", true, false},
        {"Relay c a throw=other", "Unknown exception catched adding Node", true, false},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(root.Add(row.line)) << row.line;
        const std::string operation(row.line, std::find(row.line, row.line + std::strlen(row.line), ' '));
        EXPECT_EQ(console.Take(), (row.announced ? Info("Adding plugin: " + std::string(row.line)) : "") +
                                      (row.listed ? Error("Plugin not found: " + operation) + listing : "") +
                                      Error(row.error));
        EXPECT_EQ(Shape(root), shape) << row.line;
    }
    EXPECT_EQ(root.find("a")->SubNodes().size(), 1U) << "what is undone was never a child";
    EXPECT_EQ(root.Page().Children().size(), 3U);

    EXPECT_FALSE(root.find("a")->Add("Relay c a"));
    EXPECT_EQ(console.Take(), Error("Preprocess subnodes can be added from root node only"));
}

TEST_F(Tree, RemoveTakesLeavesOnly)
{
    Grow({"Relay a Source", "Relay b a", "Relay c a"});
    EXPECT_EQ(root.find("b")->Parent(), root.find("a"));
    EXPECT_FALSE(root.find("b")->HasNode("a")) << "the search goes down only";
    EXPECT_EQ(root.find("b")->find("Source"), root.find("b")) << "Source is the node that is searched from";
    root.Remove("Source");
    EXPECT_EQ(console.Take(), Error("Cannot remove the root node"));
    EXPECT_THROW(root.Remove("nowhere"), CPreprocessorNode::name_not_found);
    root.Remove("a");
    EXPECT_EQ(console.Take(), "") << "a node with children stays, without a word";
    EXPECT_EQ(Shape(root), "Source(a(b c))");
    root.Remove("b");
    EXPECT_EQ(console.Take(), Info("Removing preprocessor node b"));
    EXPECT_THAT(TakeJournal(), ElementsAre("gone b"));
    root.Remove("c");
    root.Remove("a");
    EXPECT_EQ(Shape(root), "Source");
    EXPECT_TRUE(root.Page().Children().empty());
}

// A caller that counts children counts the removed ones too; nothing else does.
TEST_F(Tree, RemovedChildrenStayInTheReportedCount)
{
    Grow({"Relay a Source", "Relay b Source"});
    root.Remove("a");
    EXPECT_EQ(std::distance(root.SubNodes().begin(), root.SubNodes().end()), 1);
    root.Remove("b");
    EXPECT_TRUE(root.SubNodes().empty());
    EXPECT_EQ(root.SubNodes().size(), 2U);
}

TEST_F(Tree, ExecutesDepthFirstInOrderOfAddition)
{
    Grow({"Relay a Source", "Silent mute Source", "Relay z Source", "Relay b a", "Relay c b", "Relay d a"});
    root.Execute(frame);
    EXPECT_EQ(TakeFrames(), "a b c d mute z");
    EXPECT_EQ(root.Image(""), frame) << "the root hands the frame itself on";

    root.Execute(ImagePtr());
    EXPECT_EQ(TakeFrames(), "") << "a frame without an image ends at the root";
}

TEST_F(Tree, FpsFactorsLeaveFramesOut)
{
    const struct
    {
        const char* factor;
        std::vector<int> frames;  ///< of eight
    } rows[] = {
        {"1", {1, 2, 3, 4, 5, 6, 7, 8}},
        {"0.5", {2, 4, 6, 8}},
        {"0.25", {4, 8}},
        {"0.75", {2, 3, 4, 6, 7, 8}},  // the rest carries over
        {"0", {}},
        {"3e38", {1, 2, 3, 4, 5, 6, 7, 8}},
    };
    for (const auto& row : rows) {
        Grow({std::string("Relay a Source fps_factor=") + row.factor, "Relay below a", "Relay half a fps_factor=0.5"});
        EXPECT_EQ(FramesRun("a", 8), row.frames) << row.factor;
        EXPECT_EQ(FramesRun("below", 8), row.frames) << row.factor;
        EXPECT_EQ(FramesRun("half", 8).size(), row.frames.size() / 2) << row.factor;
        root.Remove("half");
        root.Remove("below");
        root.Remove("a");
    }
}

TEST_F(Tree, ALargeFactorLeavesNoLongRest)
{
    Grow({"Relay a Source fps_factor=1000"});
    FramesRun("a", 100);
    root.find("a")->SetOperation("Relay", "a", "fps_factor=0");
    EXPECT_EQ(FramesRun("a", 100).size(), 1U);
}

/// Writes what it hears, and what the plugins report in between, into the journal.
class CTold : public CNodeObserver
{
    void On_Decimated(const CPreprocessorNode& node) override { test::Journal().push_back("skip " + node.Name()); }
    void On_Begin(const CPreprocessorNode& node) override { test::Journal().push_back("begin " + node.Name()); }
    void On_End(const CPreprocessorNode& node, bool failed) override
    {
        test::Journal().push_back((failed ? "failed " : "end ") + node.Name());
    }
};

TEST_F(Tree, ObserverHearsEveryNode)
{
    CTold told;
    root.Observe(&told);
    Grow({"Relay slow Source fps_factor=0.5", "Relay bad Source throw=frame"});  // heirs of the root's
    EXPECT_THROW(root.Execute(frame), std::runtime_error);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("begin Source", "end Source", "skip slow", "begin bad", "frame bad", "failed bad"));
}

}  // namespace
