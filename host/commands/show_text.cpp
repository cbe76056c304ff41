#include <fmt/format.h>

#include "commands/show.h"
#include "system/quantities.h"

namespace host {

namespace {

std::string Line(const char* label, const std::string& text)
{
    return fmt::format("  {:<16}{}\n", label, text);
}

std::string Pair(const std::pair<double, double>& pair)
{
    return fmt::format("{}, {}", pair.first, pair.second);
}

std::string Numbers(const std::vector<double>& numbers)
{
    return numbers.empty() ? "none" : fmt::format("{}", fmt::join(numbers, ", "));
}

std::string Pose(const TPose& pose)
{
    return fmt::format("position ({}), yaw {}, pitch {}, roll {} rad", fmt::join(pose.position, ", "),
                       pose.orientation[0], pose.orientation[1], pose.orientation[2]);
}

std::string Identity(const TDescription& device)
{
    std::string text = device.vendor;
    for (const std::string& part : {device.model, device.serial.empty() ? "" : "serial " + device.serial})
        if (!part.empty())
            text += (text.empty() ? "" : " ") + part;
    if (!device.description.empty())
        text += (text.empty() ? "" : ": ") + device.description;
    return text.empty() ? "not given" : text;
}

std::string Relative(const TRelativePose& relative)
{
    std::string text = fmt::format("{}: {}", relative.to, Pose(relative.pose));
    if (relative.chain.size() > 1)
        text += fmt::format(" (and on to {})", relative.chain.back());
    return text;
}

std::string Marks(const TCameraDescription& camera, const std::string& node)
{
    std::string marks;
    if (node == camera.output)
        marks += "  <- output";
    if (node == camera.record)
        marks += "  <- record";
    return marks;
}

void AppendChildren(const TCameraDescription& camera, const TNode& node, const std::string& indent, std::string& text)
{
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        const TNode& child = node.children[i];
        const bool last = i + 1 == node.children.size();
        text += fmt::format("{}{} {}: {}{}\n", indent, last ? "└─" : "├─", child.name, child.line,
                            Marks(camera, child.name));
        AppendChildren(camera, child, indent + (last ? "   " : "│  "), text);
    }
}

std::string CameraText(const TCameraDescription& camera)
{
    const auto& [left, top, right, bottom] = camera.region;
    std::string text = Line("image", camera.format);
    text += Line("region", fmt::format("{}x{} at ({}, {}) of {}x{}", right - left + 1, bottom - top + 1, left, top,
                                       camera.sensor_size.first, camera.sensor_size.second));
    text += Line("model", fmt::format("{}, lens {}", camera.model, camera.lens));
    text += Line("distortion", fmt::format("K {}; K ratio {}; centre {}", Numbers(camera.distortion_k),
                                           Numbers(camera.distortion_k_ratio), Pair(camera.distortion_center)));
    text += Line("focal length", Pair(camera.focal_length) + " px");
    text += Line("optical centre", Pair(camera.optical_center) + " px");
    if (camera.field_of_view)
        text += Line("field of view", fmt::format("{:.2f} x {:.2f} deg ({})", camera.field_of_view->horizontal_deg,
                                                  camera.field_of_view->vertical_deg, camera.field_of_view->formula));
    else
        text += Line("field of view", "unknown: not calibrated, or no formula for the model");
    text += Line("source", camera.source.empty() ? "not given" : camera.source);
    for (const TLut& lut : camera.luts)
        text += Line("lookup table", fmt::format("{}: {} ({}, {})", lut.key, lut.reference, lut.file.string(),
                                                 lut.size ? Plural(*lut.size, "byte") : "missing"));
    text += Line("compression", camera.compression + ", when recorded");
    text += Line("tree", camera.tree.name + Marks(camera, camera.tree.name));
    AppendChildren(camera, camera.tree, std::string(18, ' '), text);
    return text;
}

}  // namespace

std::string ShowText(const TRig& rig, const std::vector<TDescription>& devices)
{
    std::string text = fmt::format("rig {}, settings format {}, data in {}\n", rig.name,
                                   rig.version == hws::Version::V1_0 ? "1.0" : "1.1", rig.data_dir.string());
    for (const TDescription& device : devices) {
        text += fmt::format("\n{} ({})\n", device.name, TypeName(device.type));
        text += Line("identity", Identity(device));
        if (device.pose)
            text += Line("pose", Pose(*device.pose));
        if (device.relative)
            text += Line("relative to", Relative(*device.relative));
        if (device.camera)
            text += CameraText(*device.camera);
    }
    return text;
}

}  // namespace host
