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
  append(soup, {Vertex{4, 4, 4}, Vertex{5, 5, 5}, Vertex{6, 6, 6}});
  const MeshReport report = reportOn(soup);
  EXPECT_EQ(report.degenerateTriangles, 2u);
  EXPECT_EQ(report.nonManifoldEdges, 0u) << "a collapsed triangle has no edges";
  EXPECT_EQ(report.openEdges, 3u) << "a collinear one has";
}

TEST(MeshReport, LeavesOutWhatHasNoAreaAnywhere) {
  const Soup plain = box({0, 0, 2}, {4, 4, 6});
  Soup soup = plain;
  append(soup, {Vertex{0, 0, 0}, Vertex{0, 0, 0}, Vertex{1, 0, 0}});
  append(soup, {Vertex{8, 8, 8}, Vertex{9, 9, 9}, Vertex{10, 10, 10}});
  append(soup, {Vertex{0, 0, 2}, Vertex{-1, -1, -1}, Vertex{0, 0, 2}});
  const MeshReport report = reportOn(soup);
  EXPECT_EQ(report.degenerateTriangles, 3u);
  EXPECT_EQ(report.bounds.min, (Vertex{0, 0, 2}));
  EXPECT_EQ(report.bounds.max, (Vertex{4, 4, 6}));
  EXPECT_EQ(report.parts, 1u);
  EXPECT_EQ(report.openParts, 0u);
  EXPECT_EQ(report.openEdges, 0u);
  EXPECT_EQ(report.floatingParts, 0u);
  EXPECT_EQ(report.expectedVolume, 64);
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

// Tetrahedra in a lattice, and a cavity in the first.
Soup tetrahedraWithACavity(int count) {
  Soup soup;
  const auto add = [&](const Vertex& corner, float side) {
    const Vertex x{corner.x + side, corner.y, corner.z};
    const Vertex y{corner.x, corner.y + side, corner.z};
    const Vertex z{corner.x, corner.y, corner.z + side};
    append(soup, {corner, y, x});
    append(soup, {corner, x, z});
    append(soup, {corner, z, y});
    append(soup, {x, y, z});
  };
  for (int i = 0; i < count; ++i) {
    add({static_cast<float>(i % 64) * 10, static_cast<float>(i / 64) * 10, 0}, 9);
  }
  return joined({soup, flipped(box({1, 1, 1}, {2, 2, 2}))});
}

TEST(MeshReport, LooksForCavitiesAmong4096ClosedParts) {
  EXPECT_EQ(reportOn(tetrahedraWithACavity(4095)).cavities, 1u);
  EXPECT_EQ(reportOn(tetrahedraWithACavity(4096)).cavities, 0u) << "one part more is too many";
}

MeshReport reportOn(const Soup& soup, const Contact& contact) {
  const TriangleMesh mesh = TriangleMesh::fromSoup(soup);
  return inspectMesh(mesh, MeshTopology(mesh), contact);
}

TEST(MeshReport, FindsAPartThatStandsOnNothing) {
  const MeshReport report = reportOn(
      joined({box({0, 0, 1}, {4, 4, 9}), box({6, 0, 4}, {8, 4, 6}), box({9, 0, 6}, {10, 1, 7})}),
      {0.5, 0.5});
  EXPECT_EQ(report.floatingParts, 2u);
  EXPECT_EQ(report.floatingFrom, 3);
}

TEST(MeshReport, LetsAPartStandOnOthers) {
  // A lamp: its cord hangs on an arm that leans on a pole.
  const Soup lamp = joined({box({0, 0, 0}, {1, 1, 9}), box({1, 0, 8}, {6, 1, 9}),
                            box({5, 0, 3}, {6, 1, 8}), box({5.5f, 0.5f, 2}, {5.6f, 0.6f, 4})});
  EXPECT_EQ(reportOn(lamp, {}).floatingParts, 0u);
}

TEST(MeshReport, TakesAGapThatSlicesCannotShowForNone) {
  const Soup post = box({0, 0, 0}, {1, 1, 4});
  const auto floating = [&](const Soup& part) {
    return reportOn(joined({post, part}), {0.5, 0.25}).floatingParts;
  };
  EXPECT_EQ(floating(box({0, 0, 4.25f}, {1, 1, 5})), 0u);
  EXPECT_EQ(floating(box({0, 0, 4.375f}, {1, 1, 5})), 1u);
  EXPECT_EQ(floating(box({1.5f, 0, 2}, {3, 1, 5})), 0u);
  EXPECT_EQ(floating(box({1.625f, 0, 2}, {3, 1, 5})), 1u);
  EXPECT_EQ(floating(box({0, -3, 2}, {1, -0.5f, 5})), 0u);
  EXPECT_EQ(floating(box({0, -3, 2}, {1, -0.625f, 5})), 1u);
  EXPECT_EQ(floating(box({4, 4, 0.125f}, {5, 5, 2})), 0u) << "in the first layer";
  EXPECT_EQ(floating(box({4, 4, 0.25f}, {5, 5, 2})), 1u) << "not in the first layer";
}

TEST(MeshReport, LetsNothingStandOnASheet) {
  Soup soup = box({0, 0, 8}, {4, 4, 9});
  append(soup, {Vertex{1, 1, 0}, Vertex{3, 1, 0}, Vertex{1, 3, 0}});
  append(soup, {Vertex{1, 1, 0}, Vertex{3, 1, 8}, Vertex{1, 3, 8}});
  const MeshReport report = reportOn(soup, {});
  EXPECT_EQ(report.bounds.min.z, 0);
  EXPECT_EQ(report.floatingParts, 1u);
  EXPECT_EQ(report.floatingFrom, 8);
}

TEST(MeshReport, LooksForFloatingPartsAmong4096) {
  const Soup lifted = box({0, 0, 20}, {1, 1, 21});
  EXPECT_EQ(reportOn(joined({tetrahedraWithACavity(4094), lifted})).floatingParts, 1u);
  EXPECT_EQ(reportOn(joined({tetrahedraWithACavity(4095), lifted})).floatingParts, 0u);
}

}  // namespace
}  // namespace stiltforge::slicing
