// Cameras: a sensor with an image format, a region of interest, a projection, and a tree of image operations through
// which every received frame passes.
//
// The life of a camera: constructed, LoadParams, On_Initialization, frames through Notify_Frame_Received_Async and
// Preprocess, On_ShutDown, destroyed. The tree has its root from the start; LoadParams gives the root its geometry, and
// from then on nodes can be added (after a later LoadParams they see the new geometry with the next frame). After
// On_ShutDown the tree is gone: a call that needs it stops the process. Shutting down twice, or never, is fine.
//
// Thread rule: one mutex guards the tree and the output nodes; the calls that take it say so. It is held while a frame
// runs, so a plugin must not make such a call on its own camera. Everything else expects one thread at a time.
#ifndef DEV_CAMERA_H
#define DEV_CAMERA_H

#include <array>
#include <boost/function.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/export.h"
#include "base/signal.h"
#include "dev/camera/preprocessor_node.h"
#include "dev/camera/roi.h"
#include "dev/camera_models.h"
#include "dev/camera_params.h"
#include "dev/frame.h"
#include "dev/lut_set.h"
#include "dev/sensor.h"

namespace dev {
namespace camera {

class VideoProperty;

}  // namespace camera

class ORVO_DEV_API CCamera : public CSensor
{
public:
    using Pair = std::pair<double, double>;
    using ImagePtr = boost::shared_ptr<const cimage::CImage>;
    using VideoPropertyPtr = boost::shared_ptr<camera::VideoProperty>;

    /// Makes the root node, "Source". Throws boost::thread_resource_error when there is no mutex to be had.
    CCamera();
    ~CCamera() override;

    /// Builds the sensor's panels, then the camera's. A second call replaces the first's.
    void On_Initialization();
    /// Ends every connection to the camera's signals and destroys the tree, waiting for a frame that is running.
    void On_ShutDown();

    /// Loads the sensor's part, then the camera's keys, and lets On_RoIChanged know; a file of format 1.0 has its
    /// orientation converted last. Throws std::runtime_error for a missing "FB" or an unknown model,
    /// std::invalid_argument for an "FB" that describes no image, boost::bad_lexical_cast for a token that is no
    /// number; what was read before stays, so load again. A bad "ROI", one that breaks the increments of
    /// SetRoIIncrements included, is a warning and gives the full frame; where that breaks them, the largest region
    /// from the top left pixel that does not; where there is none, the std::runtime_error of the region's check, with
    /// the old region.
    void LoadParams(const kt::ini::INIFile& ini, hws::Version version);
    /// Saves the sensor's part, then the camera's keys. Measured values that the file already holds stay as they are;
    /// a default that LoadParams recorded in it counts as one. Region and distortion are never written: all on purpose.
    /// "FB" is the text that was loaded. Throws std::logic_error before the first LoadParams.
    void SaveParams(kt::ini::INIFile& ini, hws::Version version);

    const camera::CRoI& RoI() const { return roi_; }
    /// Announces a region through On_RoIChanged and does nothing else: the camera's own region is the one that
    /// LoadParams resizes, on purpose.
    void SetRoI(const camera::CRoI& roi) { On_RoIChanged(roi); }
    /// Moves the camera's own region, as a host does while a camera runs; call it on the thread that runs the tree,
    /// between frames of the old region and of the new one. The increments stay the camera's; those of `roi` are not
    /// looked at. The region's optical centre moves against it, so that it stays where it is on the sensor. Remakes the
    /// working frames and calls On_RoIChanged; nodes behind the root see the new geometry with the next frame. As
    /// SaveParams writes no region, saving the new one is the host's business, with the centre that belongs to it.
    /// Throws, and changes nothing, std::invalid_argument for a region of another sensor, std::runtime_error for one
    /// that its check refuses, std::logic_error before the first LoadParams.
    void ChangeRoI(const camera::CRoI& roi);
    /// The steps in which the device moves and sizes its region, see camera::CRoI::SetIncrements; they hold for every
    /// region to come. Throws std::runtime_error, with the region as it was, when it breaks them (move it first) and
    /// before the first LoadParams.
    void SetRoIIncrements(unsigned int position_h, unsigned int position_v, unsigned int size_h, unsigned int size_v);

    const std::string& ImageFormat() const { return image_format_; }
    /// Pinhole until loaded. (Model() is the device's: the name that its vendor gave it.)
    CameraModel Projection() const { return projection_; }
    /// NoDistortion until loaded.
    LensModel Lens() const { return lens_; }
    const Pair& DistortionCenter() const { return distortion_center_; }
    const std::vector<double>& DistortionK() const { return distortion_k_; }
    const std::vector<double>& DistortionKRatio() const { return distortion_k_ratio_; }
    /// Optical centre in pixels, from the top left pixel of the region; pixel centres at whole numbers.
    const Pair& OpticalCenter() const { return optical_center_; }
    /// The same from the top left pixel of the sensor.
    const Pair& FullOpticalCenter() const { return full_optical_center_; }
    const Pair& FocalLength() const { return focal_length_; }  ///< pixels

    void SetFocalLength(double fx, double fy);
    /// From the top left pixel of the region; sets both forms.
    void SetOpticalCenter(double x, double y);
    /// The record as it holds for an image of the region; its size is zero until loaded.
    CameraParams Params() const;

    /// Raises the frame-received signal: every callback runs at once on the calling thread.
    void Notify_Frame_Received_Async(const TFrame<>& frame);
    void Do_On_Frame_AsyncReceived(const boost::function<void(const TFrame<>&)>& callback);

    /// Runs the frame's image through the tree, under the mutex. The tree holds the image until the next frame, or
    /// until On_ShutDown. Exceptions of plugins pass. A frame without an image reaches the root alone.
    void Preprocess(const TFrame<>& frame);

