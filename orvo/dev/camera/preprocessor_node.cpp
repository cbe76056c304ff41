#include "dev/camera/preprocessor_node.h"

#include <algorithm>
#include <boost/current_function.hpp>
#include <cmath>
#include <iostream>
#include <stdexcept>

#include "base/log.h"
#include "base/number_text.h"
#include "base/require.h"
#include "dev/camera.h"
#include "dev/camera/plugin_factory.h"

namespace dev {
namespace camera {
namespace {

/// What a line "Operation Dst Src [Params]" says.
struct TNodeLine
{
    std::string operation;
    std::string name;
    std::string source;
    std::string options;
};

TNodeLine ParseLine(const std::string& line)
{
    const boost::tokenizer<boost::char_separator<char>> tokens(line, Plugin::sep);
    const std::vector<std::string> words(tokens.begin(), tokens.end());
    if (words.size() < 3)
        throw std::runtime_error("Plugin syntax: Operation Dst Src [Params]");
    TNodeLine parsed{words[0], words[1], words[2], std::string()};
    for (std::size_t i = 3; i < words.size(); ++i)
        parsed.options += (i == 3 ? "" : ";") + words[i];
    return parsed;
}

float ParseFpsFactor(const std::string& text)
{
    float factor = -1.0F;
    try {
        factor = base::ParseNumber<float>(text);
    } catch (const boost::bad_lexical_cast&) {
        // told below, with everything else that is no factor
    }
    if (!std::isfinite(factor) || factor < 0.0F)
        throw std::runtime_error("fps_factor: found \"" + text + "\", wanted a finite number from 0 up");
    return factor;
}

void ListOperations(std::ostream& stream)
{
    stream << ". Available Plugins are:\n";
    const char* separator = "";
    for (const std::string& operation : PluginSingleton::Instance().RegisteredIds()) {
        stream << separator << operation << '\n';
        separator = ",";
    }
    stream << std::endl;
}

}  // namespace

CNodeObserver::~CNodeObserver() = default;

const std::string CPreprocessorNode::Root("Source");

CPreprocessorNode::CPreprocessorNode() : CPreprocessorNode(nullptr) {}

CPreprocessorNode::CPreprocessorNode(CPreprocessorNode* parent) : page_(std::string()), parent_(parent) {}

// The page leaves the tree's page with its node: that page, and whoever shows it, may outlive this one.
CPreprocessorNode::~CPreprocessorNode()
{
    page_.Detach();
}

void CPreprocessorNode::SetOperation(const std::string& operation, const std::string& name, const std::string& options)
{
    try {
        // The node changes once all is well: one that runs keeps its plugin when the new one fails.
        boost::shared_ptr<Plugin> made;
        float factor = fps_factor_;
        if (operation == "Identity") {
            // Takes the root's name and no options, wherever in the tree it stands, on purpose.
            made.reset(new plugin::Root);
        } else {
            const auto* create = PluginSingleton::Instance().Find(operation);
            if (!create)
                throw std::runtime_error("plugin allocator not found");
            made.reset((*create)());
            if (!made)
                throw std::runtime_error("plugin allocator of " + operation + " made no plugin");
            made->SetOperation(operation, options);
        }
        const auto option = made->Options().find("fps_factor");
        if (option != made->Options().end())
            factor = ParseFpsFactor(option->second);
        made->Rename(operation == "Identity" ? Root : name);
        name_ = made->Name();
        fps_factor_ = factor;
        plugin_.swap(made);
        page_.Label(name_);
    } catch (const std::exception&) {
        // Said of every failure here, a bad option's too, on purpose.
        base::Log(base::Severity::Error, BOOST_CURRENT_FUNCTION, "Plugin not found: " + operation);
        ListOperations(std::cout);
        throw;
    }
}

CPreprocessorNode* CPreprocessorNode::Add(const std::string& line)
{
    CPreprocessorNode* source = nullptr;
    bool appended = false;
    std::string failure;
    try {
        if (!IsRoot())
            throw std::runtime_error("Preprocess subnodes can be added from root node only");
        const TNodeLine parsed = ParseLine(line);
        base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION, "Adding plugin: " + line);
        if (HasNode(parsed.name))
            throw std::runtime_error("Cannot add this node: another node named " + parsed.name + " already exists.");
        source = find(parsed.source);
        if (!source)
            throw std::runtime_error("Source node must exists");  // sic, on purpose: programs look for these words

        source->sub_nodes_.nodes_.emplace_back(source);
        appended = true;
        CPreprocessorNode& node = source->sub_nodes_.nodes_.back();
        node.SetOperation(parsed.operation, parsed.name, parsed.options);
        const ImagePtr image = source->plugin_ ? source->Image(std::string()) : ImagePtr();
        if (!image)
            throw std::runtime_error("Source node " + parsed.source + " has no default output yet");
        node.SetSource(image);
        if (camera_)
            node.Control(*camera_);
        node.Initialize();
        node.config_ = line;
        node.observer_ = observer_;
        AddPage(node);
        return &node;
    } catch (const std::exception& error) {
        failure = error.what();
    } catch (...) {
        failure = "Unknown exception catched adding Node";  // sic, on purpose
    }
    base::Log(base::Severity::Error, BOOST_CURRENT_FUNCTION, failure);
    // Not a removal: the children that SubNodes() reports stay as they were.
    if (appended)
        source->sub_nodes_.nodes_.pop_back();
    return nullptr;
}

/// Puts what the plugin shows on a page of its own, below this root's page.
void CPreprocessorNode::AddPage(CPreprocessorNode& node)
{
    ui::wgt::Widget sizer = ui::wgt::Expanding("hsizer");
    sizer.Add(node.plugin_->Page());
    node.page_.Add(sizer);
    page_.Add(node.page_);
}

void CPreprocessorNode::Remove(const std::string& name)
{
    if (name == Root) {
        base::Log(base::Severity::Error, BOOST_CURRENT_FUNCTION, "Cannot remove the root node");
        return;
    }
    const Found found = _find(name);
    if (!found.node)
        throw name_not_found();
    if (camera_ && !camera_->MayGo(*found.node))
        return;
    if (!found.node->sub_nodes_.empty())
        return;
    base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION, "Removing preprocessor node " + name);
    CSubNodes& siblings = found.node->parent_->sub_nodes_;
    siblings.nodes_.erase(found.position);
    ++siblings.removed_;
}

