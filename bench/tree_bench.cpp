// What one pass-through node of a preprocessing tree costs per frame (execution, renewed output image), against one
// GStreamer `identity` element: chains of 1, 10, 50 and 100 of each, 1280x960 grey. scripts/bench fits the slopes.
//
// Both sides get their best: frames come from a ring without a clock, nobody observes the tree; the elements are
// silent, raise no handoffs, buffers carry no time stamps, and the sink neither synchronises nor keeps a sample. Both
// run with a second thread alive.
#include <benchmark/benchmark.h>
#include <gst/gst.h>
#include <sys/resource.h>

#include <boost/shared_ptr.hpp>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "allocation_count.h"
#include "dev/camera/plugin.h"
#include "dev/camera/plugin_factory.h"
#include "dev/camera/preprocessor_node.h"
#include "orvo_proc_cimage/image.h"
#include "second_thread.h"

namespace {

using ImagePtr = boost::shared_ptr<const cimage::CImage>;

/// "Identity" nodes all bear the root's name, so a chain of them cannot be spoken of; this is the same under a name.
class Pass : public dev::camera::plugin::Root
{
};
const dev::camera::CPluginRegistration<Pass> registration("Pass", "", "Hands the image on as it is.");

[[noreturn]] void Fail(const std::string& message)
{
    std::cerr << "tree_bench: " << message << '\n';
    std::exit(1);
}

/// Frames as a driver hands them over: a few images in turn, their pixels there.
std::vector<ImagePtr> Ring()
{
    const auto prototype = cimage::Build("Mono8 1280x960");
    std::vector<ImagePtr> ring;
    for (int i = 0; i < 4; ++i) {
        const auto frame = prototype->New(prototype->Width(), prototype->Height());
        frame->Data()[0] = static_cast<unsigned char>(i);
        ring.push_back(frame);
    }
    return ring;
}

/// The root and a chain of `length` pass-through nodes below it.
class CChain
{
public:
    CChain(const ImagePtr& geometry, std::int64_t length)
    {
        // The tree reports each node; not on the standard output of a benchmark.
        std::ostringstream talk;
        std::streambuf* const output = std::cout.rdbuf(talk.rdbuf());
        root_.SetOperation("Identity", "", "");
        root_.SetSource(geometry);
        root_.Initialize();
        std::string source = dev::camera::CPreprocessorNode::Root;
        for (std::int64_t i = 0; i < length && leaf_ != nullptr; ++i) {
            const std::string name = "pass" + std::to_string(i);
            leaf_ = root_.Add("Pass " + name + " " + source);
            source = name;
        }
        std::cout.rdbuf(output);
        if (leaf_ == nullptr)
            Fail("a node was refused:\n" + talk.str());
    }

