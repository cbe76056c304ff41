// Image windows: each keeps the picture that was drawn last, by reference, so that nothing is copied or encoded unless
// someone looks.
#ifndef ORVO_UI_WINDOW_H
#define ORVO_UI_WINDOW_H

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo_ui/export.h"

namespace cimage {
class CImage;
}

namespace ui {
namespace win {

/// One image window, with no title at first and its size as the view. Safe on any thread. A window is visible while a
/// front end shows it (Show); drawing into a window that nobody shows is allowed and costs a reference.
class ORVO_UI_API CWindow : private boost::noncopyable
{
public:
    /// Sizes in pixels.
    CWindow(unsigned int width, unsigned int height);
    ~CWindow();

    void SetTitle(const std::string& title);
    /// Size of the window itself.
    void SetSize(unsigned int width, unsigned int height);
    /// Size of the coordinates that are drawn in, which the front end scales to the window.
    void SetVirtualView(unsigned int width, unsigned int height);
    /// Forgets what was drawn; the picture stays until the next Refresh.
    void Clear();
    /// Takes a reference to the image; it shows from the next Refresh on.
    void DrawImage(const boost::shared_ptr<const cimage::CImage>& image);
    /// Makes what was drawn last since Clear(), which may be nothing, the picture of the window. With `notify`, the
    /// observers hear of it, on the calling thread and with no lock held.
    void Refresh(bool notify);
    /// True while a front end shows the window. `unless_known` is the answer as long as no front end has said.
    bool IsVisible(bool unless_known) const;

    // The front end's side.

    /// A front end begins (or ends) to show the window.
    void Show(bool visible);
    std::string Title() const;
    unsigned int Width() const;
    unsigned int Height() const;
    unsigned int ViewWidth() const;
    unsigned int ViewHeight() const;
    /// The picture of the last Refresh, or null.
    boost::shared_ptr<const cimage::CImage> Picture() const;
    /// Counts the Refreshes, so that a front end can tell a new picture from the old.
    std::uint64_t Generation() const;

    /// Calls `observer` at each Refresh(true) until the returned number is given to Disconnect(). After that a call
    /// that another thread had begun may still be running.
    std::size_t Connect(const boost::function<void()>& observer);
    void Disconnect(std::size_t connection);

private:
    struct State;
    boost::shared_ptr<State> state_;
};

/// Windows by name. Copies share the windows. Safe on any thread.
class ORVO_UI_API WindowsMap
{
public:
    WindowsMap();

    /// Creates the window of that name, sizes in pixels; one that exists stays as it is.
    void Insert(const std::string& name, unsigned int width, unsigned int height);
    /// The window of that name, created at 320 x 240 when there is none. It lives as long as the map or a copy of it.
    CWindow& Window(const std::string& name);
    /// The same window.
    CWindow& Wnd(const std::string& name) { return Window(name); }
    /// The names, in ascending order.
    std::vector<std::string> Windows() const;

private:
    struct State;
    boost::shared_ptr<State> state_;
};

}  // namespace win
}  // namespace ui

#endif
