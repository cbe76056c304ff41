// What a new image of a running camera costs: 1280x960 Mono8, after a burst of 32 live images, with a second thread
// alive. The peer is a fresh cv::Mat of that size, every page of it touched.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "orvo_proc_cimage/image.h"
#include "second_thread.h"

namespace {

using ImagePtr = boost::shared_ptr<cimage::CImage>;

constexpr unsigned int width = 1280;
constexpr unsigned int height = 960;

/// A prototype image, after a burst.
ImagePtr Warm()
{
    const ImagePtr prototype = cimage::Build(cimage::PixelFormat("Mono8"), width, height);
    std::vector<ImagePtr> burst;
    for (int i = 0; i < 32; ++i) {
        burst.push_back(prototype->New(width, height));
        std::uint8_t* const pixels = burst.back()->Data();
        for (std::size_t at = 0; at < std::size_t{width} * height; at += 4096)
            pixels[at] = 1;
    }
    return prototype;
}

/// What a node of a tree does on every frame to an output that nobody writes to.
void Untouched(benchmark::State& state)
{
    const CSecondThread second;
    const ImagePtr prototype = Warm();
    for (auto _ : state)
        benchmark::DoNotOptimize(prototype->New(width, height));
}
BENCHMARK(Untouched)->Name("image_new_untouched/orvo");

/// A new image with its pixels.
void Pixels(benchmark::State& state)
{
    const CSecondThread second;
    const ImagePtr prototype = Warm();
    for (auto _ : state) {
        const ImagePtr image = prototype->New(width, height);
        benchmark::DoNotOptimize(image->Data());
    }
}
BENCHMARK(Pixels)->Name("image_new/orvo");

void FreshMat(benchmark::State& state)
{
    // As the C library begins: large memory comes from the system and goes back. Left alone it would keep the block
    // after the first round, and the matrix would not be fresh.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    const CSecondThread second;
    for (auto _ : state) {
        cv::Mat mat(height, width, CV_8UC1);
        for (std::size_t at = 0; at < mat.total(); at += 4096)
            mat.data[at] = 1;
        benchmark::DoNotOptimize(mat.data);
    }
}
BENCHMARK(FreshMat)->Name("image_new/cv_mat");

}  // namespace

BENCHMARK_MAIN();