    void Execute(const ImagePtr& frame) { root_.Execute(frame); }
    ImagePtr Output() const { return leaf_->Image(""); }

private:
    dev::camera::CPreprocessorNode root_;
    dev::camera::CPreprocessorNode* leaf_ = &root_;
};

void Tree(benchmark::State& state)
{
    const CSecondThread second;
    const std::vector<ImagePtr> ring = Ring();
    CChain chain(ring[0], state.range(0));
    std::size_t at = 0;
    for (auto _ : state)
        chain.Execute(ring[at++ % ring.size()]);
    if (chain.Output() != ring[(at - 1) % ring.size()])
        state.SkipWithError("the last node did not hand the frame on");
}

/// Per frame of a chain of 50 in steady state: heap allocations, minor page faults, and copies of the pixels: frames
/// that came out of the chain in other memory than they went in, and buffers that the chain took from the pool.
void SteadyState(benchmark::State& state)
{
    const CSecondThread second;
    const std::vector<ImagePtr> ring = Ring();
    CChain chain(ring[0], 50);
    constexpr std::size_t frames = 20000;
    for (std::size_t i = 0; i < 1000; ++i)
        chain.Execute(ring[i % ring.size()]);

    double copies = 0;
    const std::size_t idle = cimage::PoolStatus().idle_buffers;
    unsigned long allocations = 0;
    rusage before{};
    rusage after{};
    for (auto _ : state) {
        allocations = allocation_count::All();
        getrusage(RUSAGE_SELF, &before);
        for (std::size_t i = 0; i < frames; ++i) {
            const ImagePtr& frame = ring[i % ring.size()];
            chain.Execute(frame);
            if (chain.Output()->Data() != frame->Data())
                ++copies;
        }
        getrusage(RUSAGE_SELF, &after);
        allocations = allocation_count::All() - allocations;
    }
    copies += std::abs(static_cast<double>(idle) - static_cast<double>(cimage::PoolStatus().idle_buffers));
    state.counters["allocations"] = static_cast<double>(allocations);
    state.counters["faults"] = static_cast<double>(after.ru_minflt - before.ru_minflt);
    state.counters["copies"] = copies;
    state.counters["frames"] = static_cast<double>(frames);
}

/// A pipeline of identity elements, fed by hand at its first pad.
class CPipeline
{
public:
    explicit CPipeline(std::int64_t length)
        : pipeline_(gst_pipeline_new(nullptr)), source_(gst_pad_new("src", GST_PAD_SRC))
    {
        std::vector<GstElement*> elements;
        for (std::int64_t i = 0; i < length; ++i)
            elements.push_back(Make("identity"));
        for (GstElement* const identity : elements)
            g_object_set(identity, "silent", TRUE, "signal-handoffs", FALSE, nullptr);
        elements.push_back(Make("fakesink"));
        g_object_set(elements.back(), "sync", FALSE, "async", FALSE, "silent", TRUE, "signal-handoffs", FALSE,
                     "enable-last-sample", FALSE, "qos", FALSE, nullptr);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            gst_bin_add(GST_BIN(pipeline_), elements[i]);
            if (i > 0 && !gst_element_link(elements[i - 1], elements[i]))
                Fail("GStreamer elements did not link");
        }

        GstPad* const sink = gst_element_get_static_pad(elements.front(), "sink");
        if (gst_pad_link(source_, sink) != GST_PAD_LINK_OK)
            Fail("GStreamer pads did not link");
        gst_object_unref(sink);
        gst_pad_set_active(source_, TRUE);
        if (gst_element_set_state(pipeline_, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
            Fail("the GStreamer pipeline did not start");
        Announce();
    }
    ~CPipeline()
    {
        gst_element_set_state(pipeline_, GST_STATE_NULL);
        gst_object_unref(source_);
        gst_object_unref(pipeline_);
    }
    CPipeline(const CPipeline&) = delete;
    CPipeline& operator=(const CPipeline&) = delete;

    /// Takes over the reference to the buffer.
    bool Push(GstBuffer* buffer) { return gst_pad_push(source_, buffer) == GST_FLOW_OK; }

private:
    static GstElement* Make(const char* factory)
    {
        GstElement* const element = gst_element_factory_make(factory, nullptr);
        if (element == nullptr)
            Fail(std::string("GStreamer has no ") + factory);
        return element;
    }

    /// What a stream says before its first buffer.
    void Announce()
    {
        gst_pad_push_event(source_, gst_event_new_stream_start("frames"));
        GstCaps* const caps = gst_caps_from_string("video/x-raw,format=GRAY8,width=1280,height=960,framerate=30/1");
        gst_pad_push_event(source_, gst_event_new_caps(caps));
        gst_caps_unref(caps);
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(source_, gst_event_new_segment(&segment));
    }

    GstElement* pipeline_;
    GstPad* source_;
};

void GStreamer(benchmark::State& state)
{
    const CSecondThread second;
    CPipeline pipeline(state.range(0));
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 1280 * 960, nullptr);
    for (auto _ : state)
        if (!pipeline.Push(gst_buffer_ref(buffer))) {
            state.SkipWithError("the pipeline refused a buffer");
            break;
        }
    gst_buffer_unref(buffer);
}

BENCHMARK(Tree)->Name("tree/orvo")->Arg(1)->Arg(10)->Arg(50)->Arg(100);
BENCHMARK(GStreamer)->Name("tree/gstreamer")->Arg(1)->Arg(10)->Arg(50)->Arg(100);
BENCHMARK(SteadyState)->Name("tree_steady/orvo")->Iterations(1);

}  // namespace

int main(int argc, char** argv)
{
    gst_init(&argc, &argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
