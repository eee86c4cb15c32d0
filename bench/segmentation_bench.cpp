#include "segmentation_bench.h"

#include <algorithm>
#include <cstring>
#include <list>
#include <numeric>

#include "analysis/flood_fill.h"
#include "analysis/run_extraction.h"
#include "analysis/slice_buffers.h"
#include "reference/flood_fill.h"
#include "runtime/worker_pool.h"
#include "timing.h"

namespace stiltforge::bench {

namespace {

constexpr int fastRounds = 5;
constexpr int streamRounds = 2;

// A slice of a small screen would stay in the caches, and what the work wrote would reach memory
// when the clock has stopped. Screens are therefore compared over as many slices, each in memory of
// its own, as have the pixels of the largest.
std::size_t streamLength(const SlicePicture& picture) {
  const std::size_t pixels = std::size_t{screen12k.width} * screen12k.height;
  return std::max<std::size_t>(1, pixels / picture.pixels());
}

Layer layerOf(const SlicePicture& picture, const uint32_t* slice) {
  return Layer(
      sliceOfPixels(reinterpret_cast<const uint8_t*>(slice), picture.width, picture.height));
}

// A slice over the one below, ready to be segmented again and again.
class SliceInWork {
 public:
  SliceInWork(const SlicePicture& picture, bool needBuffer)
      : picture_(picture),
        needBuffer_(needBuffer),
        pixels_(picture.pixels()),
        markers_(needBuffer ? picture.pixels() : 0),
        supportValues_(needBuffer ? picture.pixels() : 0),
        below_(layerOf(picture, picture.below.data())) {
    std::fill_n(markers_.data(), markers_.size(), 0u);
    fill_.settings = &settings_;
    fill_.markerCount = picture.pixels();
    fill_.layer = &below_;
    fill_.run();
    fill_.previousLayer = &below_;
    fill_.layer = &layer_;
    std::memcpy(pixels_.data(), picture.slice.data(), picture.bytes());
  }
  SliceInWork(const SliceInWork&) = delete;
  SliceInWork& operator=(const SliceInWork&) = delete;

  void restore() {
    layer_ = Layer();
    if (needBuffer_) std::memcpy(pixels_.data(), picture_.slice.data(), picture_.bytes());
  }
  void segment() {
    layer_ = layerOf(picture_, pixels_.data());
    fill_.run();
    if (!needBuffer_) return;
    fillBuffers(layer_, 1, markers_,
                {pixels_.data(), pixels_.data(), nullptr, supportValues_.data()});
  }

 private:
  const SlicePicture& picture_;
  const bool needBuffer_;
  const Settings settings_;
  Plane<uint32_t> pixels_;  // as sent; labels afterwards, where buffers are wanted
  Plane<uint32_t> markers_;
  Plane<uint8_t> supportValues_;
  Layer below_;
  Layer layer_;
  FloodFill fill_;
};

void segment(benchmark::State& state, const SlicePicture& picture, bool needBuffer,
             std::size_t slices) {
  std::list<SliceInWork> stream;
  for (std::size_t i = 0; i < slices; ++i) stream.emplace_back(picture, needBuffer);
  timeEachWarm(
      state,
      [&] {
        for (SliceInWork& slice : stream) slice.restore();
      },
      [&] {
        for (SliceInWork& slice : stream) slice.segment();
      },
      slices);
}

std::vector<uint8_t> bytesOf(const std::vector<uint32_t>& words) {
  std::vector<uint8_t> bytes(4 * words.size());
  std::memcpy(bytes.data(), words.data(), bytes.size());
  return bytes;
}

void segmentPlainly(benchmark::State& state, const SlicePicture& picture,
                    const HostParameters& values) {
  const reference::Parameters parameters = reference::parametersFrom(values);
  std::vector<uint32_t> top(picture.pixels());
  std::vector<reference::Layer> layers;
  layers.push_back(reference::floodFill(bytesOf(picture.below), picture.width, picture.height,
                                        parameters, layers, top));
  const std::vector<uint8_t> slice = bytesOf(picture.slice);
  timeEach(
      state, [] {},
      [&] {
        const reference::Layer layer =
            reference::floodFill(slice, picture.width, picture.height, parameters, layers, top);
        benchmark::DoNotOptimize(layer.pixelCount);
      });
}

template <typename Block>
void copySlice(benchmark::State& state, const SlicePicture& picture, std::size_t slices) {
  std::vector<Block> sources;
  std::vector<Block> copies;
  for (std::size_t i = 0; i < slices; ++i) {
    std::memcpy(sources.emplace_back(picture.pixels()).data(), picture.slice.data(),
                picture.bytes());
    copies.emplace_back(picture.pixels());
  }
  timeEachWarm(
      state, [] {},
      [&] {
        for (std::size_t i = 0; i < slices; ++i) {
          std::memcpy(copies[i].data(), sources[i].data(), picture.bytes());
          benchmark::DoNotOptimize(copies[i].data());
        }
        benchmark::ClobberMemory();
      },
      slices);
}

void readSlice(benchmark::State& state, const SlicePicture& picture) {
  constexpr std::size_t band = std::size_t{1} << 16;
  const std::size_t bands = (picture.pixels() + band - 1) / band;
  std::vector<uint32_t> sums(bands);
  timeEachWarm(
      state, [] {},
      [&] {
        workers::parallelFor(bands, [&](std::size_t b) {
          const uint32_t* const begin = picture.slice.data() + b * band;
          const uint32_t* const end =
              picture.slice.data() + std::min(picture.pixels(), (b + 1) * band);
          sums[b] = std::accumulate(begin, end, 0u);
        });
        benchmark::DoNotOptimize(sums.data());
      });
}

template <typename Run>
void add(const char* what, const SlicePicture& picture, int rounds, Run run) {
  const SlicePicture* const p = &picture;
  benchmark::RegisterBenchmark((std::string(what) + "/" + picture.name).c_str(),
                               [p, run](benchmark::State& state) { run(state, *p); })
      ->UseManualTime()
      ->Iterations(rounds)
      ->Unit(benchmark::kMillisecond);
}

using State = benchmark::State;
using Picture = SlicePicture;

}  // namespace

void registerSegmentation(const SlicePicture& picture, const HostParameters& parameters) {
  const HostParameters* const values = &parameters;
  add("memcpy", picture, fastRounds,
      [](State& s, const Picture& p) { copySlice<std::vector<uint32_t>>(s, p, 1); });
  // The analysis keeps its planes on large pages, so its own copies are this fast.
  add("memcpy-large-pages", picture, fastRounds,
      [](State& s, const Picture& p) { copySlice<Plane<uint32_t>>(s, p, 1); });
  add("read", picture, fastRounds, [](State& s, const Picture& p) { readSlice(s, p); });
  add("segment-buffers", picture, fastRounds,
      [](State& s, const Picture& p) { segment(s, p, true, 1); });
  add("segment", picture, fastRounds, [](State& s, const Picture& p) { segment(s, p, false, 1); });
  add("segment-plain", picture, 1,
      [values](State& s, const Picture& p) { segmentPlainly(s, p, *values); });
}

void registerSegmentationStream(const SlicePicture& picture) {
  add("memcpy-stream", picture, streamRounds,
      [](State& s, const Picture& p) { copySlice<std::vector<uint32_t>>(s, p, streamLength(p)); });
  add("segment-buffers-stream", picture, streamRounds,
      [](State& s, const Picture& p) { segment(s, p, true, streamLength(p)); });
  add("segment-stream", picture, streamRounds,
      [](State& s, const Picture& p) { segment(s, p, false, streamLength(p)); });
}

}  // namespace stiltforge::bench
