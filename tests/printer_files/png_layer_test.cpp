#include "printer_files/png_layer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "printer_files/defect.h"
#include "printer_files/libpng_reader.h"
#include "printer_files/png_writer.h"
#include "printer_files/prints.h"

namespace stiltforge::printer_files {
namespace {

using testing::HasSubstr;

std::span<const uint8_t> bytesOf(const std::string& file) {
  return {reinterpret_cast<const uint8_t*>(file.data()), file.size()};
}

RunRows decoded(const std::string& file, uint8_t threshold = 128) {
  DecodeMemory memory;
  RunRows material;
  decodeMaterial(parsePng(bytesOf(file)), {threshold, false}, memory, material);
  return material;
}

/// What is wrong with a file; empty when it can be decoded.
std::string defectOf(const std::string& file) {
  try {
    decoded(file);
  } catch (const Defect& defect) {
    return defect.problem;
  }
  return "";
}

/// The grey of a pixel as decodeMaterial() states it, from the samples that libpng read.
int greyOf(const TestPicture& picture, const uint16_t* pixel) {
  const int high = picture.bitDepth == 16 ? pixel[0] >> 8 : pixel[0];
  const auto byteOf = [&](int channel) {
    return picture.bitDepth == 16 ? pixel[channel] >> 8 : pixel[channel];
  };
  const bool isTransparent =
      picture.colourType != 3 && !picture.transparency.empty() &&
      std::equal(picture.transparency.begin(), picture.transparency.end(), pixel);
  if (isTransparent) return 0;
  switch (picture.colourType) {
    case 0:
      return picture.bitDepth >= 8 ? high : high * 255 / ((1 << picture.bitDepth) - 1);
    case 2:
      return std::max({byteOf(0), byteOf(1), byteOf(2)});
    case 3: {
      const uint8_t* colour = &picture.palette[3 * std::size_t{pixel[0]}];
      const int alpha =
          pixel[0] < picture.transparency.size() ? picture.transparency[pixel[0]] : 255;
      return (std::max({colour[0], colour[1], colour[2]}) * alpha + 127) / 255;
    }
    case 4:
      return (high * byteOf(1) + 127) / 255;
    default:
      return (std::max({byteOf(0), byteOf(1), byteOf(2)}) * byteOf(3) + 127) / 255;
  }
}

RunRows expectedOf(const TestPicture& picture, const std::vector<uint16_t>& samples,
                   int threshold) {
  RunRows rows;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const int pixel = y * picture.width + x;
      const auto at =
          static_cast<std::size_t>(pixel) * static_cast<std::size_t>(picture.channels());
      if (greyOf(picture, &samples[at]) >= threshold) rows.add(x, x + 1);
    }
    rows.endRow();
  }
  return rows;
}

/// Pictures as slicers write them and stranger ones: empty, full and repeated rows, runs with soft
/// edges, noise; every kind of sample, filter, compression and division.
class PictureMaker {
 public:
  explicit PictureMaker(uint32_t seed) : random_(seed) {}

  TestPicture picture() {
    constexpr int kinds[][2] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                                {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
    TestPicture picture;
    const auto& kind = kinds[upTo(3) == 0 ? 3 : upTo(14)];
    picture.colourType = kind[0];
    picture.bitDepth = kind[1];
    picture.width = 1 + upTo(upTo(3) == 0 ? 300 : 40);
    picture.height = 1 + upTo(20);
    most_ = (1 << picture.bitDepth) - 1;
    if (picture.colourType == 3) fillPalette(picture);
    if (picture.colourType != 3 && picture.channels() % 2 == 1 && upTo(3) == 0) {
      for (int i = 0; i < picture.channels(); ++i) {
        picture.transparency.push_back(static_cast<uint16_t>(upTo(2) == 0 ? 0 : upTo(most_)));
      }
    }
    for (int y = 0; y < picture.height; ++y) addRow(picture);
    return picture;
  }

  PngForm form() {
    PngForm form;
    form.filters.clear();
    for (int i = 0; i <= upTo(5); ++i) form.filters.push_back(upTo(4));
    form.level = upTo(9);
    form.partBytes = static_cast<std::size_t>(upTo(2) == 0 ? 1 + upTo(50) : 0);
    return form;
  }

  uint8_t threshold() { return static_cast<uint8_t>(upTo(1) == 0 ? 128 : 1 + upTo(254)); }

 private:
  int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random_); }

  void fillPalette(TestPicture& picture) {
    most_ = upTo(most_);
    for (int i = 0; i < 3 * (most_ + 1); ++i) {
      picture.palette.push_back(static_cast<uint8_t>(upTo(255)));
    }
    for (int i = upTo(most_); i > 0; --i) {
      picture.transparency.push_back(static_cast<uint16_t>(upTo(255)));
    }
  }

  uint16_t sample() {
    const int kind = upTo(5);
    return static_cast<uint16_t>(kind == 0 ? 0 : kind == 1 ? most_ : upTo(most_));
  }

  void addRow(TestPicture& picture) {
    std::vector<uint16_t>& samples = picture.samples;
    const auto size =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.channels());
    const int kind = upTo(5);
    if (kind == 0 && samples.size() >= size) {
      const std::vector<uint16_t> last(samples.end() - static_cast<std::ptrdiff_t>(size),
                                       samples.end());
      samples.insert(samples.end(), last.begin(), last.end());
      return;
    }
    const uint16_t even = kind == 1 ? uint16_t{0} : sample();
    uint16_t value = even;
    for (std::size_t i = 0; i < size; ++i) {
      if (kind > 2 && upTo(kind == 3 ? 0 : 12) == 0) value = sample();
      samples.push_back(value);
    }
  }

  std::mt19937 random_;
  int most_ = 255;
};

