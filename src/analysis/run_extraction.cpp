#include "analysis/run_extraction.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>
#include <vector>

#include "analysis/pixel_masks.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t greenByte = 1;
constexpr std::size_t blueByte = 2;

// A band of a 4K slice fits the second-level cache, so what is read twice is read from there.
constexpr std::size_t pixelsPerBand = std::size_t{1} << 16;
constexpr uint32_t pixelsPerSpanWhenDense = 32;

// Rows [firstRow, endRow) of the slice. The lists are written ahead of their ends.
struct Band {
  uint32_t firstRow = 0;
  uint32_t endRow = 0;
  ScratchVector<uint16_t> runEdges;  // the columns at which runs begin and end, in turn
  ScratchVector<uint16_t> spanEdges;
  ScratchVector<uint8_t> blue;
  ScratchVector<uint8_t> green;
  std::size_t runEdgeCount = 0;
  std::size_t spanEdgeCount = 0;
  std::size_t pixelCount = 0;
};

template <typename T>
void makeRoom(ScratchVector<T>& list, std::size_t size) {
  if (list.size() < size) list.resize(std::max(2 * list.size(), size));
}

// Writes the columns at which runs of set bits begin and end, in turn; returns how many.
std::size_t findEdges(const uint64_t* masks, uint32_t width, uint16_t* edges) {
  std::size_t count = 0;
  uint64_t carry = 0;
  for (uint32_t word = 0; word * 64 < width; ++word) {
    const uint64_t mask = masks[word];
    uint64_t changes = mask ^ ((mask << 1) | carry);
    carry = mask >> 63;
    for (; changes != 0; changes &= changes - 1) {
      edges[count++] =
          static_cast<uint16_t>(word * 64 + static_cast<uint32_t>(std::countr_zero(changes)));
    }
  }
  if (carry) edges[count++] = static_cast<uint16_t>(width);
  return count;
}

std::size_t countPixels(const uint64_t* masks, uint32_t width) {
  std::size_t count = 0;
  for (uint32_t word = 0; word * 64 < width; ++word) {
    count += static_cast<std::size_t>(std::popcount(masks[word]));
  }
  return count;
}

// Short spans are a toss-up for the processor: where they abound, every pixel is written and only
// those of the mask are kept.
void takeMaskedChannels(const uint8_t* rgba, const uint64_t* masks, uint32_t width, uint8_t* blue,
                        uint8_t* green) {
  for (uint32_t x = 0; x < width; ++x) {
    *blue = rgba[bytesPerPixel * x + blueByte];
    *green = rgba[bytesPerPixel * x + greenByte];
    const std::size_t kept = masks[x / 64] >> (x % 64) & 1;
    blue += kept;
    green += kept;
  }
}

void takeChannels(const uint8_t* rgba, const uint16_t* edges, std::size_t edgeCount, uint8_t* blue,
                  uint8_t* green) {
  for (std::size_t e = 0; e < edgeCount; e += 2) {
    const uint8_t* pixel = rgba + bytesPerPixel * edges[e];
    const std::size_t n = edges[e + 1] - std::size_t{edges[e]};
    for (std::size_t i = 0; i < n; ++i) {
      blue[i] = pixel[bytesPerPixel * i + blueByte];
      green[i] = pixel[bytesPerPixel * i + greenByte];
    }
    blue += n;
    green += n;
  }
}

void putRuns(const ScratchVector<uint16_t>& edges, std::size_t edgeCount, Run* runs) {
  for (std::size_t e = 0; e < edgeCount; e += 2) *runs++ = {edges[e], edges[e + 1]};
}

class Extraction {
 public:
  Extraction(const uint8_t* rgba, uint16_t width, uint16_t height, uint8_t* copy)
      : rgba_(rgba),
        copy_(copy),
        width_(width),
        height_(height),
        runStart_(std::size_t{height} + 1, 0),
        spanStart_(std::size_t{height} + 1, 0),
        bands_(bandCount()) {
    for (std::size_t b = 0; b < bands_.size(); ++b) {
      bands_[b].firstRow = static_cast<uint32_t>(b) * rowsPerBand();
      bands_[b].endRow = std::min<uint32_t>(height, bands_[b].firstRow + rowsPerBand());
    }
  }

  Slice run() {
    workers::parallelFor(bands_.size(), [this](std::size_t b) { extract(bands_[b]); });
    for (std::size_t y = 0; y < height_; ++y) {
      runStart_[y + 1] += runStart_[y];
      spanStart_[y + 1] += spanStart_[y];
    }
    return join();
  }

