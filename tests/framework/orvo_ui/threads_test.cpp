// One thread builds and drops what others read. The thread sanitizer is the judge; the counts show that both sides ran.
#include <gtest/gtest.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>
#include <thread>

#include "framework/orvo_ui/text_variable.h"
#include "orvo_proc_cimage/image.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/window.h"

using ui::wgt::Widget;

namespace {

/// Runs `work` on a thread until the test is done with it, which it should not be before both have run a while.
class Meanwhile
{
public:
    template <typename Work>
    explicit Meanwhile(Work work)
        : thread_([this, work] {
              do {
                  work();
                  runs_.fetch_add(1, std::memory_order_relaxed);
              } while (!done_);
          })
    {
    }

    ~Meanwhile()
    {
        done_ = true;
        thread_.join();
    }

    /// Relaxed, because a stronger order would be a lock of its own and hide what is missing.
    bool Enough() const { return runs_.load(std::memory_order_relaxed) >= 3000; }

private:
    std::atomic<bool> done_{false};
    std::atomic<int> runs_{0};
    std::thread thread_;
};

}  // namespace

TEST(Threads, TreesAndPicturesAreReadWhileTheyAreBuiltAndDropped)
{
    ui::detail::PanelManager& manager = ui::PanelManagerInstance();
    std::atomic<int> heard{0};
    std::atomic<long> newest{-1};
    Widget standing("panel");  // there for the reader at any moment, beside those that come and go
    ui::win::CWindow window(4, 4);
    const Meanwhile viewer([&] {
        window.Show(true);
        window.Picture();
        window.Generation();
    });
    const Meanwhile reader([&] {
        for (const Widget& panel : manager.Panels()) {
            boost::property_tree::ptree tree;
            manager.Describe(panel, tree);
        }
        const long id = newest.load(std::memory_order_relaxed);
        manager.Widget(id);
        manager.Variable(id);
        manager.Revision();
    });
    const Meanwhile listener([&] {
        const std::size_t connection = manager.Connect([&](long) { ++heard; });
        manager.NotifyDataChanged(newest.load(std::memory_order_relaxed));
        manager.Disconnect(connection);
    });

    for (int i = 0; !reader.Enough() || !listener.Enough() || !viewer.Enough(); ++i) {
        window.Clear();
        window.DrawImage(cimage::Build("Mono8 4x4"));
        window.Refresh(true);
        Widget panel("panel"), sizer("vsizer");
        panel.Add(sizer);
        const ui::var::Base variable(boost::make_shared<test::TextVariable>("value"));
        newest.store(variable.Id(), std::memory_order_relaxed);
        Widget box("textbox", variable.Id());
        sizer.Add(box);
        box.Label("label").Enable(i % 2 == 0);
        variable.Update();
        standing.Add(panel);
        standing.Add(box);
        standing.Attr("round", i);
        panel.Detach();
        box.Detach();
    }
    EXPECT_GT(heard, 0);
}
