#include "dev/frame.h"

#include "base/number_text.h"
#include "base/require.h"
#include "orvo_proc_cimage/image.h"

namespace dev {

TFrame<> FrameGenerator(const boost::shared_ptr<const cimage::CImage>& image)
{
    ORVO_REQUIRE(image);
    TFrame<> frame;
    frame.image = image->New(image->Width(), image->Height());
    return frame;
}

std::string to_string(double a, double b)
{
    return base::StreamText(std::vector<double>{a, b});
}

}  // namespace dev
