#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "printer_files/goo_writer.h"
#include "printer_files/prints.h"

namespace stiltforge::printer_files {
namespace {

using testing::HasSubstr;

constexpr std::size_t headerBytes = 0x2fb95;
constexpr std::size_t beforeRuns = 64 + 2 + 4;

std::vector<uint8_t> softPicture(std::size_t pixels, std::mt19937& random) {
  std::vector<uint8_t> grey;
  const auto upTo = [&](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
  int value = 0;
  while (grey.size() < pixels) {
    const int kind = upTo(4);
    value = kind == 0   ? 0
            : kind == 1 ? 255
            : kind == 2 ? upTo(255)
                        : std::clamp(value + upTo(30) - 15, 0, 255);
    const int length = 1 + upTo(upTo(5) == 0 ? 6000 : 20);
    grey.insert(grey.end(), static_cast<std::size_t>(length), static_cast<uint8_t>(value));
  }
  grey.resize(pixels);
  return grey;
}

TestGoo gooOf(int width, int height, std::vector<std::string> layers) {
  TestGoo goo;
  goo.width = width;
  goo.height = height;
  goo.screenWidth = 0.1F * static_cast<float>(width);
  goo.screenHeight = 0.2F * static_cast<float>(height);
  goo.layers = std::move(layers);
  return goo;
}

std::string evenLayer(int pixels, uint8_t grey) {
  return gooLayer(std::vector<uint8_t>(static_cast<std::size_t>(pixels), grey));
}

TEST(Goo, TellsOfThePrint) {
  TestGoo goo = gooOf(40, 30, {evenLayer(1200, 0), evenLayer(1200, 255)});
  goo.isMirroredX = true;
  const auto file = open(gooFile(goo));
  const PrintInfo& info = file->info();
  EXPECT_EQ(info.format, "GOO");
  EXPECT_EQ(info.layerCount, 2u);
  EXPECT_EQ(info.width, 40u);
  EXPECT_EQ(info.height, 30u);
  EXPECT_FLOAT_EQ(static_cast<float>(*info.layerHeight), 0.05F);
  EXPECT_FLOAT_EQ(static_cast<float>(*info.pixelWidth), 0.1F);
  EXPECT_FLOAT_EQ(static_cast<float>(*info.pixelHeight), 0.2F);
  EXPECT_TRUE(info.isMirroredX);
  EXPECT_FALSE(info.isMirroredY);
  EXPECT_EQ(info.printer, "a printer");
  EXPECT_EQ(info.material, "a resin");
}

TEST(Goo, HasTheLayersThatAnotherWriterWrote) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const int width = 1 + static_cast<int>(random() % 200);
    const int height = 1 + static_cast<int>(random() % 100);
    std::vector<std::vector<uint8_t>> greys;
    std::vector<std::string> layers;
    for (int layer = 0; layer < 3; ++layer) {
      greys.push_back(
          softPicture(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), random));
      layers.push_back(gooLayer(greys.back()));
    }
    TestGoo goo = gooOf(width, height, layers);
    goo.hasLineEnds = round % 2 == 0;
    const auto file = open(gooFile(goo));
    for (uint32_t layer = 0; layer < 3; ++layer) {
      ASSERT_EQ(materialOf(*file, layer), runsOf(width, height, greys[layer])) << round;
    }
  }
}

TEST(Goo, TakesRunsOfMillionsOfPixels) {
  const auto file = open(gooFile(gooOf(8000, 4000, {evenLayer(32'000'000, 255)})));
  EXPECT_EQ(materialOf(*file, 0).pixelCount(), 32'000'000u);
}

TEST(Goo, TakesTheThreshold) {
  const std::string bytes = gooFile(gooOf(3, 1, {gooLayer({9, 10, 11})}));
  ReadOptions options;
  options.threshold = 10;
  EXPECT_EQ(materialOf(*open(bytes, options), 0).pixelCount(), 2u);
}

