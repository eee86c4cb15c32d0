#include "segmentation_bench.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>

#include "analysis/flood_fill.h"
#include "reference/flood_fill.h"
#include "runtime/worker_pool.h"
#include "support/slice_pipeline.h"
#include "timing.h"

namespace stiltforge::bench {

namespace {

constexpr int fastRounds = 5;

enum class Caches { warm, cold };

// Drives everything else out of the caches.
void emptyCaches() {
  constexpr std::size_t bytes = std::size_t{128} << 20;
  static std::vector<uint8_t> block(bytes);
  std::memset(block.data(), ++block[0], bytes);
  benchmark::ClobberMemory();
}

Layer layerOf(const SlicePicture& picture, const std::vector<uint32_t>& slice) {
  Layer layer;
  layer.width = picture.width;
  layer.height = picture.height;
  layer.pixelBuffer = Plane<uint32_t>(picture.pixels());
  std::memcpy(layer.pixelBuffer.data(), slice.data(), picture.bytes());
  return layer;
}

void segment(benchmark::State& state, const SlicePicture& picture, bool needBuffer, Caches caches) {
  Plane<uint32_t> top(picture.pixels());
  std::fill_n(top.data(), picture.pixels(), 0u);
  Layer below = layerOf(picture, picture.below);
  FloodFill fill;
  fill.topPixelBuffer = &top;
  fill.topPixelCount = picture.pixels();
  fill.needBuffer = needBuffer;
  fill.layer = &below;
  fill.run();

  SliceScratch scratch;
  Layer layer = layerOf(picture, picture.slice);
  fill.layer = &layer;
  fill.previousLayer = &below;
  fill.layerIndex = 1;
  timeEachWarm(
      state,
      [&] {
        Plane<uint32_t> pixels = std::move(layer.pixelBuffer);
        scratch.takePlanes(layer, false);
        scratch.takeRuns(layer);
        layer = Layer();
        layer.width = picture.width;
        layer.height = picture.height;
        std::memcpy(pixels.data(), picture.slice.data(), picture.bytes());
        layer.pixelBuffer = std::move(pixels);
        scratch.lend(layer);
        if (caches == Caches::cold) emptyCaches();
      },
      [&] { fill.run(); });
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
void copySlice(benchmark::State& state, const SlicePicture& picture, Caches caches) {
  Block source(picture.pixels());
  Block copy(picture.pixels());
  std::memcpy(source.data(), picture.slice.data(), picture.bytes());
  timeEachWarm(
      state,
      [&] {
        if (caches == Caches::cold) emptyCaches();
      },
      [&] {
        std::memcpy(copy.data(), source.data(), picture.bytes());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
      });
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
      [](State& s, const Picture& p) { copySlice<std::vector<uint32_t>>(s, p, Caches::warm); });
  // The analysis keeps its planes on large pages, so its own copies are this fast.
  add("memcpy-large-pages", picture, fastRounds,
      [](State& s, const Picture& p) { copySlice<Plane<uint32_t>>(s, p, Caches::warm); });
  add("read", picture, fastRounds, [](State& s, const Picture& p) { readSlice(s, p); });
  add("segment-buffers", picture, fastRounds,
      [](State& s, const Picture& p) { segment(s, p, true, Caches::warm); });
  add("segment", picture, fastRounds,
      [](State& s, const Picture& p) { segment(s, p, false, Caches::warm); });
  add("segment-plain", picture, 1,
      [values](State& s, const Picture& p) { segmentPlainly(s, p, *values); });
}

void registerColdSegmentation(const SlicePicture& picture) {
  add("memcpy-cold", picture, fastRounds,
      [](State& s, const Picture& p) { copySlice<std::vector<uint32_t>>(s, p, Caches::cold); });
  add("segment-buffers-cold", picture, fastRounds,
      [](State& s, const Picture& p) { segment(s, p, true, Caches::cold); });
  add("segment-cold", picture, fastRounds,
      [](State& s, const Picture& p) { segment(s, p, false, Caches::cold); });
}

}  // namespace stiltforge::bench
