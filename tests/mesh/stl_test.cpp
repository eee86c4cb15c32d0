#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "mesh/mesh_files.h"

namespace stiltforge::mesh {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Soup cube = box({1, 2, 3}, {4, 6, 8});

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

TEST(BinaryStl, IsReadTriangleForTriangle) {
  const Mesh mesh = read(binaryStl(cube));
  EXPECT_EQ(mesh.format, Format::binaryStl);
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings, IsEmpty());
  ASSERT_EQ(mesh.objects.size(), 1u);
  EXPECT_EQ(mesh.objects[0].triangles, 12u);
}

TEST(BinaryStl, MayBeginWithTheWordOfATextStl) {
  std::string bytes = binaryStl(cube);
  bytes.replace(0, 22, "solid by some exporter");
  EXPECT_EQ(read(bytes).format, Format::binaryStl);
  EXPECT_EQ(read(bytes + "\x01\x02").positions, cube);
}

TEST(BinaryStl, AFewBytesTooManyAreLeftOutWithAWarning) {
  const Mesh mesh = read(binaryStl(cube) + "\x01\x02");
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings,
              ElementsAre("2 bytes after the last triangle of the binary STL are left out."));
}

TEST(BinaryStl, WithAWholeTriangleTooManyOrTooFewIsRefusedWithBothNumbers) {
  std::string bytes = binaryStl(cube);
  bytes.replace(0, 5, "solid");
  EXPECT_EQ(
      refusal(bytes + std::string(50, '\0')),
      "the binary STL has more data than it announces: its header announces 12 triangles, its "
      "734 bytes hold 13. Copy or export it again.");
  EXPECT_THAT(refusal(bytes.substr(0, 300)),
              HasSubstr("is cut off: its header announces 12 triangles, its 300 bytes hold 4"));
  bytes.replace(80, 4, "\xff\xff\xff\xff");
  EXPECT_THAT(refusal(bytes), HasSubstr("announces 4,294,967,295 triangles"));
}

TEST(BinaryStl, WithoutTrianglesIsRefused) {
  EXPECT_THAT(refusal(binaryStl({})), HasSubstr("the mesh has no triangles"));
}

TEST(BinaryStl, CoordinatesThatAreNoFiniteNumbersAreNamedByTheirTriangle) {
  for (const float value :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    Soup soup = cube;
    soup[9 * 5 + 4] = value;
    EXPECT_THAT(refusal(binaryStl(soup)),
                HasSubstr("triangle 5 (counted from 0) has a coordinate that is not a finite"));
  }
}

TEST(BinaryStl, TrianglesWithoutAreaPassThrough) {
  Soup soup = cube;
  soup.insert(soup.end(), 9, 0.0f);
  EXPECT_EQ(read(binaryStl(soup)).positions, soup);
}

TEST(TextStl, IsReadTriangleForTriangle) {
  const Mesh mesh = read(textStl(cube));
  EXPECT_EQ(mesh.format, Format::textStl);
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings, IsEmpty());
  ASSERT_EQ(mesh.objects.size(), 1u);
  EXPECT_EQ(mesh.objects[0].name, "part");
}

TEST(TextStl, MayBeInUpperCaseAndIndentedAnyhow) {
  std::string text = textStl(cube);
  for (char& character : text) character = static_cast<char>(std::toupper(character));
  EXPECT_EQ(read(text).positions, cube);
  for (char& character : text) character = character == '\n' ? '\t' : character;
  EXPECT_EQ(read("\xef\xbb\xbf  " + replaced(text, "PART", "PART\n")).positions, cube);
}

TEST(TextStl, SeveralSolidsAreSeveralObjects) {
  const Mesh mesh = read("solid first one\nendsolid\n" + textStl(cube) +
                         replaced(textStl(cube), "solid part", "solid the other"));
  ASSERT_EQ(mesh.objects.size(), 2u);
  EXPECT_EQ(mesh.objects[0].name, "part");
  EXPECT_EQ(mesh.objects[1].name, "the other");
  EXPECT_EQ(mesh.objects[1].triangles, 12u);
  EXPECT_EQ(mesh.triangleCount(), 24u);
}

