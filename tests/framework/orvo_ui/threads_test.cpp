// One thread builds and drops what others read. The thread sanitizer is the judge; the counts show that both sides ran.
#include <gtest/gtest.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>
#include <stdexcept>
#include <thread>

#include "framework/orvo_ui/text_variable.h"
#include "orvo_proc_cimage/image.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/window.h"

using ui::wgt::Widget;

namespace {

const int rounds = 300;

/// Runs `work` on a thread until the test is done with it.
class Meanwhile
{
public:
    template <typename Work>
    explicit Meanwhile(Work work)
        : thread_([this, work] {
              do {
                  work();
                  ++runs_;
              } while (!done_);
          })
    {
        while (runs_ == 0)
            std::this_thread::yield();
    }

    ~Meanwhile()
    {
        done_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> done_{false};
    std::atomic<int> runs_{0};
    std::thread thread_;
};

}  // namespace

TEST(Threads, TreesAreReadWhileTheyAreBuiltAndDropped)
{
    ui::detail::PanelManager& manager = ui::PanelManagerInstance();
    std::atomic<int> heard{0};
    std::atomic<long> newest{-1};
    const Meanwhile reader([&] {
        for (const Widget& panel : manager.Panels()) {
            boost::property_tree::ptree tree;
            manager.Describe(panel, tree);
        }
        const long id = newest;
        manager.Widget(id);
        manager.Variable(id);
        manager.Revision();
    });
    const Meanwhile listener([&] {
        const std::size_t connection = manager.Connect([&](long) { ++heard; });
        manager.NotifyDataChanged(newest);
        manager.Disconnect(connection);
    });

    for (int i = 0; i < rounds; ++i) {
        Widget panel("panel");
        Widget sizer("vsizer");
        panel.Add(sizer);
        const ui::var::Base variable(boost::make_shared<test::TextVariable>("value"));
        newest = variable.Id();
        Widget box("textbox", variable.Id());
        sizer.Add(box);
        box.Label("label").Enable(i % 2 == 0);
        variable.Update();
        box.Detach();
        panel.Add(box);
        panel.Attr("round", i);
    }
    EXPECT_GT(heard, 0);
}

TEST(Threads, BranchesMoveBetweenTreesThatTwoThreadsShare)
{
    Widget left("panel");
    Widget right("panel");
    const Widget branch("vsizer");
    const auto Move = [](Widget from, Widget to, Widget moved) {
        try {
            to.Add(moved);
            moved.Add(from);
            from.Detach();
        } catch (const std::logic_error&) {
            // The other thread was just between its last two steps: this one would have closed a ring.
        }
    };
    {
        const Meanwhile other([&] { Move(left, right, branch); });
        for (int i = 0; i < rounds; ++i)
            Move(right, left, branch);
    }
    left.Detach();
    right.Detach();
    EXPECT_LE(left.Children().size() + right.Children().size(), 1U) << "the branch is in one tree at most";
}

TEST(Threads, PicturesAreTakenWhileTheyAreDrawn)
{
    ui::win::WindowsMap windows;
    const Meanwhile viewer([&] {
        ui::win::CWindow& window = windows.Window("");
        window.Show(true);
        window.Picture();
        window.Generation();
        windows.Windows();
    });
    for (int i = 0; i < rounds; ++i) {
        ui::win::CWindow& window = windows.Window("");
        window.Clear();
        window.DrawImage(cimage::Build("Mono8 4x4"));
        window.Refresh(true);
        windows.Insert(std::to_string(i % 8), 4, 4);
    }
    EXPECT_EQ(windows.Window("").Generation(), static_cast<std::uint64_t>(rounds));
}
