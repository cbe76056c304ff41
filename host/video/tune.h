// Settings changed by lines of text while cameras run:
//
//   CAMERA NAME = VALUE    sets a setting, "left Exposure.Time = 2000", or, as ROI, the region: "left ROI = 256 256"
//   CAMERA NAME            tells its value and limits; of a property, "left Gain", those of all its settings
//   CAMERA                 tells those of all its settings
//   save                   writes the settings of all cameras into the rig file
//
// Empty lines and those that begin with '#' say nothing. A camera's name may hold blanks.
#ifndef HOST_VIDEO_TUNE_H
#define HOST_VIDEO_TUNE_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "video/attributes.h"

namespace host {

class CConsole;

/// A running camera, as far as it can be tuned.
class CTunable
{
public:
    virtual ~CTunable() = default;

    virtual const std::string& Name() const = 0;
    virtual const CVideoAttributes& Settings() const = 0;

    /// Runs `work` soon, between two frames of the camera, or after the last one. Any thread; does not wait for it.
    virtual void BetweenFrames(std::function<void()> work) = 0;

    // Between frames.

    /// As the key ROI has it, all four edges.
    virtual std::string Region() const = 0;
    /// Throws std::runtime_error, "found …, wanted …".
    virtual void ChangeRegion(const std::string& text) = 0;
};

/// Answers on the console: "ok: ..." with the value that the camera took, or "error: ...". One thread at a time.
class CTune
{
public:
    /// The cameras must outlive it.
    CTune(std::filesystem::path rig, std::vector<CTunable*> cameras, CConsole& console);

    /// Returns when the line is done. Not to be called between frames.
    void Do(const std::string& line);

private:
    CTunable* CameraOf(const std::string& line) const;
    std::string Answer(const std::string& line) const;
    std::string Save() const;

    const std::filesystem::path rig_;
    const std::vector<CTunable*> cameras_;
    CConsole& console_;
};

}  // namespace host

#endif