TEST(Goo, SaysWhatIsWrongWithALayer) {
  const auto refusalOfLayer = [](const std::string& layer) {
    return refusal(gooFile(gooOf(10, 2, {evenLayer(20, 0), layer})));
  };
  std::string wrongSum = evenLayer(20, 0);
  wrongSum.back() = static_cast<char>(wrongSum.back() ^ 1);
  EXPECT_EQ(refusalOfLayer(wrongSum),
            "layer 1 of the GOO file is damaged: its checksum is wrong. The file is cut off or "
            "damaged; copy or export it again.");
  EXPECT_THAT(
      refusalOfLayer(evenLayer(19, 0)),
      HasSubstr("layer 1 of the GOO file is damaged: its runs leave 1 pixel of 10 x 2 open"));
  EXPECT_THAT(refusalOfLayer(evenLayer(21, 0)),
              HasSubstr("its runs cover more than 10 x 2 pixels"));
  EXPECT_THAT(refusalOfLayer(gooRuns("\x70")), HasSubstr("its last run is cut off"));
  EXPECT_THAT(refusalOfLayer(gooRuns("\xa1")), HasSubstr("a run is brighter than white"));
  EXPECT_THAT(refusalOfLayer(""), HasSubstr("its runs do not begin as GOO has it"));
  EXPECT_THAT(refusalOfLayer("xyz"), HasSubstr("its runs do not begin as GOO has it"));
}

TEST(Goo, SaysWhereTheFileIsCutOff) {
  const std::string bytes = gooFile(gooOf(10, 2, {evenLayer(20, 0), evenLayer(20, 255)}));
  const std::size_t layer = beforeRuns + evenLayer(20, 0).size() + 2;
  EXPECT_THAT(refusal(bytes.substr(0, 1000)),
              HasSubstr("the GOO file is cut off in its header, which has 195,477 bytes"));
  EXPECT_THAT(refusal(bytes.substr(0, headerBytes + 10)),
              HasSubstr("the GOO file is cut off in layer 0 of 2"));
  EXPECT_THAT(refusal(bytes.substr(0, headerBytes + layer)),
              HasSubstr("the GOO file is cut off in layer 1 of 2"));
  EXPECT_THAT(refusal(bytes.substr(0, headerBytes + layer + beforeRuns + 2)),
              HasSubstr("the GOO file is cut off in layer 1 of 2"));
  TestGoo more = gooOf(10, 2, {evenLayer(20, 0)});
  more.announcedLayers = 2;
  EXPECT_THAT(refusal(gooFile(more)), HasSubstr("the GOO file is cut off in layer 1 of 2"));
}

TEST(Goo, SaysWhatIsWrongWithTheHeader) {
  const auto refusalWith = [](auto change) {
    TestGoo goo = gooOf(10, 2, {evenLayer(20, 0)});
    change(goo);
    return refusal(gooFile(goo));
  };
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.announcedLayers = 0; }),
              HasSubstr("tells of 0 layers; 1 to 65,535 are read"));
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.announcedLayers = 70000; }),
              HasSubstr("tells of 70,000 layers"));
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.width = 0; }),
              HasSubstr("tells of layers of 0 x 2 pixels"));
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.width = goo.height = 60000; }),
              HasSubstr("tells of layers of 60,000 x 60,000 pixels; 1 to 268,435,456 are read"));
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.layerHeight = -1; }),
              HasSubstr("gives the layer height as -1 mm"));
  EXPECT_THAT(refusalWith([](TestGoo& goo) { goo.screenWidth = 0; }),
              HasSubstr("gives the screen's width as 0 mm"));
}

TEST(Goo, CarriesNoChannels) {
  const auto file = open(gooFile(gooOf(10, 2, {evenLayer(20, 0)})));
  Slice slice;
  EXPECT_ANY_THROW(file->readChannels(0, slice));
}

}  // namespace
}  // namespace stiltforge::printer_files