TEST(PngLayer, EqualsWhatLibpngReadsInThousandsOfPictures) {
  DecodeMemory memory;
  for (uint32_t seed = 1; seed <= 6000; ++seed) {
    PictureMaker maker(seed);
    const TestPicture picture = maker.picture();
    const std::string file = png(picture, maker.form());
    const std::vector<uint16_t> samples = libpngSamples(file);
    ASSERT_EQ(samples.size(), picture.samples.size()) << seed;
    const uint8_t threshold = maker.threshold();
    RunRows material;
    decodeMaterial(parsePng(bytesOf(file)), {threshold, false}, memory, material);
    ASSERT_EQ(material, expectedOf(picture, samples, threshold))
        << "seed " << seed << ", colour type " << picture.colourType << ", " << picture.bitDepth
        << " bits, " << picture.width << " x " << picture.height;
  }
}

TEST(PngLayer, FindsNothingWhereLibpngRefusesACutFile) {
  const std::string file = greyPng(50, 40, std::vector<uint8_t>(2000, 200), {.level = 0});
  for (std::size_t size = 0; size < file.size(); ++size) {
    EXPECT_NE(defectOf(file.substr(0, size)), "") << size;
  }
  EXPECT_EQ(defectOf(file), "");
}

TEST(PngLayer, TakesTheThresholdItself) {
  const std::string file = greyPng(3, 1, {99, 100, 101});
  RunRows expected;
  expected.add(1, 3);
  expected.endRow();
  EXPECT_EQ(decoded(file, 100), expected);
}

TEST(PngLayer, TakesThreeBytesAPixelAsThreePixels) {
  TestPicture picture;
  picture.colourType = 2;
  picture.width = 2;
  picture.samples = {255, 255, 0, 0, 255, 0};
  const std::string file = png(picture);
  DecodeMemory memory;
  RunRows material;
  decodeMaterial(parsePng(bytesOf(file)), {128, true}, memory, material);
  RunRows expected;
  expected.add(0, 2);
  expected.add(4, 5);
  expected.endRow();
  EXPECT_EQ(material, expected);
}

Slice channelsOf(const TestPicture& picture, const PngForm& form = {}) {
  const std::string file = png(picture, form);
  DecodeMemory memory;
  Slice slice;
  decodeChannels(parsePng(bytesOf(file)), memory, slice);
  return slice;
}

TEST(PngLayer, TakesTheChannelsOfAnRgbPicture) {
  TestPicture picture;
  picture.colourType = 2;
  picture.width = 5;
  picture.height = 2;
  picture.samples = {255, 10, 255, 255, 20, 0, 1, 30, 254, 0, 40, 7, 255, 50, 9,  //
                     255, 10, 255, 255, 20, 0, 1, 30, 254, 0, 40, 7, 255, 50, 9};
  const Slice slice = channelsOf(picture, {.filters = {0, 2}});
  RunRows material;
  RunRows overhang;
  for (int row = 0; row < 2; ++row) {
    material.add(0, 3);
    material.add(4, 5);
    material.endRow();
    overhang.add(1, 3);
    overhang.add(4, 5);
    overhang.endRow();
  }
  EXPECT_EQ(slice.material, material);
  EXPECT_EQ(slice.overhang, overhang);
  EXPECT_THAT(slice.blue, testing::ElementsAre(0, 254, 9, 0, 254, 9));
  EXPECT_THAT(slice.green, testing::ElementsAre(20, 30, 50, 20, 30, 50));
}

