#include "dev/camera.h"

#include <algorithm>
#include <boost/current_function.hpp>
#include <boost/thread/lock_types.hpp>
#include <sstream>
#include <stdexcept>

#include "base/log.h"
#include "base/number_text.h"
#include "base/require.h"
#include "dev/camera/plugin_factory.h"
#include "dev/camera/video_property.h"

namespace dev {

using camera::CPreprocessorNode;

namespace {

using Lock = boost::unique_lock<boost::mutex>;

std::string Text(const CameraParams& p)
{
    return "K: (" + to_string(p.K[0], p.K[1]) + "), O: (" + to_string(p.O[0], p.O[1]) + "), S: (" +
           std::to_string(p.S[0]) + ", " + std::to_string(p.S[1]) + "), T: (" +
           base::StreamText({p.T[0], p.T[1], p.T[2]}) + "), Y: " + base::StreamText(p.Y) +
           ", P: " + base::StreamText(p.P) + ", R: " + base::StreamText(p.R);
}

}  // namespace

CCamera::CCamera()
    : panel_("Camera"), tree_(new CPreprocessorNode), root_(tree_.get()), out_node_(root_), rec_out_node_(root_)
{
    root_->SetOperation("Identity", CPreprocessorNode::Root, std::string());
    root_->Control(*this);
    CollectSources();
}

CCamera::~CCamera() = default;

void CCamera::On_Initialization()
{
    CSensor::On_Initialization();
    ui::wgt::Widget sizer = ui::wgt::Expanding("vsizer");
    sizer.Add(ui::wgt::Expanding("propertygrid"));
    panel_.Clear();
    panel_.Add(sizer);
}

void CCamera::On_ShutDown()
{
    frame_received_.disconnect_all_slots();
    // The tree leaves under the mutex and goes behind it. root_ and its like keep their values, on purpose; every use
    // of the tree asks tree_ first.
    std::unique_ptr<CPreprocessorNode> doomed;
    {
        const Lock lock(mutex_);
        doomed.swap(tree_);
    }
    doomed.reset();
    CSensor::On_ShutDown();
}

void CCamera::SetFocalLength(double fx, double fy)
{
    focal_length_ = Pair(fx, fy);
}

void CCamera::SetOpticalCenter(double x, double y)
{
    optical_center_ = Pair(x, y);
    // The offsets count as unsigned, as everywhere in a region's text.
    full_optical_center_ =
        Pair(x + static_cast<std::uint32_t>(roi_.Left()), y + static_cast<std::uint32_t>(roi_.Top()));
}

void CCamera::ChangeRoI(const camera::CRoI& roi)
{
    if (!prototype_)
        throw std::logic_error("CCamera::ChangeRoI: found no image format, wanted LoadParams first");
    if (roi.SensorWidth() != roi_.SensorWidth() || roi.SensorHeight() != roi_.SensorHeight())
        throw std::invalid_argument("CCamera::ChangeRoI: found a region of a sensor of " + roi.StrSensor() +
                                    ", wanted one of " + roi_.StrSensor());
    camera::CRoI next = roi;
    next.SetIncrements(roi_.PositionIncrementH(), roi_.PositionIncrementV(), roi_.SizeIncrementH(),
                       roi_.SizeIncrementV());
    // As double, because the offsets may be any 32-bit numbers.
    const Pair moved(static_cast<double>(next.Left()) - roi_.Left(), static_cast<double>(next.Top()) - roi_.Top());
    roi_ = next;
    SetOpticalCenter(optical_center_.first - moved.first, optical_center_.second - moved.second);
    RemakeImages();
    On_RoIChanged(roi_);
}

void CCamera::SetRoIIncrements(unsigned int position_h, unsigned int position_v, unsigned int size_h,
                               unsigned int size_v)
{
    // On a copy: a region keeps what its check refuses.
    camera::CRoI next = roi_;
    next.SetIncrements(position_h, position_v, size_h, size_v);
    roi_ = next;
}

void CCamera::RemakeImages()
{
    working_image_ = prototype_->New(roi_.Width(), roi_.Height());
    for (TFrame<>& frame : frames_)
        frame = FrameGenerator(working_image_);
}

CameraParams CCamera::Params() const
{
    CameraParams params;
    params.K = {{focal_length_.first, focal_length_.second}};
    params.O = {{optical_center_.first, optical_center_.second}};
    if (prototype_)
        params.S = {{roi_.Width(), roi_.Height()}};
    params.T = {{Position().x, Position().y, Position().z}};
    params.Y = Orientation().yaw;
    params.P = Orientation().pitch;
    params.R = Orientation().roll;
    return params;
}

void CCamera::Notify_Frame_Received_Async(const TFrame<>& frame)
{
    frame_received_(frame);
}

void CCamera::Do_On_Frame_AsyncReceived(const boost::function<void(const TFrame<>&)>& callback)
{
    frame_received_.connect(callback);
}

void CCamera::On_RoIChanged(const camera::CRoI& roi)
{
    std::ostringstream region;
    region << roi;
    base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION,
              // The leading blank is part of the line, on purpose.
              " Changing RoI\n\t" + region.str() + "\n\tParams: " + Text(Params()));

