#include "genicam/sensor.h"

#include <arv.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "genicam/error.h"

namespace genicam {

using dev::camera::CRoI;

namespace {

struct TFree
{
    void operator()(void* memory) const { g_free(memory); }
};

std::int64_t Read(ArvCamera* camera, const char* feature)
{
    CError error;
    const std::int64_t value = arv_camera_get_integer(camera, feature, error);
    error.Check(feature);
    return value;
}

void Write(ArvCamera* camera, const char* feature, std::int64_t value)
{
    if (Read(camera, feature) == value)
        return;  // which a camera takes even where the value cannot be changed
    CError error;
    arv_camera_set_integer(camera, feature, value, error);
    error.Check(feature);
}

struct TExtent
{
    unsigned int least;
    unsigned int most;
    unsigned int step;
};

TExtent ReadExtent(ArvCamera* camera, const char* feature, const char* whole_name, const char* sensor_name)
{
    CError error;
    gint64 least = 1;
    gint64 most = 0;
    arv_camera_get_integer_bounds(camera, feature, &least, &most, error);
    error.Check(feature);
    const gint64 step = std::max<gint64>(1, arv_camera_get_integer_increment(camera, feature, error));
    error.Check(feature);
    // The bound of the size itself shrinks with the offset on many cameras.
    for (const char* name : {whole_name, sensor_name})
        if (Has(camera, name)) {
            most = Read(camera, name);
            break;
        }
    most -= most % step;
    if (least < 0 || most < 1 || most > std::numeric_limits<int>::max() || least > most)
        throw std::runtime_error(std::string(feature) + ": found " + std::to_string(least) + " to " +
                                 std::to_string(most) + " in steps of " + std::to_string(step) +
                                 ", wanted what an image can have");
    return {static_cast<unsigned int>(least), static_cast<unsigned int>(most), static_cast<unsigned int>(step)};
}

unsigned int ReadStep(ArvCamera* camera, const char* feature)
{
    if (!Has(camera, feature))
        return 0;
    CError error;
    const gint64 step = arv_camera_get_integer_increment(camera, feature, error);
    error.Check(feature);
    constexpr gint64 longest = std::numeric_limits<int>::max();
    return static_cast<unsigned int>(std::min(std::max<gint64>(1, step), longest));
}

std::string Steps(const TSensor& sensor)
{
    const auto pair = [](unsigned int a, unsigned int b) { return std::to_string(a) + " and " + std::to_string(b); };
    return "a region of the " + std::to_string(sensor.width) + "x" + std::to_string(sensor.height) +
           " pixels of the camera: left and top in steps of " + pair(sensor.left_step, sensor.top_step) +
           ", width and height in steps of " + pair(sensor.width_step, sensor.height_step) + ", at least " +
           pair(sensor.least_width, sensor.least_height);
}

const cimage::TPixelFormat* Known(std::int64_t value)
{
    for (const cimage::TPixelFormat& format : cimage::PixelFormats())
        if (format.pfnc == value)
            return &format;
    return nullptr;
}

std::vector<std::int64_t> Formats(ArvCamera* camera)
{
    CError error;
    guint count = 0;
    const std::unique_ptr<gint64[], TFree> values(arv_camera_dup_available_pixel_formats(camera, &count, error));
    error.Check("PixelFormat");
    return std::vector<std::int64_t>(values.get(), values.get() + count);
}

std::string FormatNames(ArvCamera* camera)
{
    CError error;
    guint count = 0;
    const std::unique_ptr<const char*[], TFree> names(
        arv_camera_dup_available_pixel_formats_as_strings(camera, &count, error));
    error.Check("PixelFormat");
    std::string text;
    for (guint i = 0; i < count; ++i)
        text += std::string(text.empty() ? "" : ", ") + names[i];
    return text;
}

}  // namespace

bool Has(ArvCamera* camera, const char* feature)
{
    CError error;
    const bool available = arv_camera_is_feature_available(camera, feature, error);
    return available && !error.Failed();
}

TSensor ReadSensor(ArvCamera* camera)
{
    const TExtent width = ReadExtent(camera, "Width", "WidthMax", "SensorWidth");
    const TExtent height = ReadExtent(camera, "Height", "HeightMax", "SensorHeight");
    TSensor sensor;
    sensor.width = width.most;
    sensor.height = height.most;
    sensor.left_step = ReadStep(camera, "OffsetX");
    sensor.top_step = ReadStep(camera, "OffsetY");
    sensor.width_step = width.step;
    sensor.height_step = height.step;
    sensor.least_width = width.least;
    sensor.least_height = height.least;
    return sensor;
}

CRoI ToRegion(const TSensor& sensor, const std::string& geometry)
{
    CRoI region(sensor.width, sensor.height);
    bool legal = true;
    try {
        region.SetIncrements(sensor.left_step, sensor.top_step, sensor.width_step, sensor.height_step);
        region.Resize(geometry);
    } catch (const std::exception&) {
        legal = false;
    }
    // A CRoI compares neither its right nor its bottom edge with the sensor.
    if (!legal || region.Right() >= region.SensorWidth() || region.Bottom() >= region.SensorHeight() ||
        region.Width() < sensor.least_width || region.Height() < sensor.least_height)
        throw std::runtime_error("ROI: found \"" + geometry + "\", wanted " + Steps(sensor));
    return region;
}

std::string Geometry(const CRoI& region)
{
    return std::to_string(region.Left()) + ", " + std::to_string(region.Top()) + ", " + std::to_string(region.Right()) +
           ", " + std::to_string(region.Bottom());
}

CRoI WriteRegion(ArvCamera* camera, const TSensor& sensor, const CRoI& region)
{
    if (sensor.left_step > 0)
        Write(camera, "OffsetX", 0);
    if (sensor.top_step > 0)
        Write(camera, "OffsetY", 0);
    Write(camera, "Width", region.Width());
    Write(camera, "Height", region.Height());
    if (sensor.left_step > 0)
        Write(camera, "OffsetX", region.Left());
    if (sensor.top_step > 0)
        Write(camera, "OffsetY", region.Top());

    const std::int64_t left = sensor.left_step > 0 ? Read(camera, "OffsetX") : 0;
    const std::int64_t top = sensor.top_step > 0 ? Read(camera, "OffsetY") : 0;
    return ToRegion(sensor, std::to_string(left) + ", " + std::to_string(top) + ", " +
                                std::to_string(left + Read(camera, "Width") - 1) + ", " +
                                std::to_string(top + Read(camera, "Height") - 1));
}

std::string ReadFormat(ArvCamera* camera)
{
    std::vector<std::int64_t> candidates = {Read(camera, "PixelFormat")};
    const std::vector<std::int64_t> others = Formats(camera);
    candidates.insert(candidates.end(), others.begin(), others.end());
    const auto known =
        std::find_if(candidates.begin(), candidates.end(), [](std::int64_t value) { return Known(value) != nullptr; });
    if (known == candidates.end()) {
        std::string names;
        for (const cimage::TPixelFormat& format : cimage::PixelFormats())
            names += (names.empty() ? "" : ", ") + std::string(format.name);
        throw std::runtime_error("found the pixel formats " + FormatNames(camera) + ", wanted one of " + names);
    }
    const TSensor sensor = ReadSensor(camera);
    return cimage::Build(*Known(*known), sensor.width, sensor.height)->Descriptor();
}

void WritePixelFormat(ArvCamera* camera, const cimage::TPixelFormat& format)
{
    // By value: names of the same format differ between cameras.
    const std::vector<std::int64_t> formats = Formats(camera);
    if (std::find(formats.begin(), formats.end(), format.pfnc) == formats.end())
        throw std::runtime_error(std::string("FB: found the pixel format ") + format.name +
                                 ", wanted one of the camera's: " + FormatNames(camera));
    Write(camera, "PixelFormat", format.pfnc);
}

}  // namespace genicam