TEST(PngLayer, GreyPicturesCarryNoChannels) {
  TestPicture picture;
  picture.samples = {1};
  try {
    channelsOf(picture);
    FAIL();
  } catch (const Defect& defect) {
    EXPECT_EQ(defect.problem, "carries no channels: it is no RGB picture");
  }
}

TEST(PngLayer, SaysWhatIsWrongWithAPicture) {
  const std::vector<uint8_t> grey(12, 255);
  const std::string whole = greyPng(4, 3, grey);
  EXPECT_EQ(defectOf(""), "is empty");
  EXPECT_EQ(defectOf("GIF89a..."), "is no PNG picture");
  EXPECT_EQ(defectOf(whole.substr(0, 20)),
            "is cut off in its chunk \"IHDR\": it has only 20 bytes");
  EXPECT_EQ(defectOf(whole.substr(0, 36)), "is cut off in the end: it has only 36 bytes");
  EXPECT_THAT(defectOf(whole.substr(0, 45)), HasSubstr("is cut off in its chunk \"IDAT\""));
  std::string flipped = whole;
  flipped[45] = static_cast<char>(flipped[45] ^ 1);
  EXPECT_EQ(defectOf(flipped), "is damaged: the checksum of its chunk \"IDAT\" is wrong");
  EXPECT_EQ(defectOf(greyPng(4, 3, grey, {.hasWrongPixelChecksum = true})),
            "is damaged: the checksum of its pixels is wrong");
  EXPECT_EQ(defectOf(greyPng(4, 3, grey, {.rows = 2})), "is cut off: it holds 2 of 3 rows");
  EXPECT_EQ(defectOf(greyPng(4, 3, grey, {.moreBytes = 1})),
            "is damaged: it holds more pixels than its size says");
  EXPECT_EQ(defectOf(greyPng(4, 3, grey, {.filters = {9}})),
            "is damaged: row 0 has the filter 9, which PNG does not know");
  EXPECT_EQ(defectOf(pngHead(4, 3, 8, 0, 1)), "is interlaced, which is not read");
  EXPECT_EQ(defectOf(pngHead(4, 3, 8, 0, 2)), "is packed in a way that PNG does not know");
  EXPECT_EQ(defectOf(pngHead(0, 3)), "has no pixels: it is 0 x 3");
  EXPECT_THAT(defectOf(pngHead(70000, 3)),
              HasSubstr("is 70,000 x 3 pixels; the limits are 65,535"));
  EXPECT_THAT(defectOf(pngHead(60000, 60000)), HasSubstr("268,435,456 in all"));
  EXPECT_THAT(defectOf(pngHead(16000, 16000, 16, 6)), HasSubstr("unpacks to more than"));
  EXPECT_THAT(defectOf(pngHead(4, 3, 3, 0)), HasSubstr("colour type 0 with 3 bits is none"));
  EXPECT_THAT(defectOf(pngHead(4, 3, 8, 5)), HasSubstr("colour type 5 with 8 bits is none"));
  EXPECT_EQ(defectOf(pngHead(4, 3) + chunk("IEND", "")), "has no pixels in it");
  EXPECT_EQ(defectOf(pngHead(4, 3, 8, 3) + chunk("IDAT", "x") + chunk("IEND", "")),
            "is damaged: its palette is missing");
  EXPECT_EQ(defectOf(pngHead(4, 3, 8, 3) + chunk("PLTE", "xy")), "is damaged: its palette is none");
  EXPECT_EQ(defectOf(pngHead(4, 3) + chunk("XYZW", "")), "has a part \"XYZW\" that is not read");
  EXPECT_EQ(defectOf(pngHead(4, 3) + chunk("IDAT", "x") + chunk("tEXt", "") + chunk("IDAT", "x")),
            "is damaged: its pixels are in several places");
  EXPECT_EQ(defectOf(pngHead(4, 3) + chunk("IDAT", "garbage") + chunk("IEND", "")),
            "is damaged: its pixels can't be unpacked");
  EXPECT_THAT(defectOf(pngHead(16000, 16000) + chunk("IDAT", "garbage") + chunk("IEND", "")),
              HasSubstr("7 bytes can't hold the 16,000 rows"));
  TestPicture picture;
  picture.colourType = 3;
  picture.palette = {1, 2, 3};
  picture.samples = {7};
  EXPECT_EQ(defectOf(png(picture)), "is damaged: it names colour 7 of a palette of 1");
}

}  // namespace
}  // namespace stiltforge::printer_files
