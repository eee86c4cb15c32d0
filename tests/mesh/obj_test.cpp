#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "mesh/limits.h"
#include "mesh/mesh_files.h"

namespace stiltforge::mesh {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
const Soup squareTriangles{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0};

TEST(Obj, IsReadTriangleForTriangle) {
  const Soup cube = box({1, 2, 3}, {4, 6, 8});
  const Mesh mesh = read(obj(cube));
  EXPECT_EQ(mesh.format, Format::obj);
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings, IsEmpty());
}

TEST(Obj, FacesOfMoreCornersBecomeTriangles) {
  EXPECT_EQ(read(square + "f 1 2 3 4\n").positions, squareTriangles);
  EXPECT_EQ(read("v 0 0 0\nv 9 0 0\nv 2 2 0\nv 0 9 0\nf 1 2 3 4\n").triangleCount(), 2u);
}

TEST(Obj, CornersMayNameTexturesAndNormalsAndCountBackwards) {
  for (const char* face : {"f 1/1 2/2 3/3 4/4", "f 1//9 2//9 3//9 4//9",
                           "f 1/1/1 2/1/1 3/1/1 4/1/1", "f -4 -3 -2 -1", "f -4/-1/-1 -3 3 +4"}) {
    EXPECT_EQ(read("vn 0 0 1\nvt 0 0\n" + square + face + "\n").positions, squareTriangles) << face;
  }
}

TEST(Obj, BackwardsCountFromTheVerticesSoFar) {
  EXPECT_EQ(read(square + "f -4 -3 -2 -1\nv 7 7 7\n").positions, squareTriangles);
}

TEST(Obj, LinesMayBeJoinedCommentedAndEndAnyhow) {
  EXPECT_EQ(read("# a square\nv 0 0 \\\n0\nv 1 0 0 1.0\nv 1 1 0 0.5 0.5 0.5\r\nv 0 1 0\n"
                 "f 1 2 \\\r\n3 \\\n 4 # all of it")
                .positions,
            squareTriangles);
}

TEST(Obj, OtherKeywordsArePassedOver) {
  EXPECT_EQ(read("mtllib a.mtl\n" + square +
                 "usemtl red\ns off\ng one two\nl 1 2\np 1\nvp 1 2 3\nunheard of\nf 1 2 3 4\n")
                .positions,
            squareTriangles);
}

TEST(Obj, ObjectsKeepTheirNames) {
  const Mesh mesh = read(square + "o first\nf 1 2 3\no without faces\no second one\nf 1 2 3 4\n");
  ASSERT_EQ(mesh.objects.size(), 2u);
  EXPECT_EQ(mesh.objects[0].name, "first");
  EXPECT_EQ(mesh.objects[1].name, "second one");
  EXPECT_EQ(mesh.objects[1].triangles, 2u);
}

TEST(Obj, FreeFormSurfacesAreLeftOutWithAWarning) {
  EXPECT_THAT(read(square + "surf 0 1 0 1 1 2 3 4\nf 1 2 3\n").warnings,
              ElementsAre(HasSubstr("free-form")));
}

TEST(Obj, CornersThatNameNoVertexAreNamedWithTheirLine) {
  const std::string three = "v 0 0 0\nv 1 0 0\nv 0 1 1\n";
  EXPECT_EQ(
      refusal(three + "f 1 2 9\n"),
      "line 4 has a face with corner \"9\", but 3 vertices precede it. The file is cut off or "
      "damaged; copy or export it again.");
  EXPECT_EQ(refusal(three + "f 1 2 0\n"),
            "line 4 has a face with corner \"0\", but an OBJ counts its vertices from 1. Export it "
            "again.");
  EXPECT_THAT(refusal(three + "f 1 2 -4\n"), HasSubstr("corner \"-4\", but 3 vertices"));
  EXPECT_THAT(refusal(three + "f 1 2 -9223372036854775808\n"), HasSubstr("but 3 vertices"));
  EXPECT_THAT(refusal("v 0 0 0\nf 1 2 3\nv 1 1 1\nv 2 2 3\n"), HasSubstr("1 vertex precedes it"));
  EXPECT_THAT(refusal(three + "f 1 2 x/1\n"), HasSubstr("corner \"x/1\", which is no number"));
}

TEST(Obj, VerticesWithoutThreeNumbersAreNamedWithTheirLine) {
  EXPECT_THAT(refusal("v 0 0 0\nv 1 0\n"), HasSubstr("line 2 has a vertex without three numbers."));
  EXPECT_THAT(refusal("v 0 0 0\nv 1 0,5 2\n"),
              HasSubstr("line 2 has a vertex without three numbers: \"0,5\" is none"));
  EXPECT_THAT(refusal("v 0 nan 0\n"), HasSubstr("line 1 has the coordinate \"nan\", which is not"));
  EXPECT_THAT(refusal("v 0 1e99 0\n"), HasSubstr("line 1 has the coordinate \"1e99\""));
}

TEST(Obj, FacesOfTooFewOrTooManyCornersAreNamedWithTheirLine) {
  EXPECT_THAT(refusal(square + "f 1 2\n"), HasSubstr("the face in line 5 has 2 corners"));
  EXPECT_THAT(refusal(square + "f\n"), HasSubstr("the face in line 5 has 0 corners"));
  std::string zigzag;
  std::string face = "f";
  for (std::size_t i = 0; i <= mostCornersNotConvex; ++i) {
    zigzag += "v " + std::to_string(i) + " " + std::to_string(i % 2) + " 0\n";
    face += " -" + std::to_string(i + 1);
  }
  EXPECT_THAT(refusal(zigzag + face + "\n"),
              HasSubstr("the face in line 4,098 has 4,097 corners and is not convex; the limit for "
                        "such faces is 4,096"));
}

TEST(Obj, WithoutFacesIsRefused) {
  EXPECT_THAT(refusal(square), HasSubstr("the OBJ has 4 points but no faces"));
  EXPECT_THAT(refusal("o nothing\n"), HasSubstr("the mesh has no triangles"));
}

}  // namespace
}  // namespace stiltforge::mesh
