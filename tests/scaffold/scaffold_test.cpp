#include "scaffold/scaffold.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "runtime/worker_pool.h"
#include "scaffold/closed_surface.h"
#include "scaffold/random_triangles.h"
#include "scaffold/triangle_distance.h"
#include "scaffold/triangle_index.h"
#include "slicing/shapes.h"
#include "slicing/slicing_error.h"

namespace stiltforge::scaffold {
namespace {

using slicing::box;
using slicing::joined;
using slicing::Soup;
using slicing::TriangleMesh;

constexpr double layerHeight = 0.05;

Scaffold built(const Soup& part, const std::vector<Vector>& points, Settings settings = {},
               double plateZ = 0) {
  settings.layerHeight = layerHeight;
  return build(TriangleMesh::fromSoup(part), points, plateZ, settings);
}

template <class Piece>
std::span<const Triangle> shellOf(const Scaffold& scaffold, const Piece& piece) {
  return std::span(scaffold.triangles).subspan(piece.firstTriangle, piece.triangles);
}

slicing::Bounds boundsOf(std::span<const Triangle> triangles) {
  slicing::Bounds bounds{triangles[0][0], triangles[0][0]};
  for (const Triangle& triangle : triangles) bounds.extend(triangle);
  return bounds;
}

double distanceTo(const Soup& part, const Vector& point) {
  double least = std::numeric_limits<double>::infinity();
  for (const Triangle& triangle : TriangleMesh::fromSoup(part).triangles) {
    least = std::min(least, std::sqrt(squaredDistance(point, point, triangle)));
  }
  return least;
}

// mm between the part and the surface of a support, but for its tips: `tip` mm at each end that
// touches the part.
double clearanceOf(const Soup& part, const Scaffold& scaffold, const Support& support,
                   double tip = 1) {
  const auto shell = shellOf(scaffold, support);
  const auto [min, max] = boundsOf(shell);
  const double low = support.stand == Stand::part ? min.z + tip : min.z;
  double least = std::numeric_limits<double>::infinity();
  constexpr int steps = 12;
  for (const Triangle& triangle : shell) {
    for (int i = 0; i <= steps; ++i) {
      for (int k = 0; k <= steps - i; ++k) {
        const double u = static_cast<double>(i) / steps;
        const double v = static_cast<double>(k) / steps;
        const Vector point = cornerOf(triangle, 0) * (1 - u - v) + cornerOf(triangle, 1) * u +
                             cornerOf(triangle, 2) * v;
        if (point.z > max.z - tip || point.z < low) continue;
        least = std::min(least, distanceTo(part, point));
      }
    }
  }
  return least;
}

void expectSound(const Scaffold& scaffold) {
  for (const Support& support : scaffold.supports) {
    EXPECT_TRUE(isClosed(shellOf(scaffold, support)));
    EXPECT_GT(volumeOf(shellOf(scaffold, support)), 0);
  }
  for (const BuiltBrace& brace : scaffold.braces) {
    EXPECT_TRUE(isClosed(shellOf(scaffold, brace)));
    EXPECT_GT(volumeOf(shellOf(scaffold, brace)), 0);
  }
}

// A post in the middle of the plate with a square top of 2 * 8 mm, 2 mm thick, that begins at 10
// mm.
const Soup table = joined({box({-2, -2, 0}, {2, 2, 11}), box({-8, -8, 10}, {8, 8, 12})});

TEST(Scaffold, StandsOnThePlateBelowItsPointsAndReachesIntoThePart) {
  const Scaffold scaffold = built(table, {{6, 6, 10}, {-6, 0, 10}});
  ASSERT_EQ(scaffold.supports.size(), 2u);
  EXPECT_TRUE(scaffold.leftOut.empty());
  expectSound(scaffold);
  for (const Support& support : scaffold.supports) {
    EXPECT_EQ(support.stand, Stand::plate);
    const auto [min, max] = boundsOf(shellOf(scaffold, support));
    EXPECT_EQ(min.z, 0);
    EXPECT_NEAR(max.z, 10.2, 1e-5);
    EXPECT_NEAR(max.x - min.x, 3, 1e-5) << "the foot is the widest";
    EXPECT_GT(clearanceOf(table, scaffold, support), 0.5);
  }
}

TEST(Scaffold, TellsTheRingsAroundWhichItsSurfacesAre) {
  Settings settings;
  settings.pillarDiameter = 0.5;
  const Scaffold scaffold = built(table, {{7, 7, 10}, {7, 3, 10}}, settings);
  ASSERT_FALSE(scaffold.braces.empty());
  std::size_t next = 0;
  const auto expectRings = [&](const auto& piece) {
    EXPECT_EQ(piece.firstRing, next);
    next += piece.rings;
    const auto rings = std::span(scaffold.rings).subspan(piece.firstRing, piece.rings);
    std::vector<Triangle> around;
    appendShell({rings.begin(), rings.end()}, around);
    const auto shell = shellOf(scaffold, piece);
    EXPECT_TRUE(std::equal(around.begin(), around.end(), shell.begin(), shell.end()));
  };
  for (const Support& support : scaffold.supports) expectRings(support);
  for (const BuiltBrace& brace : scaffold.braces) expectRings(brace);
  EXPECT_EQ(next, scaffold.rings.size());
}

TEST(Scaffold, TouchesWithATipOfTheGivenDiameter) {
  Settings settings;
  settings.tipDiameter = 0.6;
  settings.penetration = 0.3;
  const Scaffold scaffold = built(table, {{6, 6, 10}}, settings);
  const auto shell = shellOf(scaffold, scaffold.supports.at(0));
  float highest = boundsOf(shell).max.z;
  float left = 100;
  float right = -100;
  for (const Triangle& triangle : shell) {
    for (const slicing::Vertex& corner : triangle) {
      if (corner.z < highest) continue;
      left = std::min(left, corner.x);
      right = std::max(right, corner.x);
    }
  }
  EXPECT_NEAR(right - left, 0.6, 1e-5);
  EXPECT_NEAR(highest, 10.3, 1e-5);
}

TEST(Scaffold, DoesNotReachThroughAThinWall) {
  const Soup foil = box({-8, -8, 10}, {8, 8, 10.1F});
  const Scaffold scaffold = built(foil, {{0, 0, 10}});
  EXPECT_NEAR(boundsOf(scaffold.triangles).max.z, 10.05, 1e-5);
}

TEST(Scaffold, LeansAwayFromASlantingSurface) {
  // The underside of a ball: supports of its sides begin further out.
  const Soup ball = slicing::ball({0, 0, 20}, 10, 48, 24);
  const double x = 10 * std::sin(0.7);
  const double z = 20 - 10 * std::cos(0.7);
  const Scaffold scaffold = built(ball, {{x, 0, z}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  const auto [min, max] = boundsOf(scaffold.triangles);
  EXPECT_GT((min.x + max.x) / 2, x + 0.5);
  EXPECT_GT(clearanceOf(ball, scaffold, scaffold.supports[0]), 0.25);
}

TEST(Scaffold, GoesRoundWhatIsInTheWay) {
  const Soup part = joined({table, box({2, -12, 1}, {11, 12, 2})});
  const Scaffold scaffold = built(part, {{7, 0, 10}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  expectSound(scaffold);
  EXPECT_EQ(scaffold.supports[0].stand, Stand::bridge);
  EXPECT_EQ(boundsOf(scaffold.triangles).min.z, 0);
  EXPECT_GT(clearanceOf(part, scaffold, scaffold.supports[0]), 0.25);
}

TEST(Scaffold, StandsOnThePartWhereThePlateIsOutOfReach) {
  const Soup part = joined({table, box({-40, -40, 0}, {40, 40, 2})});
  const Scaffold scaffold = built(part, {{6, 0, 10}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  expectSound(scaffold);
  EXPECT_EQ(scaffold.supports[0].stand, Stand::part);
  const auto [min, max] = boundsOf(scaffold.triangles);
  EXPECT_NEAR(min.z, 1.8, 1e-5) << "as deep in what it stands on as in what it holds";
  EXPECT_NEAR(max.z, 10.2, 1e-5);
  EXPECT_NEAR(max.x - min.x, 1, 1e-5) << "no foot";
  EXPECT_GT(clearanceOf(part, scaffold, scaffold.supports[0]), 0.25);
}

TEST(Scaffold, IsARodWhereThePartIsJustBelow) {
  const Soup part = joined({box({-40, -40, 0}, {40, 40, 9.5F}), box({-8, -8, 10}, {8, 8, 12})});
  const Scaffold scaffold = built(part, {{0, 0, 10}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  expectSound(scaffold);
  EXPECT_EQ(scaffold.supports[0].stand, Stand::part);
  const auto [min, max] = boundsOf(scaffold.triangles);
  EXPECT_NEAR(min.z, 9.3, 1e-5);
  EXPECT_LT(max.x - min.x, 0.6);
}

TEST(Scaffold, IsAConeWhereThePlateIsJustBelow) {
  const Soup part = box({-8, -8, 0.3F}, {8, 8, 2});
  const Scaffold scaffold = built(part, {{0, 0, 0.3}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  expectSound(scaffold);
  EXPECT_EQ(scaffold.supports[0].stand, Stand::low);
  const auto [min, max] = boundsOf(scaffold.triangles);
  EXPECT_EQ(min.z, 0);
  EXPECT_NEAR(max.x - min.x, 1, 1e-5) << "as wide as it is high on either side of the tip";
}

TEST(Scaffold, IsThinnerWhereTheUsualPillarDoesNotPass) {
  // A shaft of 1 mm, from which nothing leads aside.
  const Soup shaft =
      joined({box({-20, -20, 2}, {-0.5F, 20, 12}), box({0.5F, -20, 2}, {20, 20, 12}),
              box({-0.5F, -20, 2}, {0.5F, -0.5F, 12}), box({-0.5F, 0.5F, 2}, {0.5F, 20, 12}),
              box({-20, -20, 11}, {20, 20, 14})});
  const Scaffold scaffold = built(shaft, {{0, 0, 11}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  EXPECT_EQ(scaffold.supports[0].stand, Stand::plate);
  EXPECT_GT(clearanceOf(shaft, scaffold, scaffold.supports[0]), 0.1);
}

TEST(Scaffold, LeavesOutWhatHasNoWayAndSaysWhy) {
  // A slot of 0.2 mm is narrower than a tip.
  const Soup slot = joined({box({-20, -20, 0}, {-0.1F, 20, 12}), box({0.1F, -20, 0}, {20, 20, 12}),
                            box({-20, -20, 10}, {20, 20, 12}), box({-20, -20, 0}, {20, 20, 1})});
  const Scaffold scaffold = built(slot, {{0, 0, 10}, {30, 0, 0}});
  EXPECT_TRUE(scaffold.supports.empty());
  EXPECT_TRUE(scaffold.triangles.empty());
  ASSERT_EQ(scaffold.leftOut.size(), 2u);
  EXPECT_EQ(scaffold.leftOut[0].point, 0u);
  EXPECT_EQ(scaffold.leftOut[0].reason, Reason::noWay);
  EXPECT_EQ(scaffold.leftOut[1].point, 1u);
  EXPECT_EQ(scaffold.leftOut[1].reason, Reason::tooLow);
}

TEST(Scaffold, StandsOnItsRaft) {
  Settings settings;
  settings.raftThickness = 1;
  const Scaffold scaffold = built(table, {{6, 6, 10}, {-6, 0, 10}, {0, -7, 10}}, settings, -5);
  ASSERT_EQ(scaffold.supports.size(), 3u);
  expectSound(scaffold);
  const auto raft = std::span(scaffold.triangles).last(scaffold.raftTriangles);
  EXPECT_TRUE(isClosed(raft));
  EXPECT_EQ(boundsOf(raft).min.z, -5);
  EXPECT_EQ(boundsOf(raft).max.z, -4);
  for (const Support& support : scaffold.supports) {
    const float foot = boundsOf(shellOf(scaffold, support)).min.z;
    EXPECT_LT(foot, -4) << "reaches into the raft";
    EXPECT_GT(foot, -5);
  }
}

TEST(Scaffold, BracesSlenderPillarsAndTellsWhichStandAlone) {
  const Soup high = box({-20, -20, 30}, {20, 20, 32});
  const std::vector<Vector> points{{0, 0, 30}, {5, 0, 30}, {-18, -18, 30}};
  Settings settings;
  settings.raftThickness = 1;
  const Scaffold scaffold = built(high, points, settings, -2);
  expectSound(scaffold);
  ASSERT_GT(scaffold.braces.size(), 2u);
  std::size_t end = scaffold.supports.back().firstTriangle + scaffold.supports.back().triangles;
  for (const BuiltBrace& brace : scaffold.braces) {
    EXPECT_EQ(brace.first, 0u);
    EXPECT_EQ(brace.second, 1u);
    EXPECT_EQ(brace.firstTriangle, end) << "they follow the supports";
    end += brace.triangles;
  }
  EXPECT_EQ(end + scaffold.raftTriangles, scaffold.triangles.size());
  EXPECT_EQ(scaffold.alone, std::vector<uint32_t>{2});
  settings.braceReach = 0;
  const Scaffold without = built(high, points, settings, -2);
  EXPECT_TRUE(without.braces.empty());
  EXPECT_EQ(without.alone.size(), 3u);
}

TEST(Scaffold, OfAMeshThatIsInsideOutOrOpenIsTheSame) {
  const std::vector<Vector> points{{6, 6, 10}, {-6, 0, 10}};
  const Scaffold expected = built(table, points);
  const auto bytesOf = [](const Scaffold& scaffold) {
    std::string bytes(scaffold.triangles.size() * sizeof(Triangle), '\0');
    std::memcpy(bytes.data(), scaffold.triangles.data(), bytes.size());
    return bytes;
  };
  EXPECT_EQ(bytesOf(built(slicing::flipped(table), points)), bytesOf(expected));
  // A triangle on top of the table.
  EXPECT_EQ(bytesOf(built(slicing::withoutTriangle(table, 14), points)), bytesOf(expected));
}

TEST(Scaffold, IsBuiltWhereTheSurfaceIsMissing) {
  // Slices close the gap, so points may be where the mesh has none.
  const Soup part =
      slicing::withoutTriangle(slicing::withoutTriangle(box({-8, -8, 10}, {8, 8, 12}), 1), 0);
  const Scaffold scaffold = built(part, {{0, 0, 10}});
  ASSERT_EQ(scaffold.supports.size(), 1u);
  EXPECT_NEAR(boundsOf(scaffold.triangles).max.z, 10.2, 1e-5);
}

TEST(Scaffold, IsTheSameForAnyNumberOfWorkers) {
  const Soup part = joined({slicing::ball({0, 0, 20}, 10, 48, 24), box({-4, -4, 0}, {4, 4, 6})});
  std::vector<Vector> points;
  for (int i = -8; i <= 8; ++i) {
    const double x = i;
    points.push_back({x, 0.5, 20 - std::sqrt(100 - x * x)});
  }
  std::vector<Triangle> first;
  for (const int count : {1, 4, 3}) {
    workers::setCount(count);
    const Scaffold scaffold = built(part, points);
    EXPECT_FALSE(scaffold.supports.empty());
    if (first.empty()) first = scaffold.triangles;
    EXPECT_EQ(scaffold.triangles, first);
  }
  workers::shutdown();
}

TEST(Scaffold, OfAnyTrianglesIsClosedAndClearOfThem) {
  std::size_t supports = 0;
  std::size_t leftOut = 0;
  for (uint32_t seed = 0; seed < 12; ++seed) {
    TriangleMesh part;
    part.triangles = randomTriangles(12, seed);
    part.bounds = boundsOf(part.triangles);
    Soup soup;
    for (const Triangle& triangle : part.triangles) slicing::append(soup, triangle);
    std::vector<Vector> points;
    for (const Triangle& triangle : part.triangles) {
      points.push_back((cornerOf(triangle, 0) + cornerOf(triangle, 1) + cornerOf(triangle, 2)) *
                       (1.0 / 3));
    }
    const Scaffold scaffold = built(soup, points, {}, -1);
    EXPECT_EQ(scaffold.supports.size() + scaffold.leftOut.size(), points.size());
    expectSound(scaffold);
    for (const Support& support : scaffold.supports) {
      if (support.stand == Stand::low) continue;
      EXPECT_GT(clearanceOf(soup, scaffold, support, 1.2), 0) << "seed " << seed;
    }
    supports += scaffold.supports.size();
    leftOut += scaffold.leftOut.size();
  }
  EXPECT_GT(supports, 10 * leftOut);
}

TEST(Scaffold, RefusesAPartTooFarAway) {
  EXPECT_THROW(built(box({20000, 0, 1}, {20008, 8, 2}), {{20004, 4, 1}}), slicing::SlicingError);
}

TEST(Scaffold, RefusesPlacesTooFarAway) {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  for (const double far : {20000.0, -1e20, 1e300, none}) {
    EXPECT_THROW(built(table, {{6, 6, 10}, {6, far, 10}}), slicing::SlicingError) << far;
  }
  EXPECT_THROW(built(table, {{6, 6, 10}}, {}, -1e20), slicing::SlicingError);
}

TEST(Scaffold, CanBeCancelled) {
  const std::atomic<bool> cancelled{true};
  const std::vector<Vector> points{{6, 6, 10}};
  EXPECT_THROW(build(TriangleMesh::fromSoup(table), points, 0, {}, {}, &cancelled), Cancelled);
}

TEST(Scaffold, TellsHowFarItIsAndCanBeCancelledBeforeTheFirstPoint) {
  std::vector<float> soup;
  for (int copy = 0; copy < 3000; ++copy) soup.insert(soup.end(), table.begin(), table.end());
  const std::vector<Vector> points{{6, 6, 10}};
  std::atomic<bool> cancelled{false};
  std::size_t steps = 0;
  EXPECT_THROW(build(
                   TriangleMesh::fromSoup(soup), points, 0, {},
                   [&](std::size_t, std::size_t) {
                     ++steps;
                     cancelled = true;
                   },
                   &cancelled),
               Cancelled);
  EXPECT_GT(steps, 0);
  EXPECT_LT(steps, TriangleIndex::looksAt(soup.size() / 9));
}

TEST(Scaffold, TellsHowFarItIs) {
  Settings settings;
  settings.layerHeight = layerHeight;
  const std::vector<Vector> points{{7, 7, 10}, {7, 3, 10}, {3, 7, 10}, {-7, -7, 10}, {0, 0, 0}};
  for (const bool isBraced : {true, false}) {
    settings.pillarDiameter = 0.5;
    settings.braceReach = isBraced ? 10 : 0;
    std::vector<double> shares;
    const Scaffold scaffold =
        build(TriangleMesh::fromSoup(table), points, 0, settings,
              [&](std::size_t done, std::size_t total) {
                shares.push_back(static_cast<double>(done) / static_cast<double>(total));
              });
    EXPECT_EQ(scaffold.braces.empty(), !isBraced);
    EXPECT_GT(shares.size(), points.size());
    EXPECT_GT(shares.front(), 0);
    EXPECT_EQ(shares.back(), 1);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
  }
}

}  // namespace
}  // namespace stiltforge::scaffold
