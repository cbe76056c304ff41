// A camera's sensor: its pixel formats, and the region that the camera cuts out of it.
#ifndef GENICAM_SENSOR_H
#define GENICAM_SENSOR_H

#include <string>

#include "dev/camera/roi.h"
#include "orvo_proc_cimage/image.h"

struct _ArvCamera;

namespace genicam {

// Everything here talks to the camera on the caller's thread and, but for Has(), throws std::runtime_error when the
// camera does not answer or refuses.

/// Whether the camera has the feature now; false also for one that does not answer.
bool Has(_ArvCamera* camera, const char* feature);

/// What regions a camera can have. All in pixels.
struct TSensor
{
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int left_step = 0;  ///< 0 for a region that cannot be moved
    unsigned int top_step = 0;
    unsigned int width_step = 1;
    unsigned int height_step = 1;
    unsigned int least_width = 1;
    unsigned int least_height = 1;
};

TSensor ReadSensor(_ArvCamera* camera);

/// "left top right bottom" or "width height" as a region that the sensor can have. Throws std::runtime_error telling
/// what the camera can have.
dev::camera::CRoI ToRegion(const TSensor& sensor, const std::string& geometry);

/// The corners as ToRegion() reads them.
std::string Geometry(const dev::camera::CRoI& region);

/// Writes a region that came from ToRegion(), in an order in which each step is legal for the camera, and returns what
/// the camera has then. The stream must stand still. After an error the camera may have any region.
dev::camera::CRoI WriteRegion(_ArvCamera* camera, const TSensor& sensor, const dev::camera::CRoI& region);

/// "FB": the whole sensor in the pixel format that the camera has now or, if that is none that images can have, in the
/// first of its formats that is.
std::string ReadFormat(_ArvCamera* camera);

/// Throws std::runtime_error naming the formats that the camera has.
void WritePixelFormat(_ArvCamera* camera, const cimage::TPixelFormat& format);

}  // namespace genicam

#endif
