#include "opencv_bench.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "timing.h"

namespace stiltforge::bench {

namespace {

constexpr int allThreads = -1;

void label(benchmark::State& state, const SlicePicture& picture, int threads) {
  cv::setNumThreads(threads);
  cv::Mat mask(picture.height, picture.width, CV_8UC1);
  for (std::size_t i = 0; i < picture.pixels(); ++i) {
    mask.data[i] = (picture.slice[i] & 0xFF) != 0 ? 255 : 0;
  }
  cv::Mat labels;
  cv::Mat statistics;
  cv::Mat centroids;
  timeEachWarm(
      state, [] {}, [&] { cv::connectedComponentsWithStats(mask, labels, statistics, centroids); });
}

}  // namespace

void registerOpenCv(const SlicePicture& picture) {
  const SlicePicture* const p = &picture;
  for (const int threads : {1, allThreads}) {
    const std::string name = threads == 1 ? "opencv-1-thread/" : "opencv/";
    benchmark::RegisterBenchmark((name + picture.name).c_str(),
                                 [p, threads](benchmark::State& s) { label(s, *p, threads); })
        ->UseManualTime()
        ->Iterations(2)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace stiltforge::bench