 private:
  uint32_t rowsPerBand() const {
    return static_cast<uint32_t>(std::max<std::size_t>(1, pixelsPerBand / width_));
  }
  std::size_t bandCount() const {
    return width_ == 0 ? 0 : (height_ + rowsPerBand() - 1) / rowsPerBand();
  }

  void extract(Band& band) {
    const PixelMaskFunction findMasks = pixelMaskFunction();
    const std::size_t words = (std::size_t{width_} + 63) / 64;
    std::vector<uint64_t> solid(words);
    std::vector<uint64_t> overhang(words);
    const std::size_t mostEdges = std::size_t{width_} + 1;
    for (uint32_t y = band.firstRow; y < band.endRow; ++y) {
      const std::size_t offset = std::size_t{y} * width_ * bytesPerPixel;
      const uint8_t* const row = rgba_ + offset;
      if (copy_) std::memcpy(copy_ + offset, row, std::size_t{width_} * bytesPerPixel);
      findMasks(row, width_, solid.data(), overhang.data());

      makeRoom(band.runEdges, band.runEdgeCount + mostEdges);
      const std::size_t runEdges =
          findEdges(solid.data(), width_, band.runEdges.data() + band.runEdgeCount);
      band.runEdgeCount += runEdges;
      runStart_[y + 1] = static_cast<uint32_t>(runEdges / 2);

      makeRoom(band.spanEdges, band.spanEdgeCount + mostEdges);
      const uint16_t* const spans = band.spanEdges.data() + band.spanEdgeCount;
      const std::size_t spanEdges =
          findEdges(overhang.data(), width_, band.spanEdges.data() + band.spanEdgeCount);
      if (spanEdges == 0) continue;
      band.spanEdgeCount += spanEdges;
      spanStart_[y + 1] = static_cast<uint32_t>(spanEdges / 2);

      const std::size_t pixels = countPixels(overhang.data(), width_);
      // One more, which the loop over all pixels may write to.
      makeRoom(band.blue, band.pixelCount + pixels + 1);
      makeRoom(band.green, band.pixelCount + pixels + 1);
      uint8_t* const blue = band.blue.data() + band.pixelCount;
      uint8_t* const green = band.green.data() + band.pixelCount;
      if (spanEdges / 2 > width_ / pixelsPerSpanWhenDense) {
        takeMaskedChannels(row, overhang.data(), width_, blue, green);
      } else {
        takeChannels(row, spans, spanEdges, blue, green);
      }
      band.pixelCount += pixels;
    }
  }

  Slice join() {
    std::vector<std::size_t> firstPixel(bands_.size() + 1, 0);
    for (std::size_t b = 0; b < bands_.size(); ++b) {
      firstPixel[b + 1] = firstPixel[b] + bands_[b].pixelCount;
    }
    ScratchVector<Run> runs(runStart_.back());
    ScratchVector<Run> spans(spanStart_.back());
    Slice slice;
    slice.width = width_;
    slice.height = height_;
    slice.blue.resize(firstPixel.back());
    slice.green.resize(firstPixel.back());
    workers::parallelFor(bands_.size(), [&](std::size_t b) {
      const Band& band = bands_[b];
      putRuns(band.runEdges, band.runEdgeCount, runs.data() + runStart_[band.firstRow]);
      putRuns(band.spanEdges, band.spanEdgeCount, spans.data() + spanStart_[band.firstRow]);
      std::copy_n(band.blue.data(), band.pixelCount, slice.blue.data() + firstPixel[b]);
      std::copy_n(band.green.data(), band.pixelCount, slice.green.data() + firstPixel[b]);
    });
    slice.material = RunRows(std::move(runs), std::move(runStart_));
    slice.overhang = RunRows(std::move(spans), std::move(spanStart_));
    return slice;
  }

  const uint8_t* const rgba_;
  uint8_t* const copy_;
  const uint16_t width_;
  const uint16_t height_;
  ScratchVector<uint32_t> runStart_;
  ScratchVector<uint32_t> spanStart_;
  std::vector<Band> bands_;
};

}  // namespace

Slice sliceOfPixels(const uint8_t* rgba, uint16_t width, uint16_t height, uint8_t* copy) {
  return Extraction(rgba, width, height, copy).run();
}

}  // namespace stiltforge
