#include "run/profile.h"

#include <chrono>
#include <cmath>

#include "run/trace_file.h"

namespace host {

using dev::camera::CPreprocessorNode;
using kt::chrono::CChronometer;

namespace {

std::int64_t Nanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace

CCameraProfile::CCameraProfile(const std::string& camera, unsigned int track, const CPreprocessorNode& root,
                               dev::camera::CNodeObserver& next)
    : track_(track), next_(next)
{
    Add(camera);
    AddNodes(camera, root);
}

void CCameraProfile::Add(const std::string& name)
{
    chronometers_.emplace_back(CChronometer::RealTime, name, [this] { return now_ns_ = Nanoseconds(); });
}

void CCameraProfile::AddNodes(const std::string& camera, const CPreprocessorNode& node)
{
    Add(camera + '/' + node.Name());
    by_node_[&node] = &chronometers_.back();
    for (const CPreprocessorNode& child : node.SubNodes())
        AddNodes(camera, child);
}

void CCameraProfile::On_Decimated(const CPreprocessorNode& node)
{
    next_.On_Decimated(node);
}

void CCameraProfile::On_Begin(const CPreprocessorNode& node)
{
    const auto found = by_node_.find(&node);
    if (found != by_node_.end())
        found->second->Start();
    next_.On_Begin(node);
}

void CCameraProfile::On_End(const CPreprocessorNode& node, bool failed)
{
    // The next one first: it measures too, and a measurement here may write a trace.
    next_.On_End(node, failed);
    const auto found = by_node_.find(&node);
    if (found != by_node_.end() && !failed)
        found->second->Stop();
}

CProfile::CProfile(CTraceFile* trace) : trace_(trace), begin_ns_(Nanoseconds()) {}

CCameraProfile& CProfile::AddCamera(const std::string& name, const CPreprocessorNode& root,
                                    dev::camera::CNodeObserver& next)
{
    const unsigned int track = trace_ != nullptr ? trace_->AddTrack(name) : 0;
    CCameraProfile& camera = cameras_.emplace_back(name, track, root, next);
    for (const CChronometer& chronometer : camera.Chronometers())
        Connect(chronometer);
    return camera;
}

/// Called by Connect for a chronometer of the camera that was added last.
unsigned int CProfile::Register_Entry(const std::string& name)
{
    entries_.push_back({&cameras_.back(), CTraceFile::Quoted(name)});
    return static_cast<unsigned int>(entries_.size() - 1);
}

void CProfile::On_Accumulator_Update(unsigned int id, const kt::chrono::Accumulator& acc)
{
    if (trace_ == nullptr)
        return;
    const TEntry& entry = entries_[id];
    const std::int64_t length_ns = std::llround(acc.Last() * 1000.0);
    trace_->Add(entry.camera->Track(), entry.quoted_name, entry.camera->LastReading() - begin_ns_ - length_ns,
                length_ns);
}

}  // namespace host
