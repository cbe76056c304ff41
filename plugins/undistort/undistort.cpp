// Undistort: takes the distortion of the lens out of each picture.
#include <dlfcn.h>

#include <boost/filesystem/path.hpp>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "base/log.h"
#include "common/mat.h"
#include "common/operation.h"
#include "dev/camera.h"
#include "dev/camera_map.h"
#include "undistort/division.h"
#include "undistort/lens.h"
#include "undistort/omnidir_maps.h"

namespace ops {

namespace {

/// The function of support/omnidir_maps.so, beside this shared object; loaded once, and never unloaded, for the
/// libraries behind it have threads of their own.
decltype(&orvo_omnidir_maps_1) LoadOmnidirMaps()
{
    static const char anchor = 0;
    Dl_info self;
    if (::dladdr(&anchor, &self) == 0)
        throw std::runtime_error("Undistort: found no path of the plugin itself, wanted it to find its support folder");
    const boost::filesystem::path path =
        boost::filesystem::path(self.dli_fname).parent_path() / "support" / "omnidir_maps.so";
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = library == nullptr ? nullptr : ::dlsym(library, "orvo_omnidir_maps_1");
    if (function == nullptr)
        throw std::runtime_error(std::string("Undistort: found ") + ::dlerror() + ", wanted the maps of the model MEI");
    return reinterpret_cast<decltype(&orvo_omnidir_maps_1)>(function);
}

/// The law of the result: a picture of a pinhole camera that looks the same way from the same place, with the focal
/// length of the camera times the zoom and its optical centre, so that the camera's own parameters (with a zoom, those
/// that the grid tells) hold for it.
class Undistort : public COperation
{
    void On_Initialization() override
    {
        const COptions options = Options({"camera", "zoom"});
        camera_name_ = options.Text("camera", "");
        if (options.Has("camera") && camera_name_.empty())
            options.Refuse("camera", "the name of a camera");
        zoom_ = options.Number("zoom", 1.0, 0.01, 100.0);
    }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const Kind kind = KindOf(input.Format());
        if (kind != Kind::Grey && kind != Kind::Colour)
            RefuseFormat(input, "a grey or colour format (after Demosaic or Gray)");
        if (input.Grid().rectified)
            Refuse("pictures whose distortion has been taken out", "distorted ones");

        cimage::TGrid grid = input.Grid();
        grid.rectified = true;
        // The camera map may come after the node; until the first frame another camera's lens may stay unknown.
        if (camera_name_.empty() || camera_map_ != nullptr) {
            SetUp(input);
            if (HasNothingToDo(lens_))
                return nullptr;
            // Pixel x of the result shows what an ideal camera without the zoom has at center + (x - center) / zoom.
            grid.offset_x += grid.scale_x * lens_.center.x * (1.0 - 1.0 / zoom_);
            grid.offset_y += grid.scale_y * lens_.center.y * (1.0 - 1.0 / zoom_);
            grid.scale_x /= zoom_;
            grid.scale_y /= zoom_;
        }
        const boost::shared_ptr<cimage::CImage> output = input.New(input.Width(), input.Height());
        output->SetGrid(grid);
        return output;
    }

    bool IsOutdated(const cimage::CImage& input) override
    {
        ReadLens(Camera(), input, &next_);
        return !(next_ == lens_);
    }

    void Run(const cv::Mat& input, cv::Mat& output) override
    {
        cv::remap(input, output, map1_, map2_, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    }

    const dev::CCamera& Camera() const
    {
        if (camera_name_.empty()) {
            if (camera_ == nullptr)
                Refuse("no camera", "one that controls the node, or the option camera=NAME");
            return *camera_;
        }
        if (camera_map_ == nullptr)
            Refuse("no camera map", "one that holds the camera " + camera_name_);
        if (!camera_map_->Has(camera_name_))
            Refuse("no camera " + camera_name_ + " in the camera map", "the name of a camera of the rig");
        return (*camera_map_)[camera_name_];
    }

    bool HasNothingToDo(const TLens& lens) const { return lens.IsIdeal() && zoom_ == 1.0; }

    /// Makes the maps for the lens as it is now, unless they are there.
    void SetUp(const cimage::CImage& input)
    {
        const dev::CCamera& camera = Camera();
        ReadLens(camera, input, &next_);
        if (next_ == lens_)
            return;
        if (!HasNothingToDo(next_)) {
            const std::string fault = CheckForUndistort(next_);
            if (!fault.empty())
                throw std::runtime_error(operation_ + ": camera " + camera.Name() + ": " + fault);
            lens_ = TLens();  // half made maps are nobody's
            MakeMaps(next_);
        }
        if (next_.has_distortion_center && next_.lens != dev::LensModel::Division &&
            next_.distortion_center != next_.center)
            base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION,
                      "camera " + camera.Name() + ": only the lens model DIVISION uses the distortion centre");
        lens_ = next_;
    }

    void MakeMaps(const TLens& lens)
    {
        const cv::Point2d focal = lens.focal * zoom_;
        const cv::Matx33d given(lens.focal.x, 0.0, lens.center.x, 0.0, lens.focal.y, lens.center.y, 0.0, 0.0, 1.0);
        const cv::Matx33d wanted(focal.x, 0.0, lens.center.x, 0.0, focal.y, lens.center.y, 0.0, 0.0, 1.0);

        if (lens.camera == dev::CameraModel::Mei) {
            static const auto make_maps = LoadOmnidirMaps();
            make_maps({lens.focal, lens.center}, lens.k.data(), {focal, lens.center}, lens.size, &map1_, &map2_);
        } else if (lens.camera == dev::CameraModel::KannalaBrandt) {
            cv::fisheye::initUndistortRectifyMap(given, lens.k, cv::Matx33d::eye(), wanted, lens.size, CV_16SC2, map1_,
                                                 map2_);
        } else if (lens.lens == dev::LensModel::Division) {
            cv::Mat map;
            MapDivision(lens, focal, lens.center, &map);
            cv::convertMaps(map, cv::noArray(), map1_, map2_, CV_16SC2);
        } else {
            const std::vector<double> none;
            cv::initUndistortRectifyMap(given, lens.IsIdeal() ? none : lens.k, cv::noArray(), wanted, lens.size,
                                        CV_16SC2, map1_, map2_);
        }
    }

    std::string camera_name_;  ///< empty for the camera that the node is controlled by
    double zoom_ = 1.0;        ///< focal length of the result over that of the camera

    TLens lens_;  ///< what the maps were made for; of no size at first
    TLens next_;  ///< what holds for the frame at hand
    cv::Mat map1_;
    cv::Mat map2_;
};

const dev::camera::CPluginRegistration<Undistort> registration(
    "Undistort", "[camera=NAME] [zoom=Z]",
    "Takes the lens distortion out, by the model and coefficients of its own camera or of another one of the rig: "
    "PINHOLE with BROWN_CONRADY, DIVISION or NO_DISTORTION, KANNALA_BRANDT, MEI. The result is a pinhole picture with "
    "the camera's focal length times Z; a zoom below 1 shows more of the surroundings.");

}  // namespace

}  // namespace ops
