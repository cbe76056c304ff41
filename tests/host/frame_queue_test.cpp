#include "run/frame_queue.h"

#include <gtest/gtest.h>
#include <numeric>
#include <thread>

#include "orvo_proc_cimage/image.h"

namespace {

using host::CFrameQueue;
using Taken = CFrameQueue::Taken;
using Ending = CFrameQueue::Ending;
using Numbers = std::vector<std::uint64_t>;

class FrameQueueTest : public testing::Test
{
protected:
    static dev::TFrame<> Frame(std::uint64_t number)
    {
        dev::TFrame<> frame;
        frame.counter1 = number;
        frame.image = image;
        return frame;
    }

    void Offer(std::uint64_t first, std::uint64_t last)
    {
        for (std::uint64_t number = first; number <= last; ++number)
            queue_.Offer(Frame(number));
    }

    /// The numbers of the frames that come until the queue says something else, which `last_` keeps.
    Numbers TakeAll(CFrameQueue& queue)
    {
        Numbers numbers;
        dev::TFrame<> frame;
        while ((last_ = queue.Take(frame)) == Taken::Frame)
            numbers.push_back(frame.counter1);
        return numbers;
    }

    static inline const boost::shared_ptr<const cimage::CImage> image = cimage::Build("Mono8 8x6");
    int wakes_ = 0;
    int limits_ = 0;
    Taken last_ = Taken::Frame;
    CFrameQueue queue_{0, [this] { ++wakes_; }, [this] { ++limits_; }};
};

TEST_F(FrameQueueTest, TheNewestWinAndTheOldestAreCounted)
{
    Offer(1, 10);
    EXPECT_EQ(image.use_count(), 5);  // those that lost are gone
    EXPECT_EQ(TakeAll(queue_), (Numbers{7, 8, 9, 10}));
    EXPECT_EQ(image.use_count(), 1);
    EXPECT_EQ(last_, Taken::Empty);
    EXPECT_EQ(queue_.Counts().delivered, 10u);
    EXPECT_EQ(queue_.Counts().queue_full, 6u);
    EXPECT_EQ(queue_.Counts().stopped, 0u);
}

TEST_F(FrameQueueTest, WakesTheWorkerOncePerRest)
{
    Offer(1, 3);
    EXPECT_EQ(wakes_, 1);
    TakeAll(queue_);
    EXPECT_EQ(wakes_, 1);
    Offer(4, 5);
    EXPECT_EQ(wakes_, 2);
    TakeAll(queue_);
    queue_.End();  // wakes a worker at rest, too
    EXPECT_EQ(wakes_, 3);
    EXPECT_EQ(TakeAll(queue_), Numbers{});
    EXPECT_EQ(last_, Taken::End);
}

TEST_F(FrameQueueTest, PushWaitsForRoomAndLosesNothing)
{
    std::thread source([this] {
        for (std::uint64_t number = 1; number <= 1000; ++number)
            EXPECT_TRUE(queue_.Push(Frame(number)));
        queue_.End();
    });
    Numbers numbers;
    while (last_ != Taken::End)
        for (const std::uint64_t number : TakeAll(queue_))
            numbers.push_back(number);
    source.join();
    Numbers expected(1000);
    std::iota(expected.begin(), expected.end(), 1u);
    EXPECT_EQ(numbers, expected);
    EXPECT_EQ(queue_.Counts().queue_full, 0u);
}

TEST_F(FrameQueueTest, ClosingEndsAPushThatWaitsAndDoesNotCountItsFrame)
{
    Offer(1, 4);
    std::thread source([this] { EXPECT_FALSE(queue_.Push(Frame(5))); });
    queue_.Close(Ending::Finish);
    source.join();
    Offer(6, 7);
    EXPECT_EQ(TakeAll(queue_), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(queue_.Counts().delivered, 4u);
}

TEST_F(FrameQueueTest, StoppingDropsWhatWaitsByName)
{
    Offer(1, 5);
    queue_.Close(Ending::Drop);
    EXPECT_EQ(TakeAll(queue_), Numbers{});
    EXPECT_EQ(queue_.Counts().delivered, 5u);
    EXPECT_EQ(queue_.Counts().queue_full, 1u);
    EXPECT_EQ(queue_.Counts().stopped, 4u);
}

TEST_F(FrameQueueTest, AnotherRegionDropsWhatWaitsAndGoesOn)
{
    Offer(1, 3);
    queue_.DropOldRegion();
    Offer(4, 5);
    EXPECT_EQ(TakeAll(queue_), (Numbers{4, 5}));
    EXPECT_EQ(queue_.Counts().delivered, 5u);
    EXPECT_EQ(queue_.Counts().region_changed, 3u);
}

TEST_F(FrameQueueTest, TakesNoMoreThanItsLimit)
{
    CFrameQueue limited(
        3, [] {}, [this] { ++limits_; });
    EXPECT_TRUE(limited.Push(Frame(1)));
    limited.Offer(Frame(2));
    EXPECT_EQ(limits_, 0);
    EXPECT_TRUE(limited.Push(Frame(3)));
    EXPECT_FALSE(limited.Push(Frame(4)));
    limited.Offer(Frame(5));
    EXPECT_EQ(limits_, 1);
    EXPECT_EQ(TakeAll(limited), (Numbers{1, 2, 3}));
    EXPECT_EQ(limited.Counts().delivered, 3u);
}

}  // namespace
