// How images recycle their memory, and that it is safe on any thread and at any time of the process.
#include <gtest/gtest.h>

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "orvo_proc_cimage/image.h"

#if defined(__SANITIZE_ADDRESS__)
#define UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UNDER_ASAN 1
#endif
#endif

namespace cimage {
namespace {

using ImagePtr = boost::shared_ptr<CImage>;

/// Dropped after main, when static objects go: the leak checker and the address sanitizer watch.
ImagePtr g_static_image;

/// `count` live images of one size, pixels taken.
std::vector<ImagePtr> Burst(std::size_t count, unsigned int width, unsigned int height)
{
    const ImagePtr prototype = Build(PixelFormat("Mono8"), width, height);
    std::vector<ImagePtr> images;
    for (std::size_t i = 0; i < count; ++i) {
        images.push_back(prototype->New(width, height));
        images.back()->Data()[0] = 1;
    }
    return images;
}

TEST(Pool, HandsADroppedBufferToTheNextImageOfItsSizeAlone)
{
    ImagePtr image = Build("Mono8 1001x16");
    const std::uint8_t* const buffer = image->Data();
    image.reset();

    const ImagePtr other = Build("Mono8 2001x16");
    EXPECT_NE(other->Data(), buffer);
    const ImagePtr untouched = Build("Mono8 1001x16");  // takes no pixels
    const ImagePtr same = Build("BayerRG8 1001x16");
    EXPECT_EQ(same->Data(), buffer);
    const ImagePtr second = Build("Mono8 1001x16");
    EXPECT_NE(second->Data(), buffer);
}

TEST(Pool, StaysWithinItsCountAndItsBytesAfterABurstAndLetsTheOldestGo)
{
    Burst(1, 64, 1);
    Burst(max_idle_buffers + 10, 128, 1).clear();
    EXPECT_EQ(PoolStatus().idle_buffers, max_idle_buffers);
    EXPECT_EQ(PoolStatus().idle_bytes, max_idle_buffers * 128);  // the small one was the oldest

    Burst(20, 4096, 4000).clear();
    const TPoolStatus full = PoolStatus();
    EXPECT_LE(full.idle_bytes, max_idle_bytes);
    EXPECT_GT(full.idle_bytes + 4096 * 4000, max_idle_bytes);
    // An image that alone is more than the pool may keep costs the others nothing.
    Burst(1, 16384, 16384).clear();
    EXPECT_EQ(PoolStatus().idle_bytes, full.idle_bytes);
}

/// Where two threads wait for each other, so closely that what they do next overlaps.
class CMeeting
{
public:
    void Meet()
    {
        const int both = (arrived_++ / 2 + 1) * 2;
        for (int spins = 0; arrived_ < both; ++spins)
            if (spins > 10000)
                std::this_thread::yield();
    }

private:
    std::atomic<int> arrived_{0};
};

TEST(Pool, ReadersThatTouchAnImageAtOnceSeeTheSamePixels)
{
    constexpr int rounds = 5000;
    const ImagePtr prototype = Build("Mono8 320x240");
    boost::shared_ptr<const CImage> image;
    const std::uint8_t* seen = nullptr;
    CMeeting meeting;
    std::thread reader([&] {
        for (int round = 0; round < rounds; ++round) {
            meeting.Meet();
            seen = image->Data();
            meeting.Meet();
        }
    });
    int differences = 0;
    for (int round = 0; round < rounds; ++round) {
        image = prototype->New(320, 240);
        meeting.Meet();
        const std::uint8_t* const own = image->Data();
        meeting.Meet();
        differences += own == seen ? 0 : 1;
    }
    reader.join();
    EXPECT_EQ(differences, 0);
}

TEST(Pool, ImagesMadeOnSomeThreadsAndDroppedOnOthersNeverShareMemory)
{
    std::mutex mutex;
    ImagePtr shelf[20];  // where a thread leaves its image, and takes that of another to drop it
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 6; ++number)
        threads.emplace_back([&, number] {
            ImagePtr image = Build("Mono8 64x2");
            for (unsigned int i = 0; i < 4000; ++i) {
                image = image->New(64 + i % 3, 2);
                image->New(64, 2);  // untouched, as a tree of nodes makes them
                std::memset(image->Data(), number * 40 + static_cast<int>(i % 40), image->Stride() * 2);
                ImagePtr other = image;
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    shelf[i % 20].swap(other);
                }
                if (other && std::memcmp(other->Data(), other->Data() + 1, other->Stride() * 2 - 1) != 0)
                    ++torn;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, 0);
}

TEST(Pool, ServesImagesThatOutliveTheThreadsAndObjectsAroundThem)
{
    struct TLate
    {
        ImagePtr image;
        ~TLate()
        {
            // Made before the thread's first image, so this runs when the thread's cache is gone already.
            const ImagePtr more = image->New(32, 32);
            more->Data()[0] = 1;
        }
    };
    for (int round = 0; round < 3; ++round)
        std::thread([] {
            thread_local TLate late;
            late.image = Build("Mono8 32x32");
            late.image->Data()[0] = 1;
            g_static_image = late.image->New(32, 32);
            g_static_image->Data()[0] = 1;
        }).join();
    EXPECT_EQ(g_static_image->Descriptor(), "Mono8 32x32");
}

#ifdef UNDER_ASAN
TEST(PoolDeathTest, UseAfterReleaseIsSeenAlthoughTheMemoryIsKept)
{
    ImagePtr image = Build("Mono8 100x3");
    std::uint8_t* const pixels = image->Data();
    CImage* const object = image.get();
    pixels[299] = 1;
    EXPECT_DEATH(pixels[300] = 1, "use-after-poison");
    image.reset();
    EXPECT_DEATH(pixels[0] = 1, "use-after-poison");
    EXPECT_DEATH(object->SetGrid(TGrid()), "use-after-poison");
}
#endif

}  // namespace
}  // namespace cimage
