#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "mesh/mesh_files.h"

namespace stiltforge::mesh {
namespace {

using testing::HasSubstr;

const Soup cube = box({1, 2, 3}, {4, 6, 8});

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

// A square of four vertices with whatever faces.
std::string square(const std::string& faces, int count = 1) {
  return "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
         "property float z\nelement face " +
         std::to_string(count) +
         "\nproperty list uchar int vertex_index\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n" + faces;
}

TEST(Ply, IsReadTriangleForTriangleInEachEncoding) {
  for (const std::string& bytes :
       {textPly(cube), binaryPly(cube, ByteOrder::little), binaryPly(cube, ByteOrder::big)}) {
    const Mesh mesh = read(bytes);
    EXPECT_EQ(mesh.format, Format::ply);
    EXPECT_EQ(mesh.positions, cube);
  }
}

TEST(Ply, LinesOfTheHeaderMayEndAnyhow) {
  for (const char* end : {"\r\n", "\r"}) {
    std::string text = textPly(cube);
    for (std::size_t at = text.find('\n'); at != std::string::npos;
         at = text.find('\n', at + std::string(end).size())) {
      text.replace(at, 1, end);
    }
    EXPECT_EQ(read(text).positions, cube);
  }
  // The first byte of the data is a line feed.
  Soup soup = cube;
  soup[0] = 1.40129846e-44f;
  std::string bytes = binaryPly(soup, ByteOrder::little);
  for (char& character : bytes) {
    character = character == '\n' ? '\r' : character;
    if (&character - bytes.data() >= static_cast<std::ptrdiff_t>(bytes.find("end_header") + 10))
      break;
  }
  EXPECT_EQ(read(bytes).positions, soup);
}

TEST(Ply, OtherElementsAndPropertiesArePassedOver) {
  const std::string text =
      "ply\nformat ascii 1.0\ncomment by hand\nobj_info none\n"
      "element camera 2\nproperty float fov\nproperty list uchar float lens\n"
      "element vertex 3\nproperty uchar red\nproperty double z\nproperty list int short tags\n"
      "property double x\nproperty float32 y\nelement empty 7\n"
      "element face 1\nproperty uchar flags\nproperty list uint8 uint32 vertex_indices\n"
      "property list uchar float texcoord\nelement edge 1\nproperty int v\nend_header\n"
      "1.5 0\n1.5 2 7 7\n"
      "9 3 0 1 2\n9 6 2 8 8 4 5\n9 0 1 3 7 1\n"
      "0 3 2 1 0 6 0 0 0 0 0 0\n5\n";
  EXPECT_EQ(read(text).positions, (Soup{7, 1, 0, 4, 5, 6, 1, 2, 3}));
}

TEST(Ply, ARemarkBeforeTheFirstElementNeedsNoKeyword) {
  const std::string text = textPly(cube);
  const std::string remark = "format ascii 1.0\nCreated by a program, source file: cube.dat\n";
  EXPECT_EQ(read(replaced(text, "format ascii 1.0\n", remark)).positions, read(text).positions);
}

TEST(Ply, BinaryElementsAndPropertiesArePassedOverToo) {
  std::string bytes =
      "ply\nformat binary_little_endian 1.0\nelement camera 1\nproperty double fov\n"
      "property list uchar short lens\nelement vertex 3\nproperty uchar red\nproperty short x\n"
      "property char y\nproperty double z\nelement face 1\nproperty list uint ushort vertex_index\n"
      "property uchar flags\nend_header\n";
  bytes += std::string("\0\0\0\0\0\0\0\0\2\1\1\1\1", 13);
  for (const char corner : {1, 2, 4}) {
    bytes += std::string("\7") + corner + std::string(1, '\0') + static_cast<char>(-corner) +
             std::string("\0\0\0\0\0\0\x08\x40", 8);
  }
  bytes += std::string("\3\0\0\0\0\0\1\0\2\0\7", 11);
  EXPECT_EQ(read(bytes).positions, (Soup{1, -1, 3, 2, -2, 3, 4, -4, 3}));
}

TEST(Ply, FacesOfMoreCornersBecomeTriangles) {
  EXPECT_EQ(read(square("4 0 1 2 3\n")).positions,
            (Soup{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0}));
  EXPECT_EQ(read(square("5 0 1 2 3 3\n")).triangleCount(), 3u);
}

TEST(Ply, APointCloudIsNoSolid) {
  const std::string text = textPly(cube);
  const std::string points =
      replaced(text.substr(0, text.find("3 0 1 2")), "element face 12", "element face 0");
  EXPECT_EQ(
      refusal(points),
      "the PLY is a point cloud: 36 vertices and no faces. Points enclose no solid; export the "
      "model as a triangle mesh.");
  EXPECT_THAT(refusal("ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float "
                      "y\nproperty float z\nend_header\n0 0 0\n"),
              HasSubstr("point cloud: 1 vertices"));
}

TEST(Ply, TriangleStripsAreNamed) {
  EXPECT_THAT(refusal("ply\nformat ascii 1.0\nelement vertex 0\nelement tristrips 1\nproperty list "
                      "int int vertex_indices\nend_header\n3 0 1 2\n"),
              HasSubstr("triangle strips, which are not read"));
}

TEST(Ply, AVertexThatIsNotThereIsNamedWithItsFace) {
  EXPECT_EQ(
      refusal(square("3 0 1 2\n3 0 1 4\n", 2)),
      "line 15: face 1 names vertex 4, but 4 vertices, counted from 0, precede it. The file is "
      "cut off or damaged; copy or export it again.");
  EXPECT_THAT(refusal(square("3 0 -1 2\n")), HasSubstr("face 0 names vertex -1"));
  std::string bytes = binaryPly(cube, ByteOrder::little);
  bytes.replace(bytes.size() - 4, 4, std::string("\xff\xff\xff\x7f", 4));
  EXPECT_THAT(refusal(bytes), HasSubstr("face 11 names vertex 2147483647, but 36 vertices"));
}

TEST(Ply, CoordinatesThatAreNoFiniteNumbersAreNamedWithTheirVertex) {
  EXPECT_THAT(refusal(replaced(square("3 0 1 2\n"), "1 1 0", "1 nan 0")),
              HasSubstr("line 12: y of vertex 2 (counted from 0) is not a finite number"));
  EXPECT_THAT(refusal(replaced(square("3 0 1 2\n"), "1 1 0", "1 1e99 0")),
              HasSubstr("y of vertex 2"));
  EXPECT_THAT(refusal(replaced(square("3 0 1 2\n"), "1 1 0", "1 0,5 0")),
              HasSubstr("line 12: \"0,5\" is no number"));
  std::string bytes = binaryPly(cube, ByteOrder::big);
  bytes.replace(bytes.find("end_header\n") + 11 + 12, 4, std::string("\x7f\x80\0\0", 4));
  EXPECT_THAT(refusal(bytes), HasSubstr("x of vertex 1 (counted from 0) is not a finite number"));
}

TEST(Ply, ThatIsCutOffSaysWhere) {
  const std::string text = textPly(cube);
  EXPECT_THAT(refusal(text.substr(0, text.size() - 40)),
              HasSubstr("the PLY ends in face 8 of the 12 that its header announces"));
  const std::string bytes = binaryPly(cube, ByteOrder::little);
  EXPECT_THAT(refusal(bytes.substr(0, bytes.size() - 3)), HasSubstr("ends in face 11 of the 12"));
  EXPECT_THAT(
      refusal(bytes.substr(0, 300)),
      HasSubstr("its header announces 36 of the element \"vertex\", the file has room for 10"));
  EXPECT_THAT(refusal("ply\nformat ascii 1.0\n"), HasSubstr("no \"end_header\" line"));
  const std::string more = "element \x1b[2J 1\nproperty list int int a\nend_header";
  EXPECT_THAT(refusal(replaced(text, "end_header", more) + "5\n"),
              HasSubstr("the PLY ends in \"?[2J\" 0 of the 1"));
}

TEST(Ply, AnAnnouncementThatNoFileCouldHoldTakesNoMemory) {
  EXPECT_THAT(refusal(replaced(textPly(cube), "vertex 36", "vertex 9000000000000000000")),
              HasSubstr("9,000,000,000,000,000,000 of the element \"vertex\", the file has room"));
  EXPECT_THAT(refusal(replaced(binaryPly(cube, ByteOrder::little), "face 12", "face 4000000000")),
              HasSubstr("4,000,000,000 of the element \"face\", the file has room for 156"));
  EXPECT_THAT(refusal(replaced(square("3 0 1 2\n"), "3 0 1 2", "2000000 0 1 2")),
              HasSubstr("face 0 has 2,000,000 corners; the limit is 1,000,000"));
}

TEST(Ply, AHeaderThatMakesNoSenseIsShown) {
  const std::string text = textPly(cube);
  EXPECT_THAT(refusal(replaced(text, "ascii", "utf8")),
              HasSubstr("the PLY format \"utf8\" is unknown"));
  EXPECT_THAT(refusal(replaced(text, "format ascii 1.0\n", "")), HasSubstr("no \"format\" line"));
  for (const char* line : {"property float16 x", "property float", "property list float int x",
                           "element vertex -1", "element vertex", "propertyy float x"}) {
    EXPECT_THAT(refusal(replaced(text, "property float x", line)),
                HasSubstr(std::string("the PLY header has the line \"") + line + "\""));
  }
  EXPECT_THAT(refusal(replaced(text, "property float y\n", "")),
              HasSubstr("the vertices of the PLY have no y"));
  EXPECT_THAT(refusal(replaced(text, "vertex_indices", "corners")),
              HasSubstr("the faces of the PLY have no list \"vertex_indices\""));
}

TEST(Ply, FacesOfTooFewCornersAreNamed) {
  EXPECT_THAT(refusal(square("2 0 1\n")), HasSubstr("line 14: face 0 has 2 corners"));
  EXPECT_THAT(refusal(square("-3\n")), HasSubstr("face 0 has 0 corners"));
}

}  // namespace
}  // namespace stiltforge::mesh
