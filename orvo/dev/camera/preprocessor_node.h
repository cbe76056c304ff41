// The preprocessing tree of a camera: named nodes, each with one plugin, through which every frame passes.
#ifndef DEV_CAMERA_PREPROCESSOR_NODE_H
#define DEV_CAMERA_PREPROCESSOR_NODE_H

#include <boost/container/list.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <exception>
#include <map>
#include <string>

#include "base/export.h"
#include "dev/camera/plugin.h"
#include "ui/widgets.h"

namespace dev {
namespace camera {

class CPreprocessorNode;

/// Hears what each node of a tree does with each frame, for instance to time it. Called on the tree's thread.
class ORVO_DEV_API CNodeObserver
{
public:
    virtual ~CNodeObserver();
    /// The node was offered a frame and, by its fps factor, leaves it out with its whole subtree.
    virtual void On_Decimated(const CPreprocessorNode& node) = 0;
    /// The node's plugin begins.
    virtual void On_Begin(const CPreprocessorNode& node) = 0;
    /// The plugin is done, before any child begins; `failed` when it threw.
    virtual void On_End(const CPreprocessorNode& node, bool failed) = 0;
};

/// The children of a node, in the order in which they were added. Iteration visits the children that are there, and
/// empty() speaks of them; size() reports one child more for each that was ever removed, on purpose: a caller that
/// counts children counts the removed ones too.
class CSubNodes
{
public:
    // boost's list, because it may hold the type that contains it.
    using List = boost::container::list<CPreprocessorNode>;
    using iterator = List::iterator;
    using const_iterator = List::const_iterator;

    iterator begin() { return nodes_.begin(); }
    iterator end() { return nodes_.end(); }
    const_iterator begin() const { return nodes_.begin(); }
    const_iterator end() const { return nodes_.end(); }
    bool empty() const { return nodes_.empty(); }
    std::size_t size() const { return nodes_.size() + removed_; }

private:
    friend class CPreprocessorNode;

    List nodes_;
    std::size_t removed_ = 0;
};

/// One node. Children are held by value; the root is named "Source" and hands the camera's frame on unchanged.
/// Operations that forward to the plugin stop the process on a node without one.
/// Thread rule: none; the tree is changed and run on the thread that drives the camera, never both at once.
class ORVO_DEV_API CPreprocessorNode : private boost::noncopyable
{
public:
    using ImagePtr = Plugin::ImagePtr;

    /// The reserved name of the root, "Source".
    static const std::string Root;

    /// A named node does not exist. Carries no message.
    class ORVO_DEV_API name_not_found : public std::exception
    {
    };

    /// An empty node: no name, no plugin, PAR and fps factor 1.
    CPreprocessorNode();
    explicit CPreprocessorNode(CPreprocessorNode* parent);
    ~CPreprocessorNode();

    /// Gives the node its plugin, which then wants SetSource, Control and Initialize; a failure leaves the node as it
    /// was. "Identity" makes a root plugin and the name "Source", whatever `name` says, on purpose. On an error it
    /// logs, lists the registered operations and throws on: std::runtime_error for an operation that nobody registered,
    /// or an "fps_factor" that is no number, is negative or is not finite.
    void SetOperation(const std::string& operation, const std::string& name, const std::string& options);

    /// Adds the node that a line "Operation Dst Src [Params]" describes, anywhere below this root, and lays its page
    /// into this root's page. Returns null when that fails, for instance because the default output of Src is not there
    /// yet; what failed is logged and undone, no exception gets out. The new node has this root's camera and observer;
    /// a camera map is for the caller to Connect.
    CPreprocessorNode* Add(const std::string& line);

    /// Removes a leaf. "Source" is only logged, a node with children silently stays, on purpose:
    /// a subtree goes leaf by leaf. On a camera's tree use CCamera::Preprocess_Del, which takes the mutex; the camera's
    /// output node stays here too. Throws name_not_found.
    void Remove(const std::string& name);

    /// The node of that name in this subtree, depth first, or null. "Source" is always this node.
    CPreprocessorNode* find(const std::string& name);

    /// The same, and where the node stands.
    struct Found
    {
        CPreprocessorNode* node;       ///< null when there is none of that name
        CSubNodes::iterator position;  ///< in its parent's list; meaningless for the node searched from
    };
    Found _find(const std::string& name);

    bool HasNode(const std::string& name) { return find(name) != nullptr; }

    /// Runs the subtree on one frame: each node adds its fps factor to a sum and runs when that reaches 1, then hands
    /// its default output, if it has one, to its children in order. A node that leaves the frame out leaves it out for
    /// its whole subtree. An exception of a plugin ends the frame. Allocates nothing but the plugins' output images.
    void Execute(const ImagePtr& image);

    /// The geometry of the images to come, for this node's plugin alone: children are not told.
    void SetSource(const ImagePtr& image);
    /// Pixel aspect ratio, for the whole subtree.
    void SetPAR(double par);
    double PAR() const { return par_; }

    void Connect(CCameraMap& cameras);
    void Control(CCamera& camera);
    void Initialize();

    /// Lets `observer` (or nobody, null) hear of this subtree and of nodes added to it later. It must outlive the tree
    /// or be taken away.
    void Observe(CNodeObserver* observer);

    bool IsRoot() const { return name_ == Root; }
    const std::string& Name() const { return name_; }
    /// Renames the node and its plugin. Whether the name is free is not looked at.
    void Rename(const std::string& name);
    CPreprocessorNode* Parent() const { return parent_; }
    const CSubNodes& SubNodes() const { return sub_nodes_; }
    CSubNodes& SubNodes() { return sub_nodes_; }
    /// The line that the node was added from, empty for the root.
    const std::string& ConfigString() const { return config_; }
    float FpsFactor() const { return fps_factor_; }
    const ui::wgt::Widget& Page() const { return page_; }
    const boost::shared_ptr<Plugin>& GetPlugin() const { return plugin_; }

    const std::map<std::string, ImagePtr>& Images() const;
    ImagePtr Image(const std::string& name) const;
    ui::win::CWindow& Window(const std::string& name);
    ui::win::CWindow& Wnd(const std::string& name);

private:
    void AddPage(CPreprocessorNode& node);
    void ExecuteObserved(const ImagePtr& image);

    ui::wgt::Page page_;
    std::string name_;
    double par_ = 1.0;
    float fps_factor_ = 1.0F;
    float accumulator_ = 0.0F;
    CCameraMap* camera_map_ = nullptr;
    CCamera* camera_ = nullptr;
    CSubNodes sub_nodes_;
    boost::shared_ptr<Plugin> plugin_;
    std::string config_;
    CPreprocessorNode* parent_ = nullptr;
    CNodeObserver* observer_ = nullptr;
};

}  // namespace camera
}  // namespace dev

#endif
