#include "slicing/mesh_report.h"

#include <gtest/gtest.h>

#include "slicing/shapes.h"

namespace stiltforge::slicing {
namespace {

MeshReport reportOn(const Soup& soup) {
  const TriangleMesh mesh = TriangleMesh::fromSoup(soup);
  return inspectMesh(mesh, MeshTopology(mesh));
}

TEST(MeshReport, FindsNothingWrongWithABox) {
  const MeshReport report = reportOn(box({-1, -2, -3}, {1, 2, 3}));
  EXPECT_EQ(report.triangles, 12u);
  EXPECT_EQ(report.vertices, 8u);
  EXPECT_EQ(report.degenerateTriangles, 0u);
  EXPECT_EQ(report.openEdges, 0u);
  EXPECT_EQ(report.nonManifoldEdges, 0u);
  EXPECT_EQ(report.misorientedEdges, 0u);
  EXPECT_EQ(report.parts, 1u);
  EXPECT_EQ(report.openParts, 0u);
  EXPECT_EQ(report.flippedParts, 0u);
  EXPECT_EQ(report.openParts, 0u);
  EXPECT_EQ(report.signedVolume, 48);
  EXPECT_EQ(report.expectedVolume, 48);
  EXPECT_EQ(report.bounds.min, (Vertex{-1, -2, -3}));
  EXPECT_EQ(report.bounds.max, (Vertex{1, 2, 3}));
}

TEST(MeshReport, JoinsCornersThatDifferInTheSignOfZeroOnly) {
  Soup soup = box({0, 0, 0}, {1, 1, 1});
  for (std::size_t i = 0; i < 18; ++i) soup[i] = soup[i] == 0 ? -0.0f : soup[i];
  EXPECT_EQ(reportOn(soup).vertices, 8u);
}

TEST(MeshReport, CountsTheThreeOpenEdgesOfAMissingTriangle) {
  const MeshReport report = reportOn(withoutTriangle(box({0, 0, 0}, {2, 2, 2}), 5));
  EXPECT_EQ(report.openEdges, 3u);
  EXPECT_EQ(report.openParts, 1u);
  EXPECT_EQ(report.openParts, 1u);
}

TEST(MeshReport, CountsEdgesThatMoreThanTwoTrianglesShare) {
  // Two boxes that touch along one edge.
  const MeshReport report =
      reportOn(joined({box({0, 0, 0}, {1, 1, 1}), box({1, 1, 0}, {2, 2, 1})}));
  EXPECT_EQ(report.nonManifoldEdges, 1u);
  EXPECT_EQ(report.parts, 1u);
  EXPECT_EQ(report.openParts, 0u);
  EXPECT_EQ(report.expectedVolume, 2);
}

TEST(MeshReport, CountsTheEdgesOfATriangleTurnedAround) {
  Soup soup = box({0, 0, 0}, {2, 2, 2});
  for (std::size_t k = 0; k < 3; ++k) std::swap(soup[k], soup[3 + k]);
  const MeshReport report = reportOn(soup);
  EXPECT_EQ(report.misorientedEdges, 3u);
  EXPECT_EQ(report.openEdges, 0u);
  EXPECT_EQ(report.openParts, 1u);
}

TEST(MeshReport, CountsCollapsedAndCollinearTrianglesAsDegenerate) {
  Soup soup = box({0, 0, 0}, {4, 4, 4});
  append(soup, {Vertex{0, 0, 0}, Vertex{0, 0, 0}, Vertex{4, 4, 4}});
  append(soup, {Vertex{8, 8, 8}, Vertex{9, 9, 9}, Vertex{10, 10, 10}});
  const MeshReport report = reportOn(soup);
  EXPECT_EQ(report.degenerateTriangles, 2u);
  EXPECT_EQ(report.nonManifoldEdges, 0u) << "a collapsed triangle has no edges";
  EXPECT_EQ(report.openEdges, 3u) << "a collinear one has";
}

TEST(MeshReport, TakesAPartInsideOutForSolid) {
  const MeshReport report =
      reportOn(joined({box({0, 0, 0}, {2, 2, 2}), flipped(box({5, 0, 0}, {6, 1, 1}))}));
  EXPECT_EQ(report.parts, 2u);
  EXPECT_EQ(report.flippedParts, 1u);
  EXPECT_EQ(report.cavities, 0u);
  EXPECT_EQ(report.signedVolume, 7);
  EXPECT_EQ(report.expectedVolume, 9);
}

TEST(MeshReport, DeductsACavity) {
  const Soup outer = ball({0, 0, 0}, 9, 30, 15);
  const MeshReport report = reportOn(joined({outer, flipped(box({0, 0, 0}, {2, 2, 2}))}));
  EXPECT_EQ(report.cavities, 1u);
  EXPECT_EQ(report.flippedParts, 0u);
  EXPECT_DOUBLE_EQ(report.expectedVolume, reportOn(outer).expectedVolume - 8);
}

TEST(MeshReport, DeductsACavityOfASolidInsideOut) {
  const Soup hollow = joined({box({0, 0, 0}, {4, 4, 4}), flipped(box({1, 1, 1}, {2, 2, 2}))});
  const MeshReport report = reportOn(flipped(hollow));
  EXPECT_EQ(report.cavities, 1u);
  EXPECT_EQ(report.flippedParts, 1u);
  EXPECT_EQ(report.signedVolume, -63);
  EXPECT_EQ(report.expectedVolume, 63);
}

TEST(MeshReport, KnowsAPartBesideFromAPartInside) {
  // The small box lies in the box of the octahedron's bounds, but not in the octahedron.
  const Soup soup = joined({octahedron({0, 0, 0}, 6), flipped(box({4, 4, 4}, {5, 5, 5}))});
  const MeshReport report = reportOn(soup);
  EXPECT_EQ(report.cavities, 0u);
  EXPECT_EQ(report.flippedParts, 1u);
  EXPECT_DOUBLE_EQ(report.expectedVolume, 4.0 / 3 * 216 + 1);
}

}  // namespace
}  // namespace stiltforge::slicing
