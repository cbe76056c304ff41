// What every operation here has in common: one input, one default output, laid out when the geometry of the input is
// known and not again while it stays.
#ifndef COMMON_OPERATION_H
#define COMMON_OPERATION_H

#include <boost/shared_ptr.hpp>
#include <opencv2/core.hpp>
#include <string>

#include "common/options.h"
#include "dev/camera/plugin.h"
#include "dev/camera/plugin_factory.h"
#include "orvo_proc_cimage/image.h"

namespace ops {

/// Base of the operations. A derived class reads its options in On_Initialization(), says in Layout() what it makes of
/// an input, and fills the output in Run(). Input that differs in format, size or grid from what came before, as it
/// does after an operation upstream has changed, is laid out anew before it is run.
class COperation : public dev::camera::Plugin
{
protected:
    /// The options of this node. Throws std::runtime_error for one that is not in `known`.
    COptions Options(const std::vector<std::string>& known) const { return COptions(operation_, options_, known); }

    /// The output for inputs of the format, size and grid of `input`: an image of the pool with its grid set; or null
    /// when such input is handed on as it is. The pixels of `input` are undefined.
    /// Throws std::runtime_error, see Refuse(), for input that the operation cannot take.
    virtual boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) = 0;

    /// True when something else than the input has changed that Layout() depends on. Called before each frame.
    virtual bool IsOutdated(const cimage::CImage& input);

    /// Fills `output`, the pixels of an image as Layout() made it, which must stay where it is in memory.
    virtual void Run(const cv::Mat& input, cv::Mat& output) = 0;

    /// Throws std::runtime_error "OPERATION: found FOUND, wanted WANTED".
    [[noreturn]] void Refuse(const std::string& found, const std::string& wanted) const;
    /// The same for a format of the input.
    [[noreturn]] void RefuseFormat(const cimage::CImage& input, const std::string& wanted) const;

private:
    void On_Source_Changed() final;
    void On_Output_Change() final;
    void On_Execute(const ImagePtr& image) final;
    void LayOut();

    bool hands_on_ = false;
};

}  // namespace ops

#endif
