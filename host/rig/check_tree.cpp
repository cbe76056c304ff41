#include "rig/check_tree.h"

#include <fmt/format.h>
#include <algorithm>
#include <list>
#include <map>
#include <memory>

#include "base/number_text.h"
#include "dev/camera.h"
#include "dev/camera_map.h"
#include "rig/load.h"
#include "rig/nearest.h"
#include "system/console.h"
#include "system/modules.h"

namespace host {

namespace {

// Frames pass the tree by recursion: a chain of nodes is limited by the stack, and no rig needs this many.
constexpr unsigned int most_nodes = 1000;

const char* const node_separators = " \t;";

class CTreeCheck
{
public:
    CTreeCheck(const TRig& rig, const TDevice& camera, CModules* modules, bool try_lines, std::vector<TFault>& faults)
        : rig_(rig), device_(camera), modules_(modules), try_lines_(try_lines && modules != nullptr), faults_(faults)
    {
        nodes_[dev::camera::CPreprocessorNode::Root] = true;
    }
    ~CTreeCheck()
    {
        if (camera_)
            camera_->On_ShutDown();
    }

    void CheckNumbers();
    void CheckLines();
    void CheckChoice(const std::string& key);

private:
    void Add(const std::string& key, const std::string& found, const std::string& wanted,
             const std::string& suggestion = {});
    void CheckLine(const TNodeLine& line);
    bool CheckSourceNode(const TNodeLine& line, const std::string& source);
    bool CheckOperation(const TNodeLine& line, const std::string& operation);
    bool Try(const TNodeLine& line, const std::string& operation);
    void MakeCameras();
    std::vector<std::string> NodeNames() const;

