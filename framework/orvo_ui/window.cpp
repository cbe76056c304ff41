#include "orvo_ui/window.h"

#include <boost/make_shared.hpp>
#include <boost/optional.hpp>
#include <map>
#include <memory>
#include <mutex>

#include "orvo_ui/detail/observers.h"

namespace ui {
namespace win {

using ImagePtr = boost::shared_ptr<const cimage::CImage>;
using Lock = std::lock_guard<std::mutex>;

struct CWindow::State
{
    std::mutex mutex;
    std::string title;
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int view_width = 0;
    unsigned int view_height = 0;
    ImagePtr drawn;    ///< since Clear()
    ImagePtr picture;  ///< of the last Refresh
    std::uint64_t generation = 0;
    boost::optional<bool> shown;  ///< as long as no front end has said: none

    detail::Observers<> observers;  ///< has a lock of its own
};

CWindow::CWindow(unsigned int width, unsigned int height) : state_(new State)
{
    state_->width = state_->view_width = width;
    state_->height = state_->view_height = height;
}

CWindow::~CWindow() = default;

void CWindow::SetTitle(const std::string& title)
{
    Lock lock(state_->mutex);
    state_->title = title;
}

void CWindow::SetSize(unsigned int width, unsigned int height)
{
    Lock lock(state_->mutex);
    state_->width = width;
    state_->height = height;
}

void CWindow::SetVirtualView(unsigned int width, unsigned int height)
{
    Lock lock(state_->mutex);
    state_->view_width = width;
    state_->view_height = height;
}

// Images that are let go end behind the lock: a wrapped one calls its owner then.

void CWindow::Clear()
{
    ImagePtr gone;
    Lock lock(state_->mutex);
    gone.swap(state_->drawn);
}

void CWindow::DrawImage(const ImagePtr& image)
{
    ImagePtr drawn = image;
    Lock lock(state_->mutex);
    drawn.swap(state_->drawn);
}

void CWindow::Refresh(bool notify)
{
    ImagePtr gone;
    {
        Lock lock(state_->mutex);
        gone.swap(state_->picture);
        state_->picture = state_->drawn;
        ++state_->generation;
    }
    if (notify)
        state_->observers.Notify();
}

bool CWindow::IsVisible(bool unless_known) const
{
    Lock lock(state_->mutex);
    return state_->shown.value_or(unless_known);
}

void CWindow::Show(bool visible)
{
    Lock lock(state_->mutex);
    state_->shown = visible;
}

std::string CWindow::Title() const
{
    Lock lock(state_->mutex);
    return state_->title;
}

unsigned int CWindow::Width() const
{
    Lock lock(state_->mutex);
    return state_->width;
}

unsigned int CWindow::Height() const
{
    Lock lock(state_->mutex);
    return state_->height;
}

unsigned int CWindow::ViewWidth() const
{
    Lock lock(state_->mutex);
    return state_->view_width;
}

unsigned int CWindow::ViewHeight() const
{
    Lock lock(state_->mutex);
    return state_->view_height;
}

ImagePtr CWindow::Picture() const
{
    ImagePtr picture;
    Lock lock(state_->mutex);
    picture = state_->picture;
    return picture;
}

std::uint64_t CWindow::Generation() const
{
    Lock lock(state_->mutex);
    return state_->generation;
}

std::size_t CWindow::Connect(const boost::function<void()>& observer)
{
    return state_->observers.Connect(observer);
}

void CWindow::Disconnect(std::size_t connection)
{
    state_->observers.Disconnect(connection);
}

struct WindowsMap::State
{
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<CWindow>> windows;
};

WindowsMap::WindowsMap() : state_(new State) {}

void WindowsMap::Insert(const std::string& name, unsigned int width, unsigned int height)
{
    Lock lock(state_->mutex);
    std::unique_ptr<CWindow>& window = state_->windows[name];
    if (!window)
        window.reset(new CWindow(width, height));
}

CWindow& WindowsMap::Window(const std::string& name)
{
    Lock lock(state_->mutex);
    std::unique_ptr<CWindow>& window = state_->windows[name];
    if (!window)
        window.reset(new CWindow(320, 240));
    return *window;
}

std::vector<std::string> WindowsMap::Windows() const
{
    std::vector<std::string> names;
    Lock lock(state_->mutex);
    for (const auto& window : state_->windows)
        names.push_back(window.first);
    return names;
}

}  // namespace win
}  // namespace ui
