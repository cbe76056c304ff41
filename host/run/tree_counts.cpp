#include "run/tree_counts.h"

namespace host {

using dev::camera::CPreprocessorNode;

std::uint64_t NanosecondsSince(std::chrono::steady_clock::time_point begin)
{
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
}

CTreeCounts::CTreeCounts(CPreprocessorNode& root)
{
    List(root, 0);
}

void CTreeCounts::List(CPreprocessorNode& node, int level)
{
    nodes_.emplace_back();
    nodes_.back().name = node.Name();
    nodes_.back().level = level;
    by_node_[&node] = &nodes_.back();
    for (CPreprocessorNode& child : node.SubNodes())
        List(child, level + 1);
}

TNodeCounts& CTreeCounts::Find(const CPreprocessorNode& node)
{
    const auto found = by_node_.find(&node);
    if (found != by_node_.end())
        return *found->second;
    // A plugin may add nodes while it runs.
    nodes_.emplace_back();
    nodes_.back().name = node.Name();
    return *(by_node_[&node] = &nodes_.back());
}

const TNodeCounts& CTreeCounts::Of(const CPreprocessorNode& node) const
{
    return *by_node_.at(&node);
}

void CTreeCounts::On_Decimated(const CPreprocessorNode& node)
{
    TNodeCounts& counts = Find(node);
    ++counts.frames;
    ++counts.decimated;
}

void CTreeCounts::On_Begin(const CPreprocessorNode& node)
{
    ++Find(node).frames;
    begin_ = Clock::now();
}

void CTreeCounts::On_End(const CPreprocessorNode& node, bool failed)
{
    const std::uint64_t ns = NanosecondsSince(begin_);
    TNodeCounts& counts = Find(node);
    if (failed) {
        ++counts.failed;
        failed_ = &counts;
        return;
    }
    ++counts.executed;
    counts.time.Record(ns);
}

}  // namespace host