    // The tree; each call takes the mutex.

    /// Adds a node ("Operation Dst Src [Params]"); null, and the tree as before, when that fails (logged).
    camera::CPreprocessorNode* Preprocess_Add(const std::string& line);
    /// Removes a leaf. The output node stays, with a warning; removing the recording-output node puts the recording
    /// output back to the root, with a warning. Throws name_not_found and changes nothing for an unknown name.
    void Preprocess_Del(const std::string& name);
    /// The node of that name, or null. "Source" is the root. The pointer holds until the node is removed, or until
    /// On_ShutDown.
    camera::CPreprocessorNode* Preprocess_Find(const std::string& name);
    camera::CPreprocessorNode* Preprocess_OutNode();
    /// Chooses the output node, at first the root, and makes OutFrame() from its default image; a node that has none
    /// yet leaves OutFrame() empty. Throws name_not_found and changes nothing for an unknown name.
    void SetAsOut(const std::string& name);
    /// The same for the recording-output node.
    void SetAsRecOut(const std::string& name);

    /// A frame holding the recording-output node's default image. Takes no lock: call it on the thread that runs the
    /// tree, between frames or from a plugin.
    TFrame<> RecOutFrame() const;

    /// A frame of the output node's format and size, its pixels undefined; made by SetAsOut.
    const TFrame<>& OutFrame() const { return out_frame_; }
    /// Working frames for the host, of the region's size, remade by LoadParams. The library does not touch them.
    std::array<TFrame<>, 4>& WorkingFrames() { return frames_; }

    // The names of the tree. No lock: Preprocess_Add and Preprocess_Del refill the list under theirs.

    /// Refills the list of source names: every node, depth first, a node before its children.
    void CollectSources();
    static void CollectSources(const camera::CPreprocessorNode& node, std::list<std::string>& sources);
    const std::list<std::string>& Sources() const { return sources_; }

    /// Names of all registered operations, in ascending order.
    std::vector<std::string> Plugins() const;

    const ui::wgt::Widget& CameraPanel() const { return panel_; }

    // Video properties, made by the camera's driver. They call into the driver: clear them before it goes. Nothing here
    // clears them, On_ShutDown neither.

    /// Appends a property, of whatever name; not null.
    void AddVideoProperty(const VideoPropertyPtr& property) { video_properties_.push_back(property); }
    void ClearVideoProperties() { video_properties_.clear(); }
    /// In the order in which they were added.
    const std::vector<VideoPropertyPtr>& VideoProperties() const { return video_properties_; }
    /// The first property of that name, or none, with a warning.
    boost::optional<VideoPropertyPtr> VideoProperty(const std::string& name) const;

    // Lookup tables, see impl::LUTSet. LoadParams and SaveParams leave them to the host.

    void LoadLUTs(const kt::ini::INIFile& ini, const kt::CVarReplacer& vars) { luts_.Load(ini, vars); }
    void SaveLUTs(kt::ini::INIFile& ini, const boost::filesystem::path& dir) { luts_.Save(ini, dir); }
    const impl::LUTSet::Map& LUTs() const { return luts_.LUTs(); }
    LUTEntry LUT(const std::string& key) const { return luts_.LUT(key); }

protected:
    /// The region changed: logs it, allocates a new source image of the camera's own region and hands it to the root,
    /// which is initialised by the first one. `roi` is only printed, on purpose. Called by LoadParams, ChangeRoI and
    /// SetRoI on their caller's thread, without the mutex; takes it. Throws std::logic_error before the first
    /// LoadParams.
    virtual void On_RoIChanged(const camera::CRoI& roi);

private:
    void LoadRegion(const kt::ini::INIFile& ini);
    void RemakeImages();
    void LoadProjection(const kt::ini::INIFile& ini);
    void LoadFocalLength(const kt::ini::INIFile& ini, hws::Version version);
    camera::CPreprocessorNode& Find(const std::string& name);
    /// Called by the tree before it removes a node: false, with a warning, for the output node; the recording output
    /// leaves a leaf for the root.
    bool MayGo(const camera::CPreprocessorNode& node);
    friend class camera::CPreprocessorNode;

    std::array<TFrame<>, 4> frames_;
    TFrame<> out_frame_;
    ui::wgt::Panel panel_;
    base::Signal<void(const TFrame<>&)> frame_received_;

    camera::CRoI roi_;
    std::string image_format_;
    ImagePtr prototype_;      ///< of the full frame, as "FB" describes it; null until loaded
    ImagePtr working_image_;  ///< of the region's size
    ImagePtr source_image_;   ///< of the region's size, the root's geometry

    CameraModel projection_ = CameraModel::Pinhole;
    LensModel lens_ = LensModel::NoDistortion;
    Pair distortion_center_{0.0, 0.0};
    std::vector<double> distortion_k_;
    std::vector<double> distortion_k_ratio_;
    Pair optical_center_{0.0, 0.0};
    Pair full_optical_center_{0.0, 0.0};
    Pair focal_length_{0.0, 0.0};

    std::vector<VideoPropertyPtr> video_properties_;
    impl::LUTSet luts_;

    std::list<std::string> sources_;
    boost::mutex mutex_;
    std::unique_ptr<camera::CPreprocessorNode> tree_;  ///< null after On_ShutDown
    // Into the tree. On_ShutDown leaves them as they are, on purpose: only what found tree_ there may follow them.
    camera::CPreprocessorNode* root_;
    camera::CPreprocessorNode* out_node_;
    camera::CPreprocessorNode* rec_out_node_;
    bool root_initialized_ = false;
};

}  // namespace dev

#endif
