#include "commands/show.h"
#include "system/json_text.h"

namespace host {

namespace {

Json AsJson(const TPose& pose)
{
    return {{"position", pose.position}, {"yaw_pitch_roll", pose.orientation}};
}

Json AsJson(const TNode& node)
{
    Json children = Json::array();
    for (const TNode& child : node.children)
        children.push_back(AsJson(child));
    return {{"name", node.name}, {"line", node.line}, {"children", children}};
}

Json AsJson(const TCameraDescription& camera)
{
    Json json = {{"format", camera.format},
                 {"sensor_size", camera.sensor_size},
                 {"region", camera.region},
                 {"model", camera.model},
                 {"lens", camera.lens},
                 {"distortion_center", camera.distortion_center},
                 {"distortion_k", camera.distortion_k},
                 {"distortion_k_ratio", camera.distortion_k_ratio},
                 {"focal_length_px", camera.focal_length},
                 {"optical_center_px", camera.optical_center},
                 {"field_of_view_deg", nullptr},
                 {"source", camera.source},
                 {"tree", AsJson(camera.tree)},
                 {"output", camera.output},
                 {"record", camera.record},
                 {"record_compression", camera.compression},
                 {"luts", Json::array()}};
    for (const TLut& lut : camera.luts)
        json["luts"].push_back({{"key", lut.key},
                                {"reference", lut.reference},
                                {"file", lut.file.string()},
                                {"bytes", lut.size ? Json(*lut.size) : Json()}});
    if (camera.field_of_view)
        json["field_of_view_deg"] = {{"horizontal", camera.field_of_view->horizontal_deg},
                                     {"vertical", camera.field_of_view->vertical_deg},
                                     {"formula", camera.field_of_view->formula}};
    return json;
}

Json AsJson(const TDescription& device)
{
    Json json = {{"name", device.name},   {"type", TypeName(device.type)}, {"vendor", device.vendor},
                 {"model", device.model}, {"serial", device.serial},       {"description", device.description}};
    if (device.pose)
        json["pose"] = AsJson(*device.pose);
    if (device.relative) {
        json["relative_pose"] = AsJson(device.relative->pose);
        json["relative_pose"]["to"] = device.relative->to;
        json["relative_pose"]["chain"] = device.relative->chain;
    }
    if (device.camera)
        json["camera"] = AsJson(*device.camera);
    return json;
}

}  // namespace

std::string ShowJson(const TRig& rig, const std::vector<TDescription>& devices)
{
    Json list = Json::array();
    for (const TDescription& device : devices)
        list.push_back(AsJson(device));
    return JsonText({{"rig", rig.file.string()},
                     {"name", rig.name},
                     {"hws_version", rig.version == hws::Version::V1_0 ? "1.0" : "1.1"},
                     {"data_dir", rig.data_dir.string()},
                     {"devices", list}});
}

}  // namespace host
