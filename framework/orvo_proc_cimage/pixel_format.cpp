#include <algorithm>
#include <stdexcept>

#include "orvo_proc_cimage/image.h"

namespace cimage {

const std::vector<TPixelFormat>& PixelFormats()
{
    // Never destroyed, on purpose: images point into it, and may live in static storage.
    // Bits 16 to 23 of a PFNC value are the bits per pixel, the upper byte tells one component (1) from several (2).
    static const auto& formats = *new std::vector<TPixelFormat>{
        {"Mono8", 0x01080001, 8, 1, 8},       {"Mono10", 0x01100003, 16, 1, 10},
        {"Mono12", 0x01100005, 16, 1, 12},    {"Mono14", 0x01100025, 16, 1, 14},
        {"Mono16", 0x01100007, 16, 1, 16},    {"RGB8", 0x02180014, 24, 3, 8},
        {"BGR8", 0x02180015, 24, 3, 8},       {"RGBa8", 0x02200016, 32, 4, 8},
        {"BGRa8", 0x02200017, 32, 4, 8},      {"RGB16", 0x02300033, 48, 3, 16},
        {"BayerRG8", 0x01080009, 8, 1, 8},    {"BayerRG10", 0x0110000D, 16, 1, 10},
        {"BayerRG12", 0x01100011, 16, 1, 12}, {"BayerRG16", 0x0110002F, 16, 1, 16},
        {"BayerGR8", 0x01080008, 8, 1, 8},    {"BayerGR10", 0x0110000C, 16, 1, 10},
        {"BayerGR12", 0x01100010, 16, 1, 12}, {"BayerGR16", 0x0110002E, 16, 1, 16},
        {"BayerGB8", 0x0108000A, 8, 1, 8},    {"BayerGB10", 0x0110000E, 16, 1, 10},
        {"BayerGB12", 0x01100012, 16, 1, 12}, {"BayerGB16", 0x01100030, 16, 1, 16},
        {"BayerBG8", 0x0108000B, 8, 1, 8},    {"BayerBG10", 0x0110000F, 16, 1, 10},
        {"BayerBG12", 0x01100013, 16, 1, 12}, {"BayerBG16", 0x01100031, 16, 1, 16},
        {"YUV422_8", 0x02100032, 16, 1, 8},   {"YUV422_8_UYVY", 0x0210001F, 16, 1, 8},
    };
    return formats;
}

const TPixelFormat& PixelFormat(const std::string& name)
{
    const std::vector<TPixelFormat>& formats = PixelFormats();
    const auto found = std::find_if(formats.begin(), formats.end(),
                                    [&name](const TPixelFormat& format) { return name == format.name; });
    if (found != formats.end())
        return *found;

    std::string known;
    for (const TPixelFormat& format : formats)
        known += (known.empty() ? "" : ", ") + std::string(format.name);
    throw std::invalid_argument("found pixel format \"" + name + "\", wanted one of " + known);
}

}  // namespace cimage
