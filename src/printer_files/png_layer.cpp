#include "printer_files/png_layer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "analysis/mask_runs.h"
#include "printer_files/big_endian.h"
#include "printer_files/defect.h"
#include "printer_files/png_rows.h"

namespace stiltforge::printer_files {

namespace {

using Colour = PngPicture::Colour;

constexpr int levels = 256;

uint8_t dimmed(int grey, int alpha) {
  return static_cast<uint8_t>((grey * alpha + 127) / 255);
}

uint8_t brightest(const uint8_t* rgb, std::size_t step) {
  return std::max({rgb[0], rgb[step], rgb[2 * step]});
}

/// Turns rows of any kind into rows of grey bytes.
class GreyRows {
 public:
  explicit GreyRows(const PngPicture& picture) : picture_(picture) {
    if (picture.channels() == 1 && picture.bitDepth <= 8) fillTable();
    // The low byte of a 16-bit sample tells only what is transparent.
    if (picture.colour == Colour::grey && picture.transparency.size() == 2) {
      transparent_[0] = bigEndian16(picture.transparency.data());
      hasTransparent_ = true;
    }
    if (picture.colour == Colour::rgb && picture.transparency.size() == 6) {
      for (std::size_t i = 0; i < 3; ++i) {
        transparent_[i] = bigEndian16(picture.transparency.data() + 2 * i);
      }
      hasTransparent_ = true;
    }
  }

  /// Whether rows are grey bytes as they are.
  bool isGrey() const {
    return picture_.colour == Colour::grey && picture_.bitDepth == 8 && !hasTransparent_;
  }
  /// The grey of a pixel of zeros.
  uint8_t zero() const { return table_ ? grey(0) : 0; }

  void convert(const uint8_t* row, uint8_t* grey) const {
    if (table_) {
      convertByTable(row, grey);
    } else if (picture_.bitDepth == 16) {
      convertWide<2>(row, grey);
    } else {
      convertWide<1>(row, grey);
    }
  }

 private:
  using Table = std::array<int16_t, levels>;
  static constexpr int16_t missing = -1;

  void fillTable() {
    Table& table = table_.emplace();
    table.fill(missing);
    const int samples = 1 << picture_.bitDepth;
    const auto colours = static_cast<int>(picture_.palette.size() / 3);
    for (int sample = 0; sample < samples; ++sample) {
      const auto i = static_cast<std::size_t>(sample);
      if (picture_.colour == Colour::grey) {
        table[i] = static_cast<int16_t>(sample * 255 / (samples - 1));
      } else if (sample < colours) {
        const int alpha = i < picture_.transparency.size() ? picture_.transparency[i] : 255;
        table[i] = dimmed(brightest(&picture_.palette[3 * i], 1), alpha);
      }
    }
    if (picture_.colour == Colour::grey && picture_.transparency.size() == 2) {
      const uint16_t transparent = bigEndian16(picture_.transparency.data());
      if (transparent < samples) table[transparent] = 0;
    }
  }

  uint8_t grey(uint8_t sample) const {
    const int16_t value = (*table_)[sample];
    if (value == missing) {
      throw Defect{"is damaged: it names colour " + std::to_string(sample) + " of a palette of " +
                   std::to_string(picture_.palette.size() / 3)};
    }
    return static_cast<uint8_t>(value);
  }

  void convertByTable(const uint8_t* row, uint8_t* out) const {
    const int depth = picture_.bitDepth;
    const int mask = (1 << depth) - 1;
    const uint32_t width = picture_.width;
    for (uint32_t x = 0; x < width; ++row) {
      for (int shift = 8 - depth; shift >= 0 && x < width; shift -= depth) {
        out[x++] = grey(static_cast<uint8_t>(*row >> shift & mask));
      }
    }
  }

  template <std::size_t sampleBytes>
  static uint16_t sampleAt(const uint8_t* bytes) {
    return sampleBytes == 2 ? bigEndian16(bytes) : *bytes;
  }

  template <std::size_t sampleBytes>
  bool isTransparent(const uint8_t* pixel, std::size_t channels) const {
    for (std::size_t i = 0; i < channels; ++i) {
      if (sampleAt<sampleBytes>(pixel + i * sampleBytes) != transparent_[i]) return false;
    }
    return true;
  }

