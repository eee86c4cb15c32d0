#include "analysis/slice_buffers.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr uint32_t labelMask = 0xFFFFFF;
constexpr uint32_t labelledPixel = 0x80000000;
constexpr uint32_t topMarker = 0xFE000000;
constexpr uint32_t backgroundPixel = 0xFF000000;
constexpr uint8_t fullySupported = 255;
constexpr uint32_t rowsPerTask = 64;

class RowPainter {
 public:
  RowPainter(const Layer& layer, uint32_t layerIndex, Plane<uint32_t>& markerRecord,
             const SliceBuffers& buffers)
      : layer_(layer),
        marker_(topMarker + (layerIndex & labelMask)),
        markerRecord_(markerRecord),
        buffers_(buffers) {}

  // firstPixel: of the row among the overhanging pixels. Returns that of the next row.
  std::size_t paint(uint32_t y, std::size_t firstPixel) const {
    const std::size_t base = std::size_t{y} * layer_.width;
    uint32_t* const labels = buffers_.labels + base;
    uint8_t* const values = buffers_.supportValues + base;
    if (!buffers_.picture) {
      std::fill_n(labels, layer_.width, backgroundPixel);
    } else if (buffers_.picture != buffers_.labels) {
      std::memcpy(labels, buffers_.picture + base, layer_.width * sizeof(uint32_t));
    }
    std::memset(values, 0, layer_.width);
    const uint32_t* group = layer_.groupOfRun.data() + layer_.material.rowStart(y);
    for (const Run& run : layer_.material.row(static_cast<int>(y))) {
      std::fill(labels + run.begin, labels + run.end, labelledPixel + (*group++ & labelMask));
      std::fill_n(markerRecord_.data() + base + run.begin, run.length(), marker_);
      std::memset(values + run.begin, fullySupported, run.length());
    }
    for (const Run& span : layer_.overhang.row(static_cast<int>(y))) {
      std::memcpy(values + span.begin, layer_.blue.data() + firstPixel, span.length());
      firstPixel += span.length();
    }
    if (buffers_.markers) copyMarkers(base);
    return firstPixel;
  }

 private:
  void copyMarkers(std::size_t base) const {
    const std::size_t end = std::min(base + layer_.width, markerRecord_.size());
    const std::size_t marked = end > base ? end - base : 0;
    uint32_t* const markers = buffers_.markers + base;
    if (marked > 0) std::memcpy(markers, markerRecord_.data() + base, marked * sizeof(uint32_t));
    std::fill_n(markers + marked, layer_.width - marked, 0u);
  }

  const Layer& layer_;
  const uint32_t marker_;
  Plane<uint32_t>& markerRecord_;
  const SliceBuffers& buffers_;
};

}  // namespace

void fillBuffers(const Layer& layer, uint32_t layerIndex, Plane<uint32_t>& markerRecord,
                 const SliceBuffers& buffers) {
  if (layer.width == 0) return;
  const std::size_t tasks = (layer.height + rowsPerTask - 1) / rowsPerTask;
  const auto rowOf = [&](std::size_t task) {
    return std::min<uint32_t>(layer.height, static_cast<uint32_t>(task) * rowsPerTask);
  };
  std::vector<std::size_t> firstPixel(tasks, 0);
  std::size_t pixels = 0;
  for (std::size_t t = 0; t < tasks; ++t) {
    firstPixel[t] = pixels;
    const uint32_t end = layer.overhang.rowStart(rowOf(t + 1));
    for (uint32_t s = layer.overhang.rowStart(rowOf(t)); s < end; ++s) {
      pixels += layer.overhang[s].length();
    }
  }
  const RowPainter painter(layer, layerIndex, markerRecord, buffers);
  workers::parallelFor(tasks, [&](std::size_t t) {
    std::size_t pixel = firstPixel[t];
    for (uint32_t y = rowOf(t); y < rowOf(t + 1); ++y) pixel = painter.paint(y, pixel);
  });
}

}  // namespace stiltforge
