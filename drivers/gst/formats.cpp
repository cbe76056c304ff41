#include "gst/formats.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace gst {

namespace {

const char* const raw = "video/x-raw";
const char* const bayer = "video/x-bayer";

/// Formats that lie in memory as the pixel format of that name does.
const struct TRow
{
    const char* media;
    const char* format;
    const char* pixel_format;
} rows[] = {
    {raw, "GRAY8", "Mono8"},     {raw, G_BYTE_ORDER == G_LITTLE_ENDIAN ? "GRAY16_LE" : "GRAY16_BE", "Mono16"},
    {raw, "RGB", "RGB8"},        {raw, "BGR", "BGR8"},
    {raw, "RGBA", "RGBa8"},      {raw, "BGRA", "BGRa8"},
    {raw, "YUY2", "YUV422_8"},   {raw, "UYVY", "YUV422_8_UYVY"},
    {bayer, "rggb", "BayerRG8"}, {bayer, "grbg", "BayerGR8"},
    {bayer, "gbrg", "BayerGB8"}, {bayer, "bggr", "BayerBG8"},
};

std::string Size(unsigned int width, unsigned int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

/// The field's value, a range or list of values as GStreamer writes it.
std::string FieldText(const GstStructure* structure, const char* field)
{
    const GValue* const value = gst_structure_get_value(structure, field);
    if (value == nullptr)
        return "any";
    if (G_VALUE_HOLDS_STRING(value))
        return g_value_get_string(value);
    const CRef<gchar> serialized(gst_value_serialize(value));
    const std::string text = serialized ? serialized.get() : "?";
    constexpr std::size_t longest = 60;  // a converter has some hundred formats
    return text.size() > longest ? "many formats" : text;
}

boost::optional<TShape> ShapeOf(const GstStructure* structure)
{
    const gchar* const format = gst_structure_get_string(structure, "format");
    int width = 0;
    int height = 0;
    if (format == nullptr || !gst_structure_get_int(structure, "width", &width) ||
        !gst_structure_get_int(structure, "height", &height) || width < 1 || height < 1)
        return boost::none;
    for (const TRow& row : rows) {
        if (!gst_structure_has_name(structure, row.media) || std::string(row.format) != format)
            continue;
        const cimage::TPixelFormat& pixels = cimage::PixelFormat(row.pixel_format);
        const std::size_t row_bytes = static_cast<std::size_t>(width) * pixels.bits_per_pixel / 8;
        // GStreamer's own rule for every format of the table.
        const std::size_t stride = (row_bytes + 3) / 4 * 4;
        return TShape{&pixels, static_cast<unsigned int>(width), static_cast<unsigned int>(height), stride};
    }
    return boost::none;
}

std::string Text(const GstStructure* structure)
{
    if (!gst_structure_has_name(structure, raw) && !gst_structure_has_name(structure, bayer))
        return gst_structure_get_name(structure);
    std::string text =
        FieldText(structure, "format") + " " + FieldText(structure, "width") + "x" + FieldText(structure, "height");
    if (const boost::optional<TShape> shape = ShapeOf(structure))
        text += " (" + shape->Descriptor() + ")";
    return text;
}

/// A buffer that is mapped.
struct TMapped
{
    GstBuffer* buffer;
    GstMapInfo map;
};

void Release(TMapped* mapped)
{
    gst_buffer_unmap(mapped->buffer, &mapped->map);
    gst_buffer_unref(mapped->buffer);
    delete mapped;
}

}  // namespace

std::string TShape::Descriptor() const
{
    return format->name + (" " + Size(width, height));
}

CRef<GstCaps> AllCaps()
{
    CRef<GstCaps> caps(gst_caps_new_empty());
    for (const TRow& row : rows)
        gst_caps_append_structure(caps.get(),
                                  gst_structure_new(row.media, "format", G_TYPE_STRING, row.format, nullptr));
    return caps;
}

CRef<GstCaps> CapsOf(const std::string& descriptor)
{
    const auto image = cimage::Build(descriptor);
    for (const TRow& row : rows)
        if (std::string(row.pixel_format) == image->Format().name)
            return CRef<GstCaps>(gst_caps_new_simple(row.media, "format", G_TYPE_STRING, row.format, "width",
                                                     G_TYPE_INT, static_cast<int>(image->Width()), "height", G_TYPE_INT,
                                                     static_cast<int>(image->Height()), nullptr));
    return nullptr;
}

std::string PixelFormatNames()
{
    std::string names;
    for (const TRow& row : rows)
        names += (names.empty() ? "" : ", ") + std::string(row.pixel_format);
    return names;
}

boost::optional<TShape> ShapeOf(const GstCaps* caps)
{
    if (!gst_caps_is_fixed(caps))
        return boost::none;
    return ShapeOf(gst_caps_get_structure(caps, 0));
}

std::string Text(const GstCaps* caps)
{
    constexpr std::size_t most = 12;  // a camera may offer a hundred
    std::vector<std::string> texts;
    for (guint i = 0; i < gst_caps_get_size(caps) && texts.size() <= most; ++i) {
        const std::string text = Text(gst_caps_get_structure(caps, i));
        if (std::find(texts.begin(), texts.end(), text) == texts.end())
            texts.push_back(texts.size() < most ? text : "...");
    }
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all;
}

boost::shared_ptr<const cimage::CImage> Wrap(GstBuffer* buffer, const TShape& shape)
{
    std::unique_ptr<TMapped, void (*)(TMapped*)> mapped(new TMapped, [](TMapped* unmapped) { delete unmapped; });
    if (!gst_buffer_map(buffer, &mapped->map, GST_MAP_READ))
        throw std::runtime_error("found a frame whose memory cannot be read, wanted " + shape.Descriptor());
    mapped->buffer = gst_buffer_ref(buffer);
    mapped.get_deleter() = &Release;

    const std::size_t size = mapped->map.size;
    const std::size_t row_bytes = static_cast<std::size_t>(shape.width) * shape.format->bits_per_pixel / 8;
    std::size_t offset = 0;
    std::size_t stride = shape.stride;
    if (const GstVideoMeta* const meta = gst_buffer_get_video_meta(buffer)) {
        offset = meta->offset[0];
        stride = meta->stride[0] < 0 ? 0 : static_cast<std::size_t>(meta->stride[0]);
    } else if (size == row_bytes * shape.height) {
        stride = row_bytes;  // some cameras pad nothing and say nothing
    }
    const std::size_t wanted = offset + stride * (shape.height - 1) + row_bytes;
    if (stride < row_bytes || size < wanted)
        throw std::runtime_error("found a frame of " + std::to_string(size) + " bytes, " + std::to_string(stride) +
                                 " from row to row, wanted at least " + std::to_string(wanted) + " for " +
                                 shape.Descriptor());

    TMapped* const released = mapped.get();
    auto image = cimage::Wrap(*shape.format, shape.width, shape.height, stride, mapped->map.data + offset,
                              [released] { Release(released); });
    mapped.release();
    return image;
}

}  // namespace gst
