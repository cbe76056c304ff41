#include "host/rig_fixture.h"

#include <stdlib.h>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace host_test {

const std::string good_rig = R"([RIG]
NAME = pair
HWS VERSION = 1.1
DATA DIR = .

[body]
TYPE = SENSOR
POSITION = 0.5, 0, 1
ORIENTATION = 0, 0, 0

[left]
TYPE = CAMERA
VENDOR = Acme
FB = Mono8 8x6
ROI = 0 0 7 5
CAMERA MODEL = PINHOLE
DISTORTION MODEL = BROWN_CONRADY
DISTORTION K = -0.2, 0.1, 0, 0
OPTICAL CENTER = 3.5, 2.5
PIXEL FOCAL LENGTH = 4, 3
POSITION = 0, 0, 0
RELATIVE TO = body
RELATIVE POSITION = 0, 0.1, 0
SOURCE = test:push 4
PREPROCESS 1 = TestPass a Source
PREPROCESS 2 = TestPass b a fps_factor=0.5
OUTPUT = b
RECORD = a

[right]
TYPE = CAMERA
FB = Mono8 8x6
SOURCE = test:push 3
)";

std::string With(std::string text, const std::string& from, const std::string& to)
{
    const auto place = text.find(from);
    if (place == std::string::npos || text.find(from, place + 1) != std::string::npos)
        throw std::logic_error("With: \"" + from + "\" is not there once");
    return text.replace(place, from.size(), to);
}

RigFixture::RigFixture()
{
    std::string name = (std::filesystem::temp_directory_path() / "orvo_host_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    folder_ = name;
}

RigFixture::~RigFixture()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::filesystem::path RigFixture::Write(const std::string& name, const std::string& text) const
{
    const auto file = folder_ / name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

std::string RigFixture::Read(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace host_test
