// What tests of plugins need: the operations loaded as a host loads them, images out of matrices and back, cameras.
#ifndef TESTS_PLUGINS_PLUGIN_FIXTURE_H
#define TESTS_PLUGINS_PLUGIN_FIXTURE_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "dev/camera.h"
#include "dev/camera/plugin_factory.h"
#include "orvo_inifiles/inifile.h"
#include "orvo_proc_cimage/image.h"

namespace plugins_test {

using dev::camera::Plugin;
using Keys = std::vector<std::pair<std::string, std::string>>;

/// A new image with those pixels: 8 or 16 bits, one channel or three.
inline boost::shared_ptr<cimage::CImage> ImageOf(const std::string& format, const cv::Mat& pixels)
{
    const auto image = cimage::Build(cimage::PixelFormat(format), static_cast<unsigned int>(pixels.cols),
                                     static_cast<unsigned int>(pixels.rows));
    EXPECT_EQ(image->RowBytes(), pixels.elemSize() * static_cast<std::size_t>(pixels.cols)) << format;
    pixels.copyTo(cv::Mat(pixels.rows, pixels.cols, pixels.type(), image->Data(), image->Stride()));
    return image;
}

/// A copy of an image's pixels.
inline cv::Mat PixelsOf(const cimage::CImage& image)
{
    const int channels = static_cast<int>(image.Format().channels);
    const int depth = image.Format().bits_per_pixel / image.Format().channels == 8 ? CV_8U : CV_16U;
    return cv::Mat(static_cast<int>(image.Height()), static_cast<int>(image.Width()), CV_MAKETYPE(depth, channels),
                   const_cast<std::uint8_t*>(image.Data()), image.Stride())
        .clone();
}

/// A camera out of a settings section.
class CTestCamera : public dev::CCamera
{
public:
    explicit CTestCamera(const Keys& keys, const std::string& name = "left")
    {
        Rename(name);
        Load(keys);
    }

    void Load(const Keys& keys)
    {
        kt::ini::INIFile settings("no file of this name", "CAM");
        for (const auto& key : keys)
            settings.set(key.first, key.second);
        LoadParams(settings, hws::Version::V1_1);
    }

    /// Adds a node; the test fails if that does.
    void Add(const std::string& line) { ASSERT_NE(Preprocess_Add(line), nullptr) << line; }

    void Feed(const Plugin::ImagePtr& image)
    {
        dev::TFrame<> frame;
        frame.image = image;
        Preprocess(frame);
    }

    Plugin::ImagePtr Output(const std::string& node) { return Preprocess_Find(node)->Image(""); }
};

/// An operation on its own, set up for input like `input`.
inline boost::shared_ptr<Plugin> Make(const std::string& operation, const std::string& options,
                                      const Plugin::ImagePtr& input, dev::CCamera* camera = nullptr)
{
    const boost::shared_ptr<Plugin> plugin((*dev::camera::PluginSingleton::Instance().Find(operation))());
    plugin->SetOperation(operation, options);
    plugin->SetSource(input);
    if (camera != nullptr)
        plugin->Control(*camera);
    plugin->Initialize();
    return plugin;
}

/// The default output of an operation for one input.
inline Plugin::ImagePtr RunOnce(const std::string& operation, const std::string& options, const Plugin::ImagePtr& input)
{
    const auto plugin = Make(operation, options, input);
    plugin->Execute(input);
    return plugin->Image("");
}

/// What() of the error that `call` throws.
template <typename Call>
std::string ErrorOf(const Call& call)
{
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

class Operations : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        for (const std::string operation : {"Blur", "Crop", "Demosaic", "Gray", "Resize", "Undistort"})
            ASSERT_NE(::dlopen((ORVO_PLUGINS_DIR "/" + operation + ".so").c_str(), RTLD_NOW), nullptr) << ::dlerror();
    }
};

}  // namespace plugins_test

#endif