    if (!prototype_)
        throw std::logic_error("CCamera::On_RoIChanged: found no image format, wanted LoadParams first");
    source_image_ = prototype_->New(roi_.Width(), roi_.Height());

    const Lock lock(mutex_);
    if (!tree_)
        return;
    root_->SetSource(source_image_);
    if (!root_initialized_) {
        root_->Initialize();
        root_initialized_ = true;
    }
}

void CCamera::Preprocess(const TFrame<>& frame)
{
    const Lock lock(mutex_);
    ORVO_REQUIRE(tree_);
    // A reference of its own: the caller's frame may change hands while the tree runs.
    const ImagePtr image = frame.image;
    root_->Execute(image);
}

CPreprocessorNode* CCamera::Preprocess_Add(const std::string& line)
{
    const Lock lock(mutex_);
    ORVO_REQUIRE(tree_);
    CPreprocessorNode* node = root_->Add(line);
    CollectSources();
    return node;
}

void CCamera::Preprocess_Del(const std::string& name)
{
    const Lock lock(mutex_);
    // Remove() asks as well, but of the root it looks at the name alone.
    if (!MayGo(Find(name)))
        return;
    root_->Remove(name);
    CollectSources();
}

bool CCamera::MayGo(const CPreprocessorNode& node)
{
    if (&node == out_node_) {
        base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION,
                  "This is the current output node and cannot be deleted");
        return false;
    }
    if (&node == rec_out_node_ && &node != root_ && node.SubNodes().empty()) {
        rec_out_node_ = root_;
        base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION,
                  "The recording output node " + node.Name() + " goes: recording takes " + root_->Name() + " now");
    }
    return true;
}

CPreprocessorNode* CCamera::Preprocess_Find(const std::string& name)
{
    const Lock lock(mutex_);
    ORVO_REQUIRE(tree_);
    return root_->find(name);
}

CPreprocessorNode* CCamera::Preprocess_OutNode()
{
    const Lock lock(mutex_);
    ORVO_REQUIRE(tree_);
    return out_node_;
}

void CCamera::SetAsOut(const std::string& name)
{
    const Lock lock(mutex_);
    CPreprocessorNode& node = Find(name);
    const ImagePtr image = node.Image(std::string());
    out_frame_ = image ? FrameGenerator(image) : TFrame<>();
    out_node_ = &node;
}

void CCamera::SetAsRecOut(const std::string& name)
{
    const Lock lock(mutex_);
    rec_out_node_ = &Find(name);
}

TFrame<> CCamera::RecOutFrame() const
{
    ORVO_REQUIRE(tree_);
    TFrame<> frame;
    frame.image = rec_out_node_->Image(std::string());
    return frame;
}

void CCamera::CollectSources()
{
    ORVO_REQUIRE(tree_);
    sources_.clear();
    CollectSources(*root_->find(CPreprocessorNode::Root), sources_);
}

void CCamera::CollectSources(const CPreprocessorNode& node, std::list<std::string>& sources)
{
    sources.push_back(node.Name());
    for (const CPreprocessorNode& child : node.SubNodes())
        CollectSources(child, sources);
}

std::vector<std::string> CCamera::Plugins() const
{
    return camera::PluginSingleton::Instance().RegisteredIds();
}

boost::optional<CCamera::VideoPropertyPtr> CCamera::VideoProperty(const std::string& name) const
{
    const auto found =
        std::find_if(video_properties_.begin(), video_properties_.end(), camera::videoprop::HasName(name));
    if (found != video_properties_.end())
        return *found;
    base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION, "Video property " + name + " not found");
    return boost::none;
}

CPreprocessorNode& CCamera::Find(const std::string& name)
{
    ORVO_REQUIRE(tree_);
    CPreprocessorNode* node = root_->find(name);
    if (!node)
        throw CPreprocessorNode::name_not_found();
    return *node;
}

}  // namespace dev
