#include "gst/plan.h"

#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/path.hpp>
#include <cerrno>
#include <mutex>
#include <stdexcept>
#include <system_error>

namespace gst {

const char* const sync_key = "SYNC";
const char* const sink_name = "orvo_frames";

namespace {

const std::string v4l2 = "v4l2:";

bool BeginsWith(const std::string& text, const std::string& begin)
{
    return text.compare(0, begin.size(), begin) == 0;
}

/// Starts GStreamer, once per process. Its first start on a machine looks through all its plugins, which takes seconds.
void StartGStreamer()
{
    static std::once_flag once;
    std::call_once(once, [] {
        gst_segtrap_set_enabled(FALSE);  // signals are the host's
        GError* error = nullptr;
        if (gst_init_check(nullptr, nullptr, &error) == FALSE) {
            const CRef<GError> owned(error);
            throw std::runtime_error("found GStreamer unable to start (" +
                                     std::string(error != nullptr ? error->message : "no reason given") +
                                     "), wanted one that runs");
        }
    });
}

/// As a value of a launch line.
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string LineOf(const std::string& location, std::vector<capture::TFault>* faults)
{
    if (BeginsWith(location, "rtsp://") || BeginsWith(location, "rtsps://"))
        return "rtspsrc latency=100 location=" + Quoted(location) +
               " ! application/x-rtp, media=video ! decodebin ! videoconvert";
    if (!BeginsWith(location, v4l2))
        return location;
    const std::string device = location.substr(v4l2.size());
    if (::access(device.c_str(), R_OK | W_OK) != 0)
        faults->push_back({"SOURCE", device + ": " + std::generic_category().message(errno), "a camera's device file"});
    return "v4l2src device=" + Quoted(device);
}

/// Makes paths count from the folder of the rig file instead of the one in which the program happens to run.
void SetFolder(GstElement* pipeline, const std::string& folder)
{
    for (const CRef<GstElement>& element : ElementsOf(GST_BIN(pipeline))) {
        const GParamSpec* const spec = g_object_class_find_property(G_OBJECT_GET_CLASS(element.get()), "location");
        if (spec == nullptr || spec->value_type != G_TYPE_STRING || (spec->flags & G_PARAM_WRITABLE) == 0)
            continue;
        gchar* text = nullptr;
        g_object_get(element.get(), "location", &text, nullptr);
        const CRef<gchar> owned(text);
        if (text == nullptr || *text == '\0' || *text == '/' || std::string(text).find("://") != std::string::npos)
            continue;
        g_object_set(element.get(), "location", (boost::filesystem::path(folder) / text).c_str(), nullptr);
    }
}

CRef<GstElement> Parse(const std::string& line, std::vector<capture::TFault>* faults)
{
    const auto fault = [&line, faults](const std::string& what) {
        faults->push_back({"SOURCE", "\"" + line + "\": " + what, "a launch line of elements that are installed"});
        return CRef<GstElement>();
    };
    if (line.find_first_not_of(" \t") == std::string::npos)
        return fault("nothing");
    GError* error = nullptr;
    CRef<GstElement> pipeline(gst_parse_launch_full((line + " ! appsink name=" + sink_name).c_str(), nullptr,
                                                    GST_PARSE_FLAG_FATAL_ERRORS, &error));
    const CRef<GError> owned(error);
    if (pipeline)
        gst_object_ref_sink(pipeline.get());
    if (error != nullptr || !pipeline)
        return fault(error != nullptr ? error->message : "no pipeline");
    if (!GST_IS_PIPELINE(pipeline.get()))
        return fault("no pipeline");
    return pipeline;
}

}  // namespace

TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults)
{
    StartGStreamer();
    TPlan plan;
    std::string text;
    if (request.settings.efind(sync_key, text)) {
        plan.sync = text == "TRUE";
        if (text != "TRUE" && text != "FALSE")
            faults->push_back({sync_key, "\"" + text + "\"", "TRUE or FALSE"});
    }
    constexpr std::size_t longest = 60;
    plan.text = request.location.substr(0, longest) + (request.location.size() > longest ? "..." : "");
    plan.line = LineOf(request.location, faults);
    plan.pipeline = Parse(plan.line, faults);
    if (plan.pipeline && !request.folder.empty())
        SetFolder(plan.pipeline.get(), request.folder);
    return plan;
}

std::vector<std::string> FindDevices()
{
    StartGStreamer();
    // Asked for alone, not by way of a monitor: others list network cameras, screens and sound servers, which the short
    // form cannot open, and take their time.
    const CRef<GstDeviceProvider> provider(gst_device_provider_factory_get_by_name("v4l2deviceprovider"));
    std::vector<std::string> locations;
    if (!provider)
        return locations;
    GList* const devices = gst_device_provider_get_devices(provider.get());
    for (const GList* item = devices; item != nullptr; item = item->next) {
        GstDevice* const device = GST_DEVICE(item->data);
        GstStructure* const properties = gst_device_get_properties(device);
        if (properties == nullptr)
            continue;
        const gchar* const path = gst_structure_get_string(properties, "device.path");
        if (path != nullptr && gst_device_has_classes(device, "Video/Source") != FALSE &&
            ::access(path, R_OK | W_OK) == 0)
            locations.push_back(v4l2 + path);
        gst_structure_free(properties);
    }
    g_list_free_full(devices, gst_object_unref);
    std::sort(locations.begin(), locations.end());
    return locations;
}

std::vector<CRef<GstElement>> ElementsOf(GstBin* bin)
{
    std::vector<CRef<GstElement>> elements;
    const CRef<GstIterator> iterator(gst_bin_iterate_recurse(bin));
    GValue item = G_VALUE_INIT;
    for (;;) {
        const GstIteratorResult result = gst_iterator_next(iterator.get(), &item);
        if (result == GST_ITERATOR_RESYNC) {
            elements.clear();
            gst_iterator_resync(iterator.get());
        } else if (result == GST_ITERATOR_OK) {
            elements.push_back(Share(GST_ELEMENT(g_value_get_object(&item))));
            g_value_reset(&item);
        } else {
            break;
        }
    }
    g_value_unset(&item);
    std::reverse(elements.begin(), elements.end());  // a bin keeps the last one that was added first
    return elements;
}

}  // namespace gst
