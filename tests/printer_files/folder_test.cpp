#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "printer_files/goo_writer.h"
#include "printer_files/png_writer.h"
#include "printer_files/prints.h"

namespace stiltforge::printer_files {
namespace {

using testing::HasSubstr;

class Folder : public testing::Test {
 protected:
  Folder()
      : path_(std::filesystem::temp_directory_path() /
              ("stiltforge_printer_files_" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(path_);
  }
  ~Folder() override { std::filesystem::remove_all(path_); }

  std::filesystem::path write(const std::string& name, const std::string& content) const {
    std::ofstream(path_ / name, std::ios::binary) << content;
    return path_ / name;
  }

  const std::filesystem::path path_;
};

TEST_F(Folder, OfNumberedPicturesIsAPrint) {
  write("layer_2.png", evenPng(6, 4, 255));
  write("layer_1.png", evenPng(6, 4, 0));
  write("notes.txt", "");
  const auto file = openPrinterFile(path_);
  EXPECT_EQ(file->info().format, "folder of pictures");
  EXPECT_EQ(file->info().layerCount, 2u);
  EXPECT_TRUE(materialOf(*file, 0).empty());
  EXPECT_EQ(materialOf(*file, 1).pixelCount(), 24u);
  EXPECT_TRUE(isPrinterFile(path_));
}

TEST_F(Folder, SaysWhatIsWrong) {
  EXPECT_THAT(refusalOf(path_), HasSubstr("the folder has no numbered PNG pictures in it"));
  write("0.png", evenPng(6, 4, 255));
  std::filesystem::create_directory(path_ / "1.png");
  EXPECT_EQ(refusalOf(path_),
            "layer 1 (\"1.png\") is no file that can be read. Check the files of the folder and "
            "their permissions.");
  EXPECT_THAT(refusalOf(path_ / "nothing"), HasSubstr("there is no such file"));
}

TEST_F(Folder, PrinterFilesAreToldFromMeshes) {
  EXPECT_TRUE(isPrinterFile(write("a.sl1", sl1(6, 4, {evenPng(6, 4, 255)}))));
  TestGoo goo;
  goo.layers = {gooLayer({255})};
  EXPECT_TRUE(isPrinterFile(write("a.goo", gooFile(goo))));
  EXPECT_FALSE(isPrinterFile(write("a.stl", "solid a\nendsolid a\n")));
  EXPECT_FALSE(isPrinterFile(
      write("a.3mf", files::zipArchive({{"_rels/.rels", ""}, {"3D/3dmodel.model", ""}}))));
  EXPECT_FALSE(isPrinterFile(path_ / "nothing"));
  const std::string archive = sl1(6, 4, {evenPng(6, 4, 255)});
  EXPECT_TRUE(isPrinterFile(write("a.zip", archive)));
  EXPECT_TRUE(isPrinterFile(write("cut.zip", archive.substr(0, 100))));
  EXPECT_FALSE(isPrinterFile(write("cut.3mf", archive.substr(0, 100))));
  EXPECT_TRUE(isPrinterFile(write("garbage.GOO", "garbage")));
}

}  // namespace
}  // namespace stiltforge::printer_files
