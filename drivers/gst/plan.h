// What a request asks for, and the launch line behind it.
#ifndef GST_PLAN_H
#define GST_PLAN_H

#include <string>
#include <vector>

#include "capture/source.h"
#include "gst/handles.h"

namespace gst {

/// The key of a camera's section that the driver reads: TRUE plays a stream that is not live at its own pace, FALSE
/// (the default) as fast as the host takes the frames. A live stream has no other pace than its own.
extern const char* const sync_key;

/// The element at the end of a parsed line, an appsink.
extern const char* const sink_name;

struct TPlan
{
    std::string line;  ///< as GStreamer parses it, without our sink
    std::string text;  ///< what frames say of where they came from: the location, cut where it is long
    bool sync = false;
    CRef<GstElement> pipeline;  ///< made out of the line and our sink, not started; null after a fault
};

/// Reads the request and parses its line, without starting anything. Adds whatever is wrong to `faults`.
///
/// A location is a launch line, whose last element we link to our sink, or short for one:
///   v4l2:/dev/video0   the camera as it is: no conversion, so that "FB" must be a format that it has
///   rtsp://HOST/PATH   the video of the stream, decoded and converted to "FB" with a buffer of 100 ms against jitter
/// A relative path in a property "location" counts from the folder of the request.
TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults);

/// The devices that can be opened as "v4l2:PATH", in byte order.
std::vector<std::string> FindDevices();

/// The elements of a bin and of the bins in it, in the order of the line.
std::vector<CRef<GstElement>> ElementsOf(GstBin* bin);

}  // namespace gst

#endif
