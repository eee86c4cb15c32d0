#include "slicing/coherent_orientation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "slicing/shapes.h"

namespace stiltforge::slicing {
namespace {

void turnTriangle(Soup& soup, std::size_t triangle) {
  for (std::size_t k = 0; k < 3; ++k) std::swap(soup[9 * triangle + k], soup[9 * triangle + 3 + k]);
}

Soup withSomeTurned(Soup soup, double share) {
  std::mt19937 random(11);
  for (std::size_t t = 0; t < soup.size() / 9; ++t) {
    if (random() < share * 4294967296.0) turnTriangle(soup, t);
  }
  return soup;
}

SlicerSettings fineSettings() {
  SlicerSettings settings = unitSettings(200);
  settings.screen.pixelSize = 0.1;
  settings.channels.layerHeight = 0.1;
  return settings;
}

void expectSameSlices(const Soup& soup, const Soup& expected) {
  Slicer slicer(soup, fineSettings());
  Slicer other(expected, fineSettings());
  ASSERT_EQ(slicer.layerCount(), other.layerCount());
  for (uint32_t layer = 0; layer < slicer.layerCount(); ++layer) {
    EXPECT_EQ(sliceBytes(slicer, layer), sliceBytes(other, layer)) << "layer " << layer;
  }
}

TEST(CoherentOrientation, ASolidWithAnyFacesTurnedAroundIsSlicedAsIfNoneWere) {
  const Soup soup = ball({0, 0, 8}, 8, 24, 12);
  for (const double share : {0.1, 0.5, 0.9}) {
    const Soup damaged = withSomeTurned(soup, share);
    expectSameSlices(damaged, soup);
    const MeshReport report = Slicer(damaged, fineSettings()).report();
    EXPECT_GT(report.misorientedEdges, 50u) << "the report is of the mesh as it came";
    EXPECT_EQ(report.openParts, 0u);
    EXPECT_EQ(report.widestGap, 0);
  }
}

TEST(CoherentOrientation, TheLesserSideIsTurnedAndTold) {
  Soup soup = box({0, 0, 0}, {3, 4, 5});
  for (const std::size_t t : {7, 2}) turnTriangle(soup, t);
  TriangleMesh mesh = TriangleMesh::fromSoup(soup);
  EXPECT_EQ(orientCoherently(mesh, MeshTopology(mesh)), (std::vector<uint32_t>{2, 7}));
  EXPECT_TRUE(MeshTopology(mesh).irregularEdges.empty());
  EXPECT_EQ(Slicer(soup, unitSettings(20)).turnedTriangles(), (std::vector<uint32_t>{2, 7}));
}

TEST(CoherentOrientation, ACavityStaysOneWhenSomeOfItsFacesAreTurnedAround) {
  const Soup outer = ball({0, 0, 8}, 8, 24, 12);
  const Soup inner = flipped(ball({0, 0, 8}, 4, 16, 8));
  expectSameSlices(joined({withSomeTurned(outer, 0.2), withSomeTurned(inner, 0.2)}),
                   joined({outer, inner}));
}

TEST(CoherentOrientation, AnOpenMeshIsOrientedAsFarAsItHangsTogether) {
  const Soup soup = withoutTriangle(ball({0, 0, 8}, 8, 24, 12), 100);
  expectSameSlices(withSomeTurned(soup, 0.3), soup);
}

TEST(CoherentOrientation, WhatCannotBeOrientedStays) {
  // A Moebius strip of twelve quads.
  const double pi = std::acos(-1);
  const auto corner = [&](int step, int side) {
    const double turn = step * pi / 6;
    const double across = (step == 12 ? -side : side) * 0.5;
    const double half = (step == 12 ? 0 : turn) / 2;
    const double radius = 4 + across * std::cos(half);
    const double around = step == 12 ? 0 : turn;
    return Vertex{static_cast<float>(radius * std::cos(around)),
                  static_cast<float>(radius * std::sin(around)),
                  static_cast<float>(across * std::sin(half))};
  };
  Soup strip;
  for (int i = 0; i < 12; ++i) {
    append(strip, {corner(i, -1), corner(i + 1, -1), corner(i + 1, 1)});
    append(strip, {corner(i, -1), corner(i + 1, 1), corner(i, 1)});
  }
  TriangleMesh mesh = TriangleMesh::fromSoup(strip);
  const std::vector<Triangle> before = mesh.triangles;
  EXPECT_TRUE(orientCoherently(mesh, MeshTopology(mesh)).empty());
  EXPECT_EQ(mesh.triangles, before);
}

TEST(CoherentOrientation, NothingIsTurnedWhereAllFit) {
  TriangleMesh mesh = TriangleMesh::fromSoup(flipped(box({0, 0, 0}, {3, 4, 5})));
  const std::vector<Triangle> before = mesh.triangles;
  EXPECT_TRUE(orientCoherently(mesh, MeshTopology(mesh)).empty());
  EXPECT_EQ(mesh.triangles, before);
}

}  // namespace
}  // namespace stiltforge::slicing