TEST(TextStl, WhatFollowsTheEndIsLeftOutWithAWarning) {
  const Mesh mesh = read(textStl(cube) + "\nmade by hand");
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings, ElementsAre(HasSubstr("from line 88 on, is left out")));
}

TEST(TextStl, MayBeFilledUpWithZerosOrEndWithTheSignOfAnEnd) {
  for (const std::string& end : {std::string(3, '\0'), std::string("\x1a")}) {
    const Mesh mesh = read(textStl(cube) + end);
    EXPECT_EQ(mesh.positions, cube);
    EXPECT_THAT(mesh.warnings, ElementsAre(HasSubstr("is left out")));
  }
}

TEST(TextStl, NormalsNeedNotBeNumbers) {
  EXPECT_EQ(read(replaced(textStl(cube), "normal 0 0 0", "normal -1.#IND nan 0,0")).positions,
            cube);
}

TEST(TextStl, ThatIsCutOffSaysAfterHowManyTriangles) {
  const std::string text = textStl(cube);
  for (const std::size_t length : {text.size() - 20, text.size() / 2, std::size_t{60}}) {
    EXPECT_THAT(refusal(text.substr(0, length)), HasSubstr("the text STL is cut off after "))
        << length;
  }
  EXPECT_THAT(refusal(text.substr(0, text.size() / 3)), HasSubstr("after 3 whole triangles"));
}

TEST(TextStl, WordsThatDoNotBelongAreNamedWithTheirLine) {
  const std::string text = textStl(cube);
  EXPECT_EQ(
      refusal(replaced(text, "vertex 1 2 3", "vertex 1,0 2 3")),
      "line 4 of the text STL has \"1,0\" where a coordinate was expected. The file is cut off "
      "or damaged; copy or export it again.");
  EXPECT_THAT(refusal(replaced(text, "vertex 1 2 3", "vertex 1 2")),
              HasSubstr("line 5 of the text STL has \"vertex\" where a coordinate was expected"));
  EXPECT_THAT(refusal(replaced(text, "endfacet", "face")), HasSubstr("line 8 of the text STL"));
  EXPECT_THAT(refusal(replaced(text, "outer loop", "loop")), HasSubstr("where \"outer loop\""));
  EXPECT_THAT(refusal(replaced(text, "facet normal", "polygon normal")),
              HasSubstr("line 2 of the text STL has \"polygon\" where \"facet\" or \"endsolid\""));
}

TEST(TextStl, CoordinatesThatAreNotFiniteAreNamedWithTheirLine) {
  for (const char* value : {"nan", "inf", "-Infinity", "1e39"}) {
    EXPECT_THAT(refusal(replaced(textStl(cube), "vertex 1 2", std::string("vertex 1 ") + value)),
                HasSubstr("line 4 of the text STL has the coordinate"));
  }
}

TEST(TextStl, FacetsOfOtherThanThreeCornersAreNamedWithTheirLine) {
  EXPECT_THAT(
      refusal(replaced(textStl(cube), "  vertex", "  vertex 0 0 0\n  vertex")),
      HasSubstr("the facet that ends in line 8 of the text STL has 4 corners instead of 3"));
}

TEST(TextStl, WithoutTrianglesIsRefused) {
  EXPECT_THAT(refusal("solid x\nendsolid x\n"), HasSubstr("the mesh has no triangles"));
}

TEST(TextStl, MessagesShowNoControlCharactersOfTheFile) {
  EXPECT_THAT(
      refusal(replaced(textStl(cube), "endfacet", "\xff\x7f\xe2\x80\xae" + std::string(99, 'x'))),
      HasSubstr("\"?????" + std::string(35, 'x') + "...\""));
}

}  // namespace
}  // namespace stiltforge::mesh