CPreprocessorNode::Found CPreprocessorNode::_find(const std::string& name)
{
    if (name == Root)
        return {this, CSubNodes::iterator()};
    for (auto child = sub_nodes_.begin(); child != sub_nodes_.end(); ++child) {
        if (child->name_ == name)
            return {&*child, child};
        Found below = child->_find(name);
        if (below.node)
            return below;
    }
    return {nullptr, CSubNodes::iterator()};
}

CPreprocessorNode* CPreprocessorNode::find(const std::string& name)
{
    return _find(name).node;
}

void CPreprocessorNode::Execute(const ImagePtr& image)
{
    ORVO_REQUIRE(plugin_);
    accumulator_ += fps_factor_;
    if (accumulator_ < 1.0F) {
        if (observer_)
            observer_->On_Decimated(*this);
        return;
    }
    // A factor of 1 or more runs every frame whatever rest it carries; the rest is held at 1, where a float still
    // resolves the factor, instead of growing without end.
    accumulator_ = std::min(accumulator_ - 1.0F, 1.0F);

    if (observer_)
        ExecuteObserved(image);
    else
        plugin_->Execute(image);

    // The empty name of the default output sorts first: neither a look-up nor a counted reference per node.
    const auto& outputs = plugin_->Images();
    const auto first = outputs.begin();
    if (first == outputs.end() || !first->first.empty() || !first->second)
        return;
    for (CPreprocessorNode& child : sub_nodes_)
        child.Execute(first->second);
}

void CPreprocessorNode::ExecuteObserved(const ImagePtr& image)
{
    observer_->On_Begin(*this);
    try {
        plugin_->Execute(image);
    } catch (...) {
        observer_->On_End(*this, true);
        throw;
    }
    observer_->On_End(*this, false);
}

void CPreprocessorNode::SetSource(const ImagePtr& image)
{
    ORVO_REQUIRE(plugin_);
    plugin_->SetSource(image);
}

void CPreprocessorNode::SetPAR(double par)
{
    par_ = par;
    for (CPreprocessorNode& child : sub_nodes_)
        child.SetPAR(par);
}

void CPreprocessorNode::Connect(CCameraMap& cameras)
{
    ORVO_REQUIRE(plugin_);
    camera_map_ = &cameras;
    plugin_->Connect(cameras);
}

void CPreprocessorNode::Control(CCamera& camera)
{
    ORVO_REQUIRE(plugin_);
    camera_ = &camera;
    plugin_->Control(camera);
}

void CPreprocessorNode::Initialize()
{
    ORVO_REQUIRE(plugin_);
    plugin_->Initialize();
}

void CPreprocessorNode::Observe(CNodeObserver* observer)
{
    observer_ = observer;
    for (CPreprocessorNode& child : sub_nodes_)
        child.Observe(observer);
}

void CPreprocessorNode::Rename(const std::string& name)
{
    name_ = name;
    if (plugin_)
        plugin_->Rename(name);
}

const std::map<std::string, CPreprocessorNode::ImagePtr>& CPreprocessorNode::Images() const
{
    ORVO_REQUIRE(plugin_);
    return plugin_->Images();
}

CPreprocessorNode::ImagePtr CPreprocessorNode::Image(const std::string& name) const
{
    ORVO_REQUIRE(plugin_);
    return plugin_->Image(name);
}

ui::win::CWindow& CPreprocessorNode::Window(const std::string& name)
{
    ORVO_REQUIRE(plugin_);
    return plugin_->Window(name);
}

ui::win::CWindow& CPreprocessorNode::Wnd(const std::string& name)
{
    ORVO_REQUIRE(plugin_);
    return plugin_->Wnd(name);
}

}  // namespace camera
}  // namespace dev
