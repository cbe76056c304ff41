#include "dev/camera/plugin.h"

#include <stdexcept>
#include <utility>

#include "base/require.h"
#include "dev/camera.h"

namespace dev {
namespace camera {

const boost::char_separator<char> Plugin::sep(" \t;");
boost::mutex Plugin::m_mtx;

Plugin::Plugin() : page_("notebook")
{
    page_.HExpand(1).VExpand(1);
}

// What shows on the page reads and writes fields of the plugin: a front end that still holds the page finds it empty.
Plugin::~Plugin()
{
    page_.Detach();
    for (ui::wgt::Widget& widget : page_.Children())
        widget.Detach();
}

void Plugin::SetOperation(const std::string& operation, const std::string& options)
{
    operation_ = operation;
    ParseOptions(options);
    page_.Label(operation_);
}

void Plugin::ParseOptions(const std::string& options)
{
    static const char digits[] = "123456789";
    const char* digit = digits;
    const boost::tokenizer<boost::char_separator<char>> tokens(options, sep);
    for (const std::string& token : tokens) {
        const std::string::size_type equals = token.find('=');
        if (equals != std::string::npos) {
            options_.insert(std::make_pair(token.substr(0, equals), token.substr(equals + 1)));
            continue;
        }
        if (*digit == '\0')
            throw std::runtime_error("Plugin options: found a tenth positional value, \"" + token +
                                     "\", wanted nine at most");
        options_.insert(std::make_pair(std::string("$") + *digit++, token));
    }
}

void Plugin::SetSource(const ImagePtr& image)
{
    ORVO_REQUIRE(image);
    source_ = image->New(image->Width(), image->Height());
    if (initialized_)
        On_Source_Changed();
    else
        windows_.Insert("", 320, 240);
}

void Plugin::Initialize()
{
    std::string title = camera_ ? camera_->Name() : std::string();
    // A root plugin has no operation name at all, and therefore the bare "_" in its title, on purpose.
    if (operation_ != "Identity")
        title += "_" + operation_;
    Wnd("").SetTitle(title);
    On_Initialization();
    initialized_ = true;
    On_Source_Changed();
    ChangeOutput();
}

void Plugin::Execute(const ImagePtr& image)
{
    renewed_ = nullptr;
    // The empty name of the default output sorts first.
    auto output = images_.begin();
    if (output != images_.end() && output->first.empty()) {
        if (output->second)
            RenewDefault(output->second);
        ++output;
    }
    for (; output != images_.end(); ++output)
        if (output->second)
            output->second = output->second->New(output->second->Width(), output->second->Height());
    On_Execute(image);
}

// A plugin that passes its input on never lets anyone see the image that was renewed for it, so the same one can be
// renewed again: that saves the two locked instructions with which a new image goes, half of what such a node costs.
void Plugin::RenewDefault(ImagePtr& output)
{
    const cimage::CImage& old = *output;
    const std::type_info& maker = typeid(old);
    if (spare_ && renewed_by_ == &maker && spare_.use_count() == 1 && spare_->IsLike(old))
        output = std::move(spare_);
    else
        output = old.New(old.Width(), old.Height());
    renewed_by_ = &maker;
    renewed_ = output.get();
}

void Plugin::PassOn(const ImagePtr& image)
{
    const auto output = images_.begin();
    if (output == images_.end() || !output->first.empty()) {
        images_[std::string()] = image;
        return;
    }
    // Anything else under the name came from outside, and others may write to it or wait for it.
    if (output->second.get() == renewed_)
        spare_ = std::move(output->second);
    renewed_ = nullptr;
    output->second = image;
}

void Plugin::ChangeOutput()
{
    if (initialized_)
        On_Output_Change();
}

void Plugin::ResizeDefaultWnd()
{
    ORVO_REQUIRE(source_);
    ui::win::CWindow& window = Wnd("");
    window.SetSize(source_->Width(), source_->Height());
    window.SetVirtualView(source_->Width(), source_->Height());
}

void Plugin::DrawImageOnDefaultWindow()
{
    ORVO_REQUIRE(!images_.empty());
    ui::win::CWindow& window = Wnd("");
    if (!window.IsVisible(false))
        return;
    window.Clear();
    window.DrawImage(images_.begin()->second);
    window.Refresh(true);
}

Plugin::ImagePtr Plugin::Image(const std::string& name) const
{
    const auto found = images_.find(name);
    return found == images_.end() ? ImagePtr() : found->second;
}

void Plugin::On_Execute(const ImagePtr&) {}

std::string Plugin::Option(const std::string& key, const std::string& fallback) const
{
    const auto found = options_.find(key);
    return found == options_.end() ? fallback : found->second;
}

namespace plugin {

void Root::On_Execute(const ImagePtr& image)
{
    PassOn(image);
}

void Root::On_Output_Change()
{
    ORVO_REQUIRE(source_);
    images_.clear();
    images_[std::string()] = source_;
}

}  // namespace plugin
}  // namespace camera
}  // namespace dev
