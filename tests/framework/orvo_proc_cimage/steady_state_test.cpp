// What a running camera may rely on: once warm, new images cost neither an allocation nor a page fault.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <cstring>
#include <thread>

#include "allocation_count.h"
#include "orvo_proc_cimage/image.h"

namespace cimage {
namespace {

using ImagePtr = boost::shared_ptr<const CImage>;

/// Another thread of the process, which takes images over and drops them.
class CDropper
{
public:
    ~CDropper()
    {
        ending_ = true;
        thread_.join();
    }

    /// Returns when the thread has dropped its reference.
    void Hand(const ImagePtr& image)
    {
        image_ = image;
        for (full_ = true; full_;)
            std::this_thread::yield();
    }

private:
    ImagePtr image_;
    std::atomic<bool> full_{false};
    std::atomic<bool> ending_{false};
    std::thread thread_{[this] {
        for (; !ending_; std::this_thread::yield())
            if (full_) {
                image_.reset();
                full_ = false;
            }
    }};
};

/// Frames of a camera: an output that is renewed and mostly left alone, some pixels, some images that end elsewhere.
void RunFrames(const CImage& prototype, CDropper& dropper, int frames)
{
    ImagePtr output = prototype.New(prototype.Width(), prototype.Height());
    for (int i = 0; i < frames; ++i) {
        output = output->New(output->Width(), output->Height());
        if (i % 10 != 0)
            continue;
        const boost::shared_ptr<CImage> filled = prototype.New(prototype.Width(), prototype.Height());
        std::memset(filled->Data(), i, filled->Stride() * filled->Height());
        output = filled;
        dropper.Hand(output->New(output->Width(), output->Height()));
    }
}

long MinorFaults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

TEST(SteadyState, NeitherAllocatesNorFaultsWithASecondThreadAlive)
{
    CDropper dropper;
    const ImagePtr prototype = Build("Mono8 1280x960");
    RunFrames(*prototype, dropper, 2000);

    const unsigned long before_any = allocation_count::All();
    Build("Mono8 1003x16")->Data();
    ASSERT_GT(allocation_count::All(), before_any) << "the count misses what the library allocates";

    const unsigned long allocations = allocation_count::All();
    // The system may fault on its own account, but not in every attempt.
    long faults = 1;
    for (int attempt = 0; attempt < 5 && faults > 0; ++attempt) {
        const long before = MinorFaults();
        RunFrames(*prototype, dropper, 1000);
        faults = MinorFaults() - before;
    }
    EXPECT_EQ(allocation_count::All() - allocations, 0U);
    EXPECT_EQ(faults, 0);
}

}  // namespace
}  // namespace cimage
