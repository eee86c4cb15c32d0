#include "printer_files/kept_layers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "runtime/worker_pool.h"

namespace stiltforge::printer_files {
namespace {

constexpr int width = 40;
constexpr int height = 30;
constexpr uint32_t layers = 20;

/// Layers of some rows, between empty ones or up to the border, and one without any.
RunRows material(uint32_t layer) {
  RunRows rows;
  for (int y = 0; y < height; ++y) {
    const bool isFilled = layer != 3 && y >= static_cast<int>(layer) - 2 && y < 25 && y % 5 != 1;
    if (isFilled) {
      rows.add(y % 7, y % 7 + 3);
      rows.add(20, width);
    }
    rows.endRow();
  }
  return rows;
}

class CountedFile : public PrinterFile {
 public:
  explicit CountedFile(std::atomic<int>& reads) : reads_(reads) {
    info_.layerCount = layers;
    info_.width = width;
    info_.height = height;
  }
  void readMaterial(uint32_t layer, RunRows& rows) override {
    ++reads_;
    rows = material(layer);
  }
  void readChannels(uint32_t layer, Slice& slice) override {
    ++reads_;
    slice.material = material(layer);
    slice.overhang = material(layer + 1);
    slice.blue.assign(slice.overhang.pixelCount(), static_cast<uint8_t>(layer));
    slice.green.assign(slice.overhang.pixelCount(), 7);
  }

 private:
  std::atomic<int>& reads_;
};

void expectSame(const RunRows& actual, const RunRows& expected) {
  ASSERT_EQ(actual.height(), expected.height());
  for (int y = 0; y < expected.height(); ++y) {
    const auto row = expected.row(y);
    EXPECT_TRUE(std::equal(row.begin(), row.end(), actual.row(y).begin(), actual.row(y).end()))
        << "row " << y;
  }
}

void expectAll(PrinterFile& file) {
  // As others left it.
  RunRows rows = material(1);
  for (uint32_t layer = 0; layer < layers; ++layer) {
    file.readMaterial(layer, rows);
    expectSame(rows, material(layer));
  }
}

std::unique_ptr<PrinterFile> keeping(std::size_t bytes, std::atomic<int>& reads) {
  return keepLayers(std::make_unique<CountedFile>(reads), bytes);
}

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

TEST(KeptLayers, AreDecodedOnce) {
  std::atomic<int> reads{0};
  const auto file = keeping(unlimited, reads);
  EXPECT_EQ(file->info().layerCount, layers);
  EXPECT_EQ(file->info().height, uint32_t{height});
  expectAll(*file);
  expectAll(*file);
  EXPECT_EQ(reads, static_cast<int>(layers));
}

TEST(KeptLayers, KeepTheirChannels) {
  std::atomic<int> reads{0};
  const auto file = keeping(unlimited, reads);
  for (int i = 0; i < 2; ++i) {
    Slice slice;
    file->readChannels(5, slice);
    expectSame(slice.material, material(5));
    expectSame(slice.overhang, material(6));
    EXPECT_EQ(slice.blue.size(), slice.overhang.pixelCount());
    EXPECT_EQ(slice.blue.back(), 5);
    EXPECT_EQ(slice.green.front(), 7);
  }
  EXPECT_EQ(reads, 1);
  RunRows rows;
  file->readMaterial(5, rows);
  EXPECT_EQ(reads, 2) << "which may be another one";
}

TEST(KeptLayers, StayAsFarAsTheyFit) {
  std::atomic<int> reads{0};
  const auto file = keeping(2000, reads);
  expectAll(*file);
  expectAll(*file);
  EXPECT_GT(reads, static_cast<int>(layers));
  EXPECT_LT(reads, 2 * static_cast<int>(layers));
  const int before = reads;
  RunRows rows;
  file->readMaterial(0, rows);
  EXPECT_EQ(reads, before) << "those that were read first";
}

TEST(KeptLayers, OfNoMemoryAreDecodedAgain) {
  std::atomic<int> reads{0};
  const auto file = keeping(0, reads);
  expectAll(*file);
  expectAll(*file);
  EXPECT_EQ(reads, 2 * static_cast<int>(layers));
}

TEST(KeptLayers, MayBeReadBySeveralThreads) {
  std::atomic<int> reads{0};
  const auto file = keeping(3000, reads);
  std::vector<RunRows> read(8 * layers);
  workers::parallelFor(read.size(), [&](std::size_t i) {
    file->readMaterial(static_cast<uint32_t>(i % layers), read[i]);
  });
  for (std::size_t i = 0; i < read.size(); ++i) {
    expectSame(read[i], material(static_cast<uint32_t>(i % layers)));
  }
}

}  // namespace
}  // namespace stiltforge::printer_files
