// Where the time of a run goes, camera by camera and node by node.
#ifndef HOST_RUN_PROFILE_H
#define HOST_RUN_PROFILE_H

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>

#include "dev/camera/preprocessor_node.h"
#include "dev/profiler.h"
#include "orvo_time/chronometer.h"

namespace host {

class CTraceFile;

/// The chronometers of one camera: "camera" for its whole tree, "camera/node" for each node's own plugin, of executed
/// frames alone. Stands before another observer of the tree. Nodes that come into being during the run are passed on
/// but not measured.
/// Thread rule: made before the run; then the thread that runs the tree.
class CCameraProfile : public dev::camera::CNodeObserver
{
public:
    /// `next` hears what this one hears; the time that it takes counts as the node's.
    CCameraProfile(const std::string& camera, unsigned int track, const dev::camera::CPreprocessorNode& root,
                   dev::camera::CNodeObserver& next);
    CCameraProfile(const CCameraProfile&) = delete;
    CCameraProfile& operator=(const CCameraProfile&) = delete;

    /// The tree begins with a frame.
    void Start() { chronometers_.front().Start(); }
    /// It has executed the frame. Not called when it has not.
    void Stop() { chronometers_.front().Stop(); }

    void On_Decimated(const dev::camera::CPreprocessorNode& node) override;
    void On_Begin(const dev::camera::CPreprocessorNode& node) override;
    void On_End(const dev::camera::CPreprocessorNode& node, bool failed) override;

    /// The whole tree's first, then the nodes' depth first.
    const std::deque<kt::chrono::CChronometer>& Chronometers() const { return chronometers_; }
    /// Its row in the trace.
    unsigned int Track() const { return track_; }
    /// What the clock showed when a chronometer last read it: the end of the measurement that came last.
    std::int64_t LastReading() const { return now_ns_; }

private:
    void Add(const std::string& name);
    void AddNodes(const std::string& camera, const dev::camera::CPreprocessorNode& node);

    const unsigned int track_;
    dev::camera::CNodeObserver& next_;
    std::int64_t now_ns_ = 0;
    std::deque<kt::chrono::CChronometer> chronometers_;
    std::unordered_map<const dev::camera::CPreprocessorNode*, kt::chrono::CChronometer*> by_node_;
};

/// Gathers the chronometers of the cameras for PrintReport(), and writes each measurement into a trace if there is one.
/// Thread rule: one thread adds the cameras, before the run, and prints the report, after it. In between measurements
/// arrive on the cameras' threads.
class CProfile : public dev::CProfiler
{
public:
    /// Times in the trace count from now. It may be null, and must outlive the run.
    explicit CProfile(CTraceFile* trace);

    /// Makes the chronometers of a finished tree. They are not in the tree yet: that is for CPreprocessorNode::Observe.
    CCameraProfile& AddCamera(const std::string& name, const dev::camera::CPreprocessorNode& root,
                              dev::camera::CNodeObserver& next);

    unsigned int Register_Entry(const std::string& name) override;
    void On_Accumulator_Update(unsigned int id, const kt::chrono::Accumulator& acc) override;

private:
    struct TEntry
    {
        const CCameraProfile* camera;
        std::string quoted_name;
    };

    CTraceFile* const trace_;
    const std::int64_t begin_ns_;
    std::deque<CCameraProfile> cameras_;
    std::deque<TEntry> entries_;
};

}  // namespace host

#endif
