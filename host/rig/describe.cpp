#include "rig/describe.h"

#include "base/number_text.h"
#include "dev/camera.h"
#include "rig/load.h"

namespace host {

namespace {

void DescribeIdentity(const dev::CDevice& device, TDescription& description)
{
    description.vendor = device.Vendor();
    description.model = device.Model();
    description.serial = device.Serial();
    description.description = device.Description();
}

TPose Pose(const dev::TPosition<double>& position, const dev::TOrientation<double>& orientation)
{
    return {{position.x, position.y, position.z}, {orientation.yaw, orientation.pitch, orientation.roll}};
}

void DescribePose(const TRig& rig, const dev::CSensor& sensor, TDescription& description)
{
    description.pose = Pose(sensor.Position(), sensor.Orientation());
    if (sensor.RelativeTo().empty())
        return;
    TRelativePose relative{sensor.RelativeTo(), Pose(sensor.RelativePosition(), sensor.RelativeOrientation()), {}};
    // The checks found no ring, so this ends.
    for (std::string name = relative.to; !name.empty();) {
        relative.chain.push_back(name);
        const TDevice* const next = rig.Find(name);
        name = next == nullptr ? std::string() : ValueOr(next->settings, "RELATIVE TO", {});
    }
    description.relative = relative;
}

TNode* FindNode(TNode& node, const std::string& name)
{
    if (node.name == name)
        return &node;
    for (TNode& child : node.children)
        if (TNode* const found = FindNode(child, name))
            return found;
    return nullptr;
}

TNode Tree(const TDevice& camera)
{
    TNode root{dev::camera::CPreprocessorNode::Root, {}, {}};
    for (const TNodeLine& line : NodeLines(camera)) {
        const auto tokens = base::Tokens(line.text, " \t;");
        if (TNode* const source = FindNode(root, tokens.at(2)))
            source->children.push_back({tokens[0] == "Identity" ? root.name : tokens[1], line.text, {}});
    }
    return root;
}

TCameraDescription DescribeCamera(const TRig& rig, const TDevice& settings, const dev::CCamera& camera)
{
    TCameraDescription description;
    const dev::camera::CRoI& roi = camera.RoI();
    description.format = camera.ImageFormat();
    description.sensor_size = {static_cast<unsigned int>(roi.SensorWidth()),
                               static_cast<unsigned int>(roi.SensorHeight())};
    description.region = {roi.Left(), roi.Top(), roi.Right(), roi.Bottom()};
    description.model = dev::EnumToStr(dev::mapCameraModel_INIStr, camera.Projection());
    description.lens = dev::EnumToStr(dev::mapLensModel_INIStr, camera.Lens());
    description.distortion_center = camera.DistortionCenter();
    description.distortion_k = camera.DistortionK();
    description.distortion_k_ratio = camera.DistortionKRatio();
    description.focal_length = camera.FocalLength();
    description.optical_center = camera.OpticalCenter();
    description.field_of_view = FieldOfView(camera);
    description.source = ValueOr(settings.settings, "SOURCE", {});
    description.tree = Tree(settings);
    description.output = ValueOr(settings.settings, "OUTPUT", description.tree.name);
    description.record = ValueOr(settings.settings, "RECORD", description.tree.name);
    description.compression = ValueOr(settings.settings, "RECORD COMPRESSION", "none");
    description.luts = Luts(rig, settings);
    return description;
}

TDescription DescribeDevice(const TRig& rig, const TDevice& settings)
{
    TDescription description{settings.name, settings.type, {}, {}, {}, {}, {}, {}, {}};
    if (settings.type == DeviceType::Device) {
        dev::CDevice device;
        LoadDevice(device, settings, rig.version);
        DescribeIdentity(device, description);
        device.On_ShutDown();
    } else if (settings.type == DeviceType::Sensor) {
        dev::CSensor sensor;
        LoadDevice(sensor, settings, rig.version);
        DescribeIdentity(sensor, description);
        DescribePose(rig, sensor, description);
        sensor.On_ShutDown();
    } else {
        dev::CCamera camera;
        LoadDevice(camera, settings, rig);
        DescribeIdentity(camera, description);
        DescribePose(rig, camera, description);
        description.camera = DescribeCamera(rig, settings, camera);
        camera.On_ShutDown();
    }
    return description;
}

}  // namespace

std::vector<TDescription> Describe(const TRig& rig)
{
    std::vector<TDescription> descriptions;
    for (const TDevice& device : rig.devices)
        descriptions.push_back(DescribeDevice(rig, device));
    return descriptions;
}

}  // namespace host
