#include "genicam/plan.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <stdexcept>

#include "base/number_text.h"
#include "capture/faults.h"
#include "dev/camera/roi.h"

namespace genicam {

const char* const buffers_key = "BUFFERS";
const char* const packet_size_key = "PACKET SIZE";

namespace {

void ReadCount(const kt::ini::INIFile& settings, const char* key, unsigned int least, unsigned int most,
               unsigned int* count, std::vector<capture::TFault>* faults)
{
    std::string text;
    if (!settings.efind(key, text))
        return;
    const bool is_count = !text.empty() && text.size() < 9 && text.find_first_not_of("0123456789") == std::string::npos;
    const unsigned int number = is_count ? base::ParseNumber<unsigned int>(text) : 0;
    if (number >= least && number <= most)
        *count = number;
    else
        faults->push_back({key, capture::Quoted(text),
                           "a whole number from " + std::to_string(least) + " to " + std::to_string(most)});
}

/// The region as far as it can be judged without the camera, whose increments may forbid more.
void ReadRegion(const kt::ini::INIFile& settings, TPlan* plan, std::vector<capture::TFault>* faults)
{
    if (!settings.efind("ROI", plan->region))
        return;
    try {
        dev::camera::CRoI(plan->width, plan->height).Resize(plan->region);
    } catch (const boost::bad_lexical_cast&) {
        faults->push_back({"ROI", capture::Quoted(plan->region), "whole numbers of pixels"});
    } catch (const std::runtime_error& error) {
        faults->push_back(
            {"ROI", capture::Quoted(plan->region), std::string("a region of the sensor: ") + error.what()});
    }
}

}  // namespace

TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults)
{
    TPlan plan;
    plan.location = request.location;
    if (plan.location.empty() || plan.location == "Fake_")
        faults->push_back({"SOURCE", capture::Quoted("genicam:" + plan.location),
                           "genicam: and the IP address, serial number or device id of a camera, or Fake_1"});
    ReadCount(request.settings, buffers_key, 2, 1000, &plan.buffers, faults);
    ReadCount(request.settings, packet_size_key, 576, 65535, &plan.packet_size, faults);
    try {
        const auto image = cimage::Build(request.format);
        plan.format = &image->Format();
        plan.width = image->Width();
        plan.height = image->Height();
        ReadRegion(request.settings, &plan, faults);
    } catch (const std::invalid_argument& error) {
        faults->push_back({"FB", capture::Quoted(request.format), error.what()});
    }
    return plan;
}

}  // namespace genicam
