// What became of the frames in each node of a camera's tree, and how long the nodes took.
#ifndef HOST_RUN_TREE_COUNTS_H
#define HOST_RUN_TREE_COUNTS_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>

#include "dev/camera/preprocessor_node.h"
#include "run/histogram.h"

namespace host {

/// Of one node: frames = executed + decimated + failed.
struct TNodeCounts
{
    std::string name;
    int level = 0;  ///< below the root
    std::uint64_t frames = 0;
    std::uint64_t executed = 0;
    std::uint64_t decimated = 0;
    std::uint64_t failed = 0;
    CHistogram time;  ///< of the node's own plugin, executed frames alone
};

/// Counts for one tree. Made for a finished tree, whose nodes it lists depth first, it takes no memory per frame.
/// Thread rule: one thread at a time, the one that runs the tree.
class CTreeCounts : public dev::camera::CNodeObserver
{
public:
    explicit CTreeCounts(dev::camera::CPreprocessorNode& root);

    void On_Decimated(const dev::camera::CPreprocessorNode& node) override;
    void On_Begin(const dev::camera::CPreprocessorNode& node) override;
    void On_End(const dev::camera::CPreprocessorNode& node, bool failed) override;

    const TNodeCounts& Of(const dev::camera::CPreprocessorNode& node) const;
    const std::deque<TNodeCounts>& Nodes() const { return nodes_; }

    /// The node whose plugin threw since ClearFailed, or null.
    const TNodeCounts* Failed() const { return failed_; }
    void ClearFailed() { failed_ = nullptr; }

private:
    using Clock = std::chrono::steady_clock;

    void List(dev::camera::CPreprocessorNode& node, int level);
    TNodeCounts& Find(const dev::camera::CPreprocessorNode& node);

    std::deque<TNodeCounts> nodes_;
    std::unordered_map<const dev::camera::CPreprocessorNode*, TNodeCounts*> by_node_;
    const TNodeCounts* failed_ = nullptr;
    Clock::time_point begin_;
};

/// Nanoseconds from `begin` until now.
std::uint64_t NanosecondsSince(std::chrono::steady_clock::time_point begin);

}  // namespace host

#endif