    const TRig& rig_;
    const TDevice& device_;
    CModules* modules_;
    bool try_lines_;
    std::vector<TFault>& faults_;
    std::map<std::string, bool> nodes_;  ///< by name; true when the camera in memory has the node, too
    std::unique_ptr<dev::CCamera> camera_;
    std::list<dev::CCamera> others_;  ///< ideal ones under the names of the rig's other cameras
    dev::CCameraMap cameras_;
};

void CTreeCheck::Add(const std::string& key, const std::string& found, const std::string& wanted,
                     const std::string& suggestion)
{
    faults_.push_back({device_.settings.Line(key), device_.name, key, found, wanted, suggestion});
}

void CTreeCheck::CheckNumbers()
{
    for (const std::string& key : device_.settings.Keys())
        if (key.compare(0, 10, "PREPROCESS") == 0 && !NodeNumber(key))
            Add(key, "a key without a number", "\"PREPROCESS 1\" and so on, without leading zeros");
    unsigned int expected = 1;
    for (const TNodeLine& line : NodeLines(device_)) {
        const unsigned int number = *NodeNumber(line.key);
        if (number != expected)
            Add(line.key, "a gap in the numbers",
                fmt::format("\"PREPROCESS {}\" {}", expected, expected == 1 ? "first" : "before it"));
        expected = number + 1;
    }
}

void CTreeCheck::CheckLines()
{
    const auto lines = NodeLines(device_);
    if (lines.size() > most_nodes)
        return Add(lines[most_nodes].key, fmt::format("{} node lines", lines.size()),
                   fmt::format("at most {}", most_nodes));
    for (const TNodeLine& line : lines)
        CheckLine(line);
}

void CTreeCheck::CheckLine(const TNodeLine& line)
{
    const auto tokens = base::Tokens(line.text, node_separators);
    if (tokens.size() < 3)
        return Add(line.key, Quoted(line.text), "\"Operation Dst Src [Params]\"");
    const std::string& operation = tokens[0];
    const std::string& name = tokens[1];
    const std::string& source = tokens[2];

    const bool source_there = CheckSourceNode(line, source);
    const bool operation_there = CheckOperation(line, operation);
    if (nodes_.count(name) > 0)
        return Add(line.key, fmt::format("a second node {}", Quoted(name)), "a name of its own");

    // A source that could not be tried has been told of; its children would only fail for the same reason.
    const bool added = source_there && operation_there && try_lines_ && nodes_[source] && Try(line, operation);
    if (operation != "Identity")  // such a node calls itself "Source", whatever the line says
        nodes_[name] = added;
}

bool CTreeCheck::CheckSourceNode(const TNodeLine& line, const std::string& source)
{
    if (nodes_.count(source) > 0)
        return true;
    std::string wanted = "\"Source\" or the node of an earlier line";
    for (const TNodeLine& other : NodeLines(device_)) {
        const auto tokens = base::Tokens(other.text, node_separators);
        if (tokens.size() >= 3 && tokens[1] == source)
            wanted += fmt::format(", not of {}", other.key);
    }
    Add(line.key, fmt::format("the source node {}", Quoted(source)), wanted, Nearest(source, NodeNames()));
    return false;
}

bool CTreeCheck::CheckOperation(const TNodeLine& line, const std::string& operation)
{
    if (modules_ == nullptr)
        return true;
    try {
        modules_->NeedOperation(operation);
        return true;
    } catch (const no_such_module&) {
        const auto known = CModules::Operations();
        std::string wanted = fmt::format("one of {}", fmt::join(known, ", "));
        for (const std::string& fault : modules_->LoadAllPlugins())
            wanted += fmt::format(" ({})", fault);
        Add(line.key, fmt::format("the operation {}", Quoted(operation)), wanted, Nearest(operation, known));
    } catch (const std::exception& error) {
        Add(line.key, fmt::format("the operation {}", Quoted(operation)),
            fmt::format("one that loads ({})", error.what()));
    }
    return false;
}

bool CTreeCheck::Try(const TNodeLine& line, const std::string& operation)
{
    const CConsole::CCapture capture;
    try {
        if (!camera_)
            MakeCameras();
    } catch (const std::exception& error) {
        Add(line.key, Quoted(line.text), fmt::format("a camera that loads ({})", error.what()));
        return false;
    }
    std::string refusal;
    try {
        if (auto* const node = camera_->Preprocess_Add(line.text)) {
            // Now that the cameras have names, an operation that looks one up can be asked again.
            node->Connect(cameras_);
            if (node->Parent() != nullptr)
                node->SetSource(node->Parent()->Image(""));
            return true;
        }
        refusal = capture.LastError();
    } catch (const std::exception& error) {
        refusal = error.what();
    }
    Add(line.key, Quoted(line.text), fmt::format("a line that {} accepts ({})", operation, refusal));
    return false;
}

void CTreeCheck::MakeCameras()
{
    auto camera = std::make_unique<dev::CCamera>();
    LoadDevice(*camera, device_, rig_);
    cameras_.Insert(device_.name, *camera);
    for (const TDevice& other : rig_.devices) {
        if (other.type != DeviceType::Camera || other.name == device_.name)
            continue;
        others_.emplace_back();
        others_.back().Rename(other.name);
        others_.back().SetFocalLength(1.0, 1.0);
        cameras_.Insert(other.name, others_.back());
    }
    camera_ = std::move(camera);
}

void CTreeCheck::CheckChoice(const std::string& key)
{
    std::string name;
    if (!device_.settings.efind(key, name) || nodes_.count(name) > 0)
        return;
    Add(key, fmt::format("the node {}", Quoted(name)), "\"Source\" or a node of the PREPROCESS lines",
        Nearest(name, NodeNames()));
}

std::vector<std::string> CTreeCheck::NodeNames() const
{
    std::vector<std::string> names;
    for (const auto& node : nodes_)
        names.push_back(node.first);
    return names;
}

}  // namespace

void CheckTree(const TRig& rig, const TDevice& camera, CModules* modules, bool try_lines, std::vector<TFault>& faults)
{
    CTreeCheck check(rig, camera, modules, try_lines, faults);
    check.CheckNumbers();
    check.CheckLines();
    check.CheckChoice("OUTPUT");
    check.CheckChoice("RECORD");
}

}  // namespace host