  // Pixels of whole bytes, of which the high one counts.
  template <std::size_t sampleBytes>
  void convertWide(const uint8_t* row, uint8_t* out) const {
    const auto channels = static_cast<std::size_t>(picture_.channels());
    const std::size_t step = channels * sampleBytes;
    const bool isColoured = picture_.colour == Colour::rgb || picture_.colour == Colour::rgba;
    const bool hasAlpha = picture_.colour == Colour::greyAlpha || picture_.colour == Colour::rgba;
    for (uint32_t x = 0; x < picture_.width; ++x, row += step) {
      uint8_t value = isColoured ? brightest(row, sampleBytes) : row[0];
      if (hasAlpha) value = dimmed(value, row[(channels - 1) * sampleBytes]);
      if (hasTransparent_ && isTransparent<sampleBytes>(row, channels)) value = 0;
      out[x] = value;
    }
  }

  const PngPicture& picture_;
  std::optional<Table> table_;  // of samples of up to 8 bits
  std::array<uint16_t, 3> transparent_{};
  bool hasTransparent_ = false;
};

void repeatLastRow(RunRows& rows) {
  const auto last = static_cast<std::size_t>(rows.height() - 1);
  const std::size_t end = rows.rowStart(last + 1);
  for (std::size_t i = rows.rowStart(last); i < end; ++i) {
    const Run run = rows[i];
    rows.add(run.begin, run.end);
  }
  rows.endRow();
}

/// Appends a row of pixels with `step` bytes of which red, green and blue have the offsets 0, 1, 2
/// times `sampleBytes`.
void addChannelRow(const uint8_t* row, int width, std::size_t step, std::size_t sampleBytes,
                   Slice& slice) {
  for (int x = 0; x < width; ++x, row += step) {
    if (row[0] == 0) continue;
    slice.material.add(x, x + 1);
    const uint8_t blue = row[2 * sampleBytes];
    if (blue == 255) continue;
    slice.overhang.add(x, x + 1);
    slice.blue.push_back(blue);
    slice.green.push_back(row[sampleBytes]);
  }
  slice.material.endRow();
  slice.overhang.endRow();
}

}  // namespace

void decodeMaterial(const PngPicture& picture, const PixelUse& use, DecodeMemory& memory,
                    RunRows& material) {
  material.clear();
  const GreyRows greyRows(picture);
  PngRows rows(picture, memory);
  const bool isGrey = greyRows.isGrey() || use.isPacked;
  const auto width = static_cast<int>(use.isPacked ? 3 * picture.width : picture.width);
  const bool isZeroDark = isGrey || greyRows.zero() < use.threshold;
  memory.grey.resize(isGrey ? 0 : picture.width);
  for (uint32_t y = 0; y < picture.height; ++y) {
    const PngRows::Row row = rows.next();
    if (row.isZero && isZeroDark) {
      material.endRow();
    } else if (row.isLikeLast) {
      repeatLastRow(material);
    } else if (isGrey) {
      addMaskRow(row.bytes, width, use.threshold, material);
    } else {
      greyRows.convert(row.bytes, memory.grey.data());
      addMaskRow(memory.grey.data(), width, use.threshold, material);
    }
  }
}

void decodeChannels(const PngPicture& picture, DecodeMemory& memory, Slice& slice) {
  if (picture.colour != Colour::rgb && picture.colour != Colour::rgba) {
    throw Defect{"carries no channels: it is no RGB picture",
                 "Leave out the option for channels, or export RGB pictures"};
  }
  slice.material.clear();
  slice.overhang.clear();
  slice.blue.clear();
  slice.green.clear();
  PngRows rows(picture, memory);
  const auto sampleBytes = static_cast<std::size_t>(picture.bitDepth / 8);
  const std::size_t step = static_cast<std::size_t>(picture.channels()) * sampleBytes;
  for (uint32_t y = 0; y < picture.height; ++y) {
    const PngRows::Row row = rows.next();
    if (row.isZero) {
      slice.material.endRow();
      slice.overhang.endRow();
    } else {
      addChannelRow(row.bytes, static_cast<int>(picture.width), step, sampleBytes, slice);
    }
  }
}

}  // namespace stiltforge::printer_files
