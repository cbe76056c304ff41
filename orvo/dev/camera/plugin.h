// Plugins: the image operations of a camera's preprocessing tree.
#ifndef DEV_CAMERA_PLUGIN_H
#define DEV_CAMERA_PLUGIN_H

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/tokenizer.hpp>
#include <map>
#include <string>
#include <typeinfo>

#include "base/export.h"
#include "orvo_proc_cimage/image.h"
#include "orvo_ui/widget.h"
#include "orvo_ui/window.h"

namespace dev {

class CCamera;
class CCameraMap;

namespace camera {

/// Base of every image operation: reads the image of its source node, writes named output images, and shows what it
/// likes in windows of its own. The image under the empty name is the default output, which child nodes receive.
///
/// The life of a plugin: created by the factory, SetOperation, SetSource, Control, Initialize, then Execute per frame;
/// a new geometry comes as SetSource. Connect may come at any time, or never: look the camera map up when it is needed.
/// All calls come on the thread that drives the camera's tree; the class takes no lock.
class ORVO_DEV_API Plugin : private boost::noncopyable
{
public:
    using ImagePtr = boost::shared_ptr<const cimage::CImage>;

    Plugin();
    virtual ~Plugin();

    /// Names the operation and parses its options.
    void SetOperation(const std::string& operation, const std::string& options);

    /// Adds the options of a text to the map: tokens between runs of blanks, tabs and semicolons; "key=value" splits at
    /// the first "=", any other token is a positional value under "$1" to "$9". A key that is present keeps its value.
    /// Throws std::runtime_error for a tenth positional value.
    void ParseOptions(const std::string& options);

    void Connect(CCameraMap& cameras) { camera_map_ = &cameras; }
    void Control(CCamera& camera) { camera_ = &camera; }

    /// Gives the geometry of the images to come: the plugin keeps a new image of that kind and size as its source. The
    /// first call makes the default window, 320 x 240. A null image stops the process.
    void SetSource(const ImagePtr& image);

    /// Titles the default window CAMERA_OPERATION, then starts the operation: On_Initialization, On_Source_Changed,
    /// On_Output_Change. Without a camera the title has no name in front.
    void Initialize();

    /// Runs the operation on one frame: every output that holds an image is renewed first, so that a consumer that
    /// still holds the previous frame's outputs is never written to.
    void Execute(const ImagePtr& image);

    /// Lets the plugin lay its outputs out again; nothing happens before Initialize, on purpose.
    void ChangeOutput();

    /// Fits the default window to the source image. A source that was never set stops the process.
    void ResizeDefaultWnd();

    /// Draws the first image of Images() on the default window if that is visible. No image at all stops the process.
    void DrawImageOnDefaultWindow();

    const std::string& Name() const { return name_; }
    void Rename(const std::string& name) { name_ = name; }
    const std::string& Operation() const { return operation_; }
    const std::map<std::string, std::string>& Options() const { return options_; }
    const std::map<std::string, ImagePtr>& Images() const { return images_; }
    /// The output of that name, or null; nothing is inserted.
    ImagePtr Image(const std::string& name) const;
    ui::win::WindowsMap& Windows() { return windows_; }
    ui::win::CWindow& Window(const std::string& name) { return windows_.Window(name); }
    ui::win::CWindow& Wnd(const std::string& name) { return windows_.Wnd(name); }
    const ui::wgt::Widget& Page() const { return page_; }

    /// Delimiters of node lines and option texts: " \t;", dropped, no empty tokens.
    static const boost::char_separator<char> sep;

    /// For plugin implementations that share something; the library itself never locks it.
    static boost::mutex m_mtx;

protected:
    // Hooks, called on the tree's thread. An exception leaves Initialize, SetSource or Execute as it is: while a node
    // is being added it undoes the node, while a frame is running it ends the frame.

    /// Once, from Initialize, with operation, options, source and camera set: read options, make windows.
    virtual void On_Initialization() {}
    /// Per frame: read `image`, put results into the images map, at least under "" if children are to receive anything.
    virtual void On_Execute(const ImagePtr& image);
    /// The geometry of the input is known or has changed.
    virtual void On_Source_Changed() { ResizeDefaultWnd(); }
    /// Lay the images map out anew.
    virtual void On_Output_Change() {}

    /// For On_Execute: makes `image` the default output. The image that was renewed for nothing serves the next frame.
    void PassOn(const ImagePtr& image);

    /// The value of an option, or `fallback`.
    std::string Option(const std::string& key, const std::string& fallback) const;

    ui::wgt::Widget page_;
    CCameraMap* camera_map_ = nullptr;
    CCamera* camera_ = nullptr;
    ImagePtr source_;
    std::map<std::string, std::string> options_;
    std::map<std::string, ImagePtr> images_;
    ui::win::WindowsMap windows_;
    std::string operation_;
    std::string name_;
    bool initialized_ = false;

private:
    void RenewDefault(ImagePtr& output);

    ImagePtr spare_;                              ///< renewed and passed over: as good as new, or null
    const cimage::CImage* renewed_ = nullptr;     ///< the default output as this frame renewed it, or null
    const std::type_info* renewed_by_ = nullptr;  ///< the class whose New() made it, and so the spare
};

namespace plugin {

/// Hands the image on as it is.
class ORVO_DEV_API Root : public Plugin
{
protected:
    void On_Execute(const ImagePtr& image) override;
    void On_Output_Change() override;
};

}  // namespace plugin
}  // namespace camera
}  // namespace dev

#endif
