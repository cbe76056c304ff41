#include "run/frame_queue.h"

#include <gtest/gtest.h>
#include <thread>

#include "orvo_proc_cimage/image.h"

namespace {

using host::CFrameQueue;
using Taken = CFrameQueue::Taken;
using Ending = CFrameQueue::Ending;

class FrameQueueTest : public testing::Test
{
protected:
    static dev::TFrame<> Frame(std::uint64_t number)
    {
        dev::TFrame<> frame;
        frame.counter1 = number;
        return frame;
    }

    void Offer(std::uint64_t first, std::uint64_t last)
    {
        for (std::uint64_t number = first; number <= last; ++number)
            queue_.Offer(Frame(number));
    }

    /// The numbers of the frames that come until the queue says something else, which `last` keeps.
    std::vector<std::uint64_t> TakeAll(CFrameQueue& queue)
    {
        std::vector<std::uint64_t> numbers;
        dev::TFrame<> frame;
        while ((last_ = queue.Take(frame)) == Taken::Frame)
            numbers.push_back(frame.counter1);
        return numbers;
    }
    std::vector<std::uint64_t> TakeAll() { return TakeAll(queue_); }

    int wakes_ = 0;
    int limits_ = 0;
    Taken last_ = Taken::Frame;
    CFrameQueue queue_{0, [this] { ++wakes_; }, [this] { ++limits_; }};
    CFrameQueue limited_{3, [this] { ++wakes_; }, [this] { ++limits_; }};
};

using Numbers = std::vector<std::uint64_t>;

TEST_F(FrameQueueTest, TheNewestWinAndTheOldestAreCounted)
{
    Offer(1, 10);
    EXPECT_EQ(TakeAll(), (Numbers{7, 8, 9, 10}));
    EXPECT_EQ(last_, Taken::Empty);
    const auto counts = queue_.Counts();
    EXPECT_EQ(counts.delivered, 10u);
    EXPECT_EQ(counts.queue_full, 6u);
    EXPECT_EQ(counts.stopped, 0u);
}

TEST_F(FrameQueueTest, WakesTheWorkerOncePerRest)
{
    Offer(1, 3);
    EXPECT_EQ(wakes_, 1);
    TakeAll();
    EXPECT_EQ(wakes_, 1);
    Offer(4, 5);
    EXPECT_EQ(wakes_, 2);
    queue_.End();
    EXPECT_EQ(wakes_, 2);  // the worker is still at it, and will see the end itself
    EXPECT_EQ(TakeAll(), (Numbers{4, 5}));
    EXPECT_EQ(last_, Taken::End);
}

TEST_F(FrameQueueTest, TheEndWakesAWorkerAtRest)
{
    Offer(1, 1);
    TakeAll();
    queue_.End();
    EXPECT_EQ(wakes_, 2);
    EXPECT_EQ(TakeAll(), Numbers{});
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
        for (const std::uint64_t number : TakeAll())
            numbers.push_back(number);
    source.join();
    Numbers expected(1000);
    for (std::size_t i = 0; i < expected.size(); ++i)
        expected[i] = i + 1;
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
    EXPECT_FALSE(queue_.Push(Frame(8)));
    EXPECT_EQ(TakeAll(), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(queue_.Counts().delivered, 4u);
}

TEST_F(FrameQueueTest, StoppingDropsWhatWaitsByName)
{
    Offer(1, 5);
    queue_.Close(Ending::Drop);
    EXPECT_EQ(TakeAll(), Numbers{});
    const auto counts = queue_.Counts();
    EXPECT_EQ(counts.delivered, 5u);
    EXPECT_EQ(counts.queue_full, 1u);
    EXPECT_EQ(counts.stopped, 4u);
}

TEST_F(FrameQueueTest, TakesNoMoreThanItsLimit)
{
    EXPECT_TRUE(limited_.Push(Frame(1)));
    limited_.Offer(Frame(2));
    EXPECT_EQ(limits_, 0);
    EXPECT_TRUE(limited_.Push(Frame(3)));
    EXPECT_EQ(limits_, 1);
    EXPECT_FALSE(limited_.Push(Frame(4)));
    limited_.Offer(Frame(5));
    EXPECT_EQ(limits_, 1);
    EXPECT_EQ(TakeAll(limited_), (Numbers{1, 2, 3}));
    EXPECT_EQ(limited_.Counts().delivered, 3u);
}

TEST_F(FrameQueueTest, HoldsNoImageThatItGaveAway)
{
    boost::shared_ptr<const cimage::CImage> image = cimage::Build("Mono8 8x6");
    dev::TFrame<> frame;
    frame.image = image;
    for (int round = 0; round < 7; ++round)
        queue_.Offer(frame);
    frame.image.reset();
    EXPECT_EQ(image.use_count(), 5);
    dev::TFrame<> taken;
    while (queue_.Take(taken) == Taken::Frame)
        EXPECT_EQ(taken.image, image);
    taken.image.reset();
    EXPECT_EQ(image.use_count(), 1);
}

TEST_F(FrameQueueTest, AddsUpWhatTheSourceLost)
{
    queue_.Lost("incomplete", 2);
    queue_.Lost("underrun", 1);
    queue_.Lost("incomplete", 3);
    EXPECT_EQ(queue_.Counts().lost, (std::map<std::string, std::uint64_t>{{"incomplete", 5}, {"underrun", 1}}));
}

}  // namespace
