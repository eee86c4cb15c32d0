#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "files/file_error.h"
#include "printer_files/limits.h"
#include "printer_files/png_writer.h"
#include "printer_files/prints.h"

namespace stiltforge::printer_files {
namespace {

using files::zipArchive;
using files::ZipEntry;
using testing::AllOf;
using testing::HasSubstr;

const std::string layer = evenPng(6, 4, 255);

std::vector<ZipEntry> numbered(const std::vector<std::string>& names) {
  std::vector<ZipEntry> entries;
  for (const std::string& name : names) entries.emplace_back(name, layer);
  return entries;
}

/// The entry of that name with other content, or nothing in its place.
std::string sl1With(const std::string& name, const std::string& content) {
  std::vector<ZipEntry> entries = sl1Entries(6, 4, {layer, layer});
  for (ZipEntry& entry : entries) {
    if (entry.name == name) entry.content = content;
  }
  return zipArchive(entries);
}

TEST(Sl1, TellsOfThePrint) {
  const auto file = open(sl1(6, 4, {layer, layer, layer}));
  const PrintInfo& info = file->info();
  EXPECT_EQ(info.format, "SL1");
  EXPECT_EQ(info.layerCount, 3u);
  EXPECT_EQ(info.width, 6u);
  EXPECT_EQ(info.height, 4u);
  EXPECT_DOUBLE_EQ(*info.layerHeight, 0.05);
  EXPECT_DOUBLE_EQ(*info.pixelWidth, 0.1);
  EXPECT_DOUBLE_EQ(*info.pixelHeight, 0.1);
  EXPECT_TRUE(info.isMirroredX);
  EXPECT_FALSE(info.isMirroredY);
  EXPECT_EQ(info.printer, "SL1");
  EXPECT_EQ(info.material, "resin A");
}

TEST(Sl1, TellsOfAFirstLayerOfItsOwnHeight) {
  std::vector<ZipEntry> entries = sl1Entries(6, 4, {layer, layer});
  EXPECT_FALSE(open(zipArchive(entries))->info().firstLayerHeight);
  entries[1].content += "initial_layer_height = 0.3\n";
  EXPECT_DOUBLE_EQ(*open(zipArchive(entries))->info().firstLayerHeight, 0.3);
}

TEST(Sl1, HasItsLayersInOrder) {
  std::vector<std::string> layers;
  for (int i = 0; i < 12; ++i) {
    std::vector<uint8_t> grey(24, 0);
    grey[static_cast<std::size_t>(i)] = 255;
    layers.push_back(greyPng(6, 4, grey));
  }
  std::vector<ZipEntry> entries = sl1Entries(6, 4, layers);
  std::swap(entries[4], entries[9]);
  const auto file = open(zipArchive(entries));
  for (uint32_t i = 0; i < 12; ++i) {
    const RunRows material = materialOf(*file, i);
    ASSERT_EQ(material.pixelCount(), 1u);
    EXPECT_EQ(material[0].begin, i % 6);
  }
}

TEST(Sl1, TakesATurnedScreenAsTheLayersShowIt) {
  std::vector<ZipEntry> entries = sl1Entries(6, 4, {layer});
  entries[1].content =
      "display_width = 0.8\ndisplay_height = 3\ndisplay_pixels_x = 4\ndisplay_pixels_y = 6\n"
      "display_orientation = portrait\n";
  const auto file = open(zipArchive(entries));
  EXPECT_DOUBLE_EQ(*file->info().pixelWidth, 0.5);
  EXPECT_DOUBLE_EQ(*file->info().pixelHeight, 0.2);
  EXPECT_TRUE(file->info().isTurned);
}

TEST(Sl1, TakesASquareScreenAsTurnedWhereTheSettingsSaySo) {
  std::vector<ZipEntry> entries = sl1Entries(4, 4, {evenPng(4, 4, 255)});
  EXPECT_FALSE(open(zipArchive(entries))->info().isTurned);
  entries[1].content += "display_orientation = portrait\n";
  EXPECT_TRUE(open(zipArchive(entries))->info().isTurned);
}

TEST(Sl1, KnowsItsLayersByTheTitleThatTheConfigGives) {
  std::vector<ZipEntry> entries = sl1Entries(6, 4, {layer, layer});
  entries[0].content = "jobDir = part2\nlayerHeight = 0.1\n";
  entries[2].name = "part200000.png";
  entries[3].name = "part200001.png";
  for (int i = 0; i < 5; ++i) entries.emplace_back("thumbnail" + std::to_string(i) + ".png", "");
  EXPECT_EQ(open(zipArchive(entries))->info().layerCount, 2u);
}

TEST(Sl1, WithoutAScreenOrConfigSaysNothingOfThem) {
  std::vector<ZipEntry> entries = sl1Entries(6, 4, {layer});
  entries.erase(entries.begin() + 1);
  const auto file = open(zipArchive(entries));
  EXPECT_FALSE(file->info().pixelWidth);
  EXPECT_EQ(file->info().layerHeight, 0.05);
  const auto pictures = open(zipArchive({entries.back()}));
  EXPECT_EQ(pictures->info().format, "archive of pictures");
  EXPECT_FALSE(pictures->info().layerHeight);
}

TEST(Sl1, WhereTheConfigContradictsThePicturesItIsRefused) {
  EXPECT_EQ(refusal(sl1(6, 4, {evenPng(4, 4, 0)})),
            "prusaslicer.ini tells of a screen of 6 x 4 pixels, but the picture "
            "\"part00000.png\" has 4 x 4 pixels. Export the print again.");
  EXPECT_THAT(refusal(sl1With("config.ini", "jobDir = part\nnumFast = 2\nnumSlow = 1\n")),
              HasSubstr("config.ini tells of 3 layers, but the archive has pictures of 2"));
  EXPECT_THAT(refusal(sl1With("config.ini", "layerHeight = thin\n")),
              HasSubstr("config.ini has the layerHeight \"thin\", which is no positive number"));
  EXPECT_THAT(refusal(sl1With("config.ini", "layerHeight = -1\n")),
              HasSubstr("no positive number"));
  EXPECT_THAT(refusal(sl1With("config.ini", "numFast = 1.5\n")), HasSubstr("no whole number"));
}

std::vector<ZipEntry> nanoDlp(const std::string& options, const std::string& picture = layer) {
  return {{"meta.json", R"({"Distro": "generic"})"},
          {"plate.json", R"({"LayersCount": 2, "Path": null})"},
          {"options.json", options},
          {"profile.json", R"({"Title": "resin B", "Depth": 30})"},
          {"3d.png", "not a layer"},
          {"1.png", picture},
          {"2.png", picture}};
}

TEST(NanoDlp, TellsOfThePrint) {
  const auto file = open(zipArchive(nanoDlp(
      R"({"PWidth": 6, "PHeight": 4, "Thickness": 50, "XPixelSize": 0.02, "YPixelSize": 0.03})")));
  const PrintInfo& info = file->info();
  EXPECT_EQ(info.format, "NanoDLP");
  EXPECT_EQ(info.layerCount, 2u);
  EXPECT_DOUBLE_EQ(*info.layerHeight, 0.05);
  EXPECT_DOUBLE_EQ(*info.pixelWidth, 0.02);
  EXPECT_DOUBLE_EQ(*info.pixelHeight, 0.03);
  EXPECT_EQ(info.printer, "generic");
  EXPECT_EQ(info.material, "resin B");
  EXPECT_EQ(materialOf(*file, 1).pixelCount(), 24u);
}

TEST(NanoDlp, TakesTheLayerHeightOfTheProfileWhereThatAloneHasIt) {
  EXPECT_DOUBLE_EQ(*open(zipArchive(nanoDlp("{}")))->info().layerHeight, 0.03);
}

TEST(NanoDlp, UnpacksScreensOfThreePixelsAColour) {
  TestPicture packed;
  packed.colourType = 2;
  packed.width = 2;
  packed.height = 1;
  packed.samples = {0, 255, 255, 255, 0, 0};
  const std::string options = R"({"PWidth": 6, "PHeight": 1})";
  const auto file = open(zipArchive(nanoDlp(options, png(packed))));
  EXPECT_EQ(file->info().width, 6u);
  const RunRows material = materialOf(*file, 0);
  ASSERT_EQ(material.runCount(), 1u);
  EXPECT_EQ(material[0], (stiltforge::Run{1, 4}));
  std::vector<ZipEntry> mixed = nanoDlp(options, png(packed));
  mixed.back().content = evenPng(2, 1, 255);
  EXPECT_THAT(refusal(zipArchive(mixed)),
              HasSubstr("layer 1 (\"2.png\") has no three bytes a pixel, as layer 0 has"));
}

TEST(NanoDlp, SettingsThatMakeNoSenseAreRefused) {
  EXPECT_THAT(refusal(zipArchive(nanoDlp("[1, 2"))),
              HasSubstr("\"options.json\" of the archive is no JSON object"));
  EXPECT_THAT(refusal(zipArchive(nanoDlp(R"({"Thickness": "50"})"))),
              HasSubstr("\"options.json\" of the archive has the Thickness \"\"50\"\""));
  EXPECT_THAT(refusal(zipArchive(nanoDlp(R"({"PWidth": 60, "PHeight": 4})"))),
              HasSubstr("options.json tells of a screen of 60 x 4 pixels"));
  EXPECT_THAT(refusal(zipArchive(nanoDlp(R"({"PWidth": 6.5, "PHeight": 4})"))),
              HasSubstr("has the PWidth \"6.5\", which is no whole number"));
  std::vector<ZipEntry> fewer = nanoDlp("{}");
  fewer.pop_back();
  EXPECT_THAT(refusal(zipArchive(fewer)),
              HasSubstr("plate.json tells of 2 layers, but the archive has pictures of 1"));
}

TEST(Pictures, AreOrderedByTheirNumbersNotTheirNames) {
  std::vector<ZipEntry> entries;
  for (int i = 11; i >= 1; --i) {
    std::vector<uint8_t> grey(24, 0);
    grey[static_cast<std::size_t>(i)] = 255;
    entries.emplace_back("slices/" + std::to_string(i) + ".PNG", greyPng(6, 4, grey));
  }
  const auto file = open(zipArchive(entries));
  for (uint32_t i = 0; i < 11; ++i) EXPECT_EQ(materialOf(*file, i)[0].begin, (i + 1) % 6);
}

TEST(Pictures, NumbersThatAreMissingOrDoubledAreRefused) {
  EXPECT_EQ(
      refusal(zipArchive(numbered({"a0.png", "a1.png", "a3.png"}))),
      "the layers of the archive have a gap: number 2 is missing before \"a3.png\". Export the "
      "print again; layers can't be left out.");
  EXPECT_THAT(refusal(zipArchive(numbered({"a0.png", "a1.png", "a9.png"}))),
              HasSubstr("numbers 2 to 8 are missing"));
  EXPECT_THAT(refusal(zipArchive(numbered({"a1.png", "a2.png", "a02.png"}))),
              HasSubstr("the archive has number 2 twice, as \"a2.png\" and \"a02.png\""));
  EXPECT_THAT(refusal(zipArchive(numbered({"a1.png", "a2.png", "a2.png"}))),
              HasSubstr("has number 2 twice"));
  EXPECT_THAT(
      refusal(zipArchive(numbered({"a7.png", "a8.png", "a9.png", "a10.png"}))),
      HasSubstr("the layers of the archive begin with \"a7.png\": those below are missing"));
}

TEST(Pictures, DigitsOfATitleAreNoNumber) {
  EXPECT_EQ(open(zipArchive(numbered({"v2_000.png", "v2_001.png"})))->info().layerCount, 2u);
  EXPECT_EQ(open(zipArchive(numbered({"v20000.png", "v20001.png"})))->info().layerCount, 2u);
  EXPECT_EQ(open(zipArchive(numbered({"v20001.png", "v20002.png"})))->info().layerCount, 2u);
}

TEST(Pictures, TheLongestSeriesAreTheLayers) {
  std::vector<ZipEntry> entries = numbered({"a0.png", "a1.png", "a2.png", "b0.png", "b1.png"});
  entries.emplace_back("__MACOSX/._a0.png", "");
  entries.emplace_back("readme.txt", "");
  EXPECT_EQ(open(zipArchive(entries))->info().layerCount, 3u);
  EXPECT_THAT(refusal(zipArchive(numbered({"a0.png", "a1.png", "b0.png", "b1.png"}))),
              HasSubstr("two series of pictures, of \"a0.png\" and of \"b0.png\""));
  EXPECT_THAT(refusal(zipArchive({{"readme.txt", ""}})),
              HasSubstr("the archive has no numbered PNG pictures in it"));
}

TEST(Pictures, OfDifferentSizesAreRefused) {
  EXPECT_EQ(refusal(zipArchive({{"0.png", layer}, {"1.png", evenPng(6, 5, 0)}})),
            "layer 1 (\"1.png\") has 6 x 5 pixels, but layer 0 has 6 x 4 pixels. Export all layers "
            "in the same size.");
}

TEST(Pictures, ADamagedOneIsNamed) {
  EXPECT_EQ(
      refusal(zipArchive({{"0.png", layer}, {"1.png", layer.substr(0, 50)}})),
      "layer 1 (\"1.png\") is cut off in its chunk \"IDAT\": it has only 50 bytes. The file is "
      "cut off or damaged; copy or export it again.");
  EXPECT_THAT(refusal(zipArchive({{"0.png", "text"}})),
              HasSubstr("layer 0 (\"0.png\") is no PNG picture"));
}

TEST(Pictures, NamesThatLeadOutOfTheArchiveAreRefused) {
  for (const std::string folder : {"../", "a/../../", "/etc/", "C:", "..\\"}) {
    EXPECT_THAT(refusal(zipArchive(numbered({folder + "0.png", folder + "1.png"}))),
                HasSubstr("leads out of the archive"))
        << folder;
  }
}

TEST(Archive, WrongSizesAndChecksumsAreRefused) {
  const auto refusalWith = [](auto change) {
    ZipEntry entry("1.png", layer);
    change(entry);
    return refusal(zipArchive({{"0.png", layer}, entry}));
  };
  EXPECT_THAT(refusalWith([](ZipEntry& entry) { entry.checksum = 1; }),
              HasSubstr("layer 1 (\"1.png\") is damaged: its checksum in the archive is wrong"));
  EXPECT_THAT(refusalWith([](ZipEntry& entry) { entry.unpackedSize = 10; }),
              HasSubstr("layer 1 (\"1.png\") is damaged: it can't be unpacked"));
  EXPECT_THAT(refusalWith([](ZipEntry& entry) { entry.unpackedSize = 1'000'000; }),
              HasSubstr("layer 1 (\"1.png\") is damaged: it can't be unpacked"));
  EXPECT_THAT(refusalWith([](ZipEntry& entry) { entry.flags = 1; }),
              AllOf(HasSubstr("\"1.png\" of the archive is encrypted"), HasSubstr("password")));
  EXPECT_THAT(refusalWith([](ZipEntry& entry) { entry.method = 93; }),
              HasSubstr("is packed by method 93"));
  EXPECT_THAT(refusalWith([](ZipEntry& entry) {
                entry.isDeflated = false;
                entry.unpackedSize = 10;
              }),
              HasSubstr("1.png\""));
}

TEST(Archive, ABombIsRefusedByTheLimits) {
  ZipEntry bomb("0.png", layer);
  bomb.unpackedSize = static_cast<int64_t>(mostPictureBytes) + 1;
  EXPECT_THAT(refusal(zipArchive({bomb})),
              HasSubstr("layer 0 (\"0.png\") has 536,870,913 bytes; the limit is 536,870,912"));
  EXPECT_THAT(refusal(sl1With("config.ini", std::string(mostSettingsBytes + 1, ' '))),
              HasSubstr("has more than 4,194,304 bytes"));
  EXPECT_THAT(refusal(zipArchive({{"0.png", pngHead(60000, 60000)}})), HasSubstr("the limits are"));
}

TEST(Archive, ACutOneIsRefused) {
  const std::string whole = sl1(6, 4, {layer, layer});
  // Nothing is lost with the end of the last number, which is 0.
  for (std::size_t size = 0; size + 3 < whole.size(); ++size) {
    EXPECT_NE(refusal(std::string_view(whole).substr(0, size)), "") << size;
  }
  EXPECT_EQ(refusal(whole), "");
}

TEST(Archive, OtherFilesAreRefused) {
  EXPECT_EQ(refusal(""), "the file is empty. Copy or export it again.");
  EXPECT_THAT(refusal("solid part\n"),
              HasSubstr("the content is none of SL1, NanoDLP, GOO or a zip archive of pictures"));
}

TEST(Archive, SeveralThreadsMayReadIt) {
  std::vector<std::string> layers;
  for (int i = 0; i < 24; ++i) {
    std::vector<uint8_t> grey(24, 0);
    grey[static_cast<std::size_t>(i)] = 255;
    layers.push_back(greyPng(6, 4, grey));
  }
  const auto file = open(sl1(6, 4, layers));
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (uint32_t index = 0; index < 24; ++index) {
        const RunRows material = materialOf(*file, index);
        right += material.rowStart(index / 6) == 0 && material[0].begin == index % 6 ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 4 * 24);
}

TEST(Archive, AReadingThatIsCancelledEnds) {
  std::atomic<bool> cancelled = false;
  ReadOptions options;
  options.cancelled = &cancelled;
  const auto file = open(sl1(6, 4, {layer}), options);
  cancelled = true;
  EXPECT_THROW(materialOf(*file, 0), files::Cancelled);
}

}  // namespace
}  // namespace stiltforge::printer_files
