#include "mesh/read_mesh.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/failing_allocation.h"
#include "mesh/mesh_error.h"
#include "mesh/mesh_files.h"

#ifdef __unix__
#include <sys/stat.h>
#endif

namespace stiltforge::mesh {
namespace {

using testing::HasSubstr;

const Soup cube = box({1, 2, 3}, {4, 6, 8});

class MeshFile : public testing::Test {
 protected:
  MeshFile() { std::filesystem::create_directories(folder_); }
  ~MeshFile() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path file(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return folder_ / name;
  }

  static std::string refusalOf(const std::filesystem::path& path) {
    try {
      readMeshFile(path);
    } catch (const MeshError& error) {
      return error.what();
    }
    return "";
  }

  const std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) /
      (std::string("stiltforge-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST(ReadMesh, GivesTheSameTrianglesWhicheverTheFormat) {
  const Soup ball = lumpyBall(60);
  for (const std::string& bytes :
       {binaryStl(ball), textStl(ball), obj(ball), textPly(ball),
        binaryPly(ball, ByteOrder::little), binaryPly(ball, ByteOrder::big), threeMf(ball)}) {
    const Mesh mesh = read(bytes);
    EXPECT_EQ(mesh.positions, ball) << nameOf(mesh.format);
  }
}

TEST(ReadMesh, RefusesWhatIsNoMesh) {
  EXPECT_EQ(refusal(""), "the file is empty. Copy or export it again.");
  EXPECT_THAT(refusal("dear diary"), HasSubstr("the content is none of STL, OBJ, PLY or 3MF"));
  EXPECT_THAT(refusal(std::string("\x89PNG\0\1", 6)), HasSubstr("that of a PNG file"));
  EXPECT_THAT(refusal(std::string("\xff\xfev\0 \0", 6)), HasSubstr("the text is in UTF-16"));
  EXPECT_THAT(refusal(std::string("\xfe\xff\0v\0 ", 6)), HasSubstr("the text is in UTF-16"));
  EXPECT_THAT(refusal("ISO-10303-21;\nHEADER;"), HasSubstr("the content is that of a STEP file"));
  EXPECT_THAT(refusal(std::string("glTF\2\0\0\0", 8)), HasSubstr("that of a glTF file"));
}

TEST(ReadMesh, StopsWhenItIsCancelled) {
  const std::atomic<bool> cancelled{true};
  EXPECT_THROW(readMesh(textStl(cube), {}, &cancelled), Cancelled);
  EXPECT_THROW(readMesh(threeMf(cube), {}, &cancelled), Cancelled);
}

TEST(ReadMesh, SaysWhenMemoryRunsOut) {
  const std::string bytes = binaryStl(lumpyBall(60));
  const FailingAllocation large(200'000);
  EXPECT_THROW(read(bytes), std::bad_alloc);
}

TEST_F(MeshFile, IsReadLikeItsBytes) {
  for (const auto& [name, content] :
       {std::pair{"a.stl", binaryStl(cube)}, std::pair{"b.stl", textStl(cube)},
        std::pair{"c.obj", obj(cube)}, std::pair{"d.ply", binaryPly(cube, ByteOrder::big)},
        std::pair{"e.3mf", threeMf(cube)}}) {
    EXPECT_EQ(readMeshFile(file(name, content)).positions, cube) << name;
  }
}

TEST_F(MeshFile, TheContentDecidesOverTheName) {
  EXPECT_EQ(readMeshFile(file("really_stl.obj", binaryStl(cube))).format, Format::binaryStl);
  EXPECT_EQ(readMeshFile(file("really_3mf.stl", threeMf(cube))).format, Format::threeMf);
  EXPECT_EQ(readMeshFile(file("no_extension", textPly(cube))).format, Format::ply);
  EXPECT_EQ(
      readMeshFile(file("only_comments.obj", std::string(5000, '#') + "\n" + obj(cube))).format,
      Format::obj);
}

TEST_F(MeshFile, TheNameDecidesWhereTheContentLeavesItOpen) {
  EXPECT_THAT(refusalOf(file("cut.STL", binaryStl(cube).substr(0, 300))),
              HasSubstr("the binary STL is cut off"));
  EXPECT_THAT(refusalOf(file("short.stl", std::string("\0\1\2", 3))),
              HasSubstr("the file has 3 bytes, a binary STL has at least 84"));
  EXPECT_THAT(refusalOf(file("noise.obj", std::string("\xa7\0\1", 3))),
              HasSubstr("the content is not that of a file named .obj"));
}

TEST_F(MeshFile, APictureIsNoMeshWhateverItsName) {
  const std::string picture("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
  for (const char* name : {"picture.stl", "picture.obj", "picture.png"}) {
    EXPECT_THAT(refusalOf(file(name, picture)), HasSubstr("the content is that of a PNG file"));
  }
}

TEST_F(MeshFile, ThatCannotBeReadSaysWhy) {
  EXPECT_EQ(refusalOf(folder_ / "nowhere.stl"), "there is no such file. Check the path.");
  EXPECT_EQ(refusalOf(folder_ / "nowhere" / "part.stl"), "there is no such file. Check the path.");
  EXPECT_EQ(
      refusalOf(folder_ / u8"caf\uFFFD.stl"),
      "there is no such file. Rename it if its name, or that of a folder above it, is not valid "
      "UTF-8.");
  EXPECT_EQ(refusalOf(folder_), "this is a folder. Name a mesh file in it.");
  EXPECT_THAT(refusalOf(file("a.stl", "x") / "b.stl"), HasSubstr("Check the path"));
  EXPECT_EQ(refusalOf(file("empty.stl", "")), "the file is empty. Copy or export it again.");
}

#ifdef __unix__
TEST_F(MeshFile, DevicesAndPipesAreNotOpened) {
  EXPECT_EQ(refusalOf("/dev/zero"), "this is a device, not a file. Name a mesh file.");
  const std::filesystem::path pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(refusalOf(pipe),
            "this is a pipe, which can be read only once. Save it as a file first.");
}
#endif

}  // namespace
}  // namespace stiltforge::mesh
