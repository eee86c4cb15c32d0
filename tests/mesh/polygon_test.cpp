#include "mesh/polygon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "mesh/limits.h"

namespace stiltforge::mesh {
namespace {

using Face = std::vector<Corner>;
using Indices = PolygonCutter::Indices;

std::vector<Indices> cut(const Face& face) {
  PolygonCutter cutter;
  const auto triangles = cutter.cut(face);
  return triangles ? std::vector<Indices>(triangles->begin(), triangles->end())
                   : std::vector<Indices>();
}

double area(const Corner& a, const Corner& b, const Corner& c) {
  return 0.5 * ((static_cast<double>(b.x) - a.x) * (static_cast<double>(c.y) - a.y) -
                (static_cast<double>(b.y) - a.y) * (static_cast<double>(c.x) - a.x));
}

double areaOf(const Face& face) {
  double sum = 0;
  for (std::size_t i = 2; i < face.size(); ++i) sum += area(face[0], face[i - 1], face[i]);
  return sum;
}

// Every edge of the face belongs to one triangle, in its direction; every other edge to two.
void expectWatertight(const std::vector<Indices>& triangles, std::uint32_t corners) {
  ASSERT_EQ(triangles.size(), corners - 2);
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
  for (const Indices& triangle : triangles) {
    for (std::size_t i = 0; i < 3; ++i) {
      const std::uint32_t from = triangle[i];
      const std::uint32_t to = triangle[(i + 1) % 3];
      ++edges[{from, to}];
      --edges[{to, from}];
    }
  }
  for (const auto& [edge, sum] : edges) {
    const auto& [from, to] = edge;
    const int expected = to == (from + 1) % corners ? 1 : from == (to + 1) % corners ? -1 : 0;
    ASSERT_EQ(sum, expected) << from << " to " << to;
  }
}

void expectNoOverlap(const Face& face) {
  const std::vector<Indices> triangles = cut(face);
  expectWatertight(triangles, static_cast<std::uint32_t>(face.size()));
  double sum = 0;
  for (const auto& [a, b, c] : triangles) {
    const double part = area(face[a], face[b], face[c]);
    EXPECT_GE(part, 0);
    sum += part;
  }
  EXPECT_NEAR(sum, areaOf(face), 1e-6 * std::abs(sum));
}

// A star with as many points, a simple polygon with half of its corners turning inwards.
Face star(int points, double inner) {
  Face face;
  for (int i = 0; i < 2 * points; ++i) {
    const double radius = i % 2 == 0 ? 10 : inner;
    const double turn = M_PI * i / points;
    face.push_back({static_cast<float>(radius * std::cos(turn)),
                    static_cast<float>(radius * std::sin(turn)), 3});
  }
  return face;
}

TEST(Polygon, ConvexFacesBecomeAFanAroundTheirFirstCorner) {
  EXPECT_EQ(cut({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), (std::vector<Indices>{{0, 1, 2}}));
  EXPECT_EQ(cut({{0, 0, 0}, {1, 0, 0}, {1, 1, 1}, {0, 1, 1}}),
            (std::vector<Indices>{{0, 1, 2}, {0, 2, 3}}));
  // Corners in the middle of an edge are none.
  EXPECT_EQ(cut({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}}),
            (std::vector<Indices>{{0, 1, 2}, {0, 2, 3}}));
}

TEST(Polygon, ADartIsCutAtItsInnerCorner) {
  // A fan around the first corner would cover what lies outside.
  const Face dart{{0, 0, 0}, {10, 0, 0}, {2, 2, 0}, {0, 10, 0}};
  expectNoOverlap(dart);
  for (std::size_t turn = 1; turn < 4; ++turn) {
    Face turned = dart;
    std::rotate(turned.begin(), turned.begin() + static_cast<std::ptrdiff_t>(turn), turned.end());
    expectNoOverlap(turned);
  }
}

TEST(Polygon, StarsAndCombsAreCoveredOnce) {
  expectNoOverlap(star(5, 4));
  expectNoOverlap(star(50, 1));
  Face comb{{0, 0, 0}, {41, 0, 0}};
  for (int tooth = 20; tooth > 0; --tooth) {
    const auto x = static_cast<float>(2 * tooth);
    comb.push_back({x, 9, 0});
    comb.push_back({x - 1, 1, 0});
  }
  expectNoOverlap(comb);
}

TEST(Polygon, RandomStarShapedFacesAreCoveredOnce) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    Face face;
    const auto corners = 4 + random() % 60;
    for (std::uint32_t i = 0; i < corners; ++i) {
      const double radius = 1 + static_cast<double>(random() % 1000) / 100;
      const double turn = 2 * M_PI * i / static_cast<double>(corners);
      face.push_back({static_cast<float>(radius * std::cos(turn)),
                      static_cast<float>(radius * std::sin(turn)), 0});
    }
    expectNoOverlap(face);
  }
}

TEST(Polygon, FacesTurnAsTheyDidOnEverySide) {
  const Face dart{{0, 0, 0}, {10, 0, 0}, {2, 2, 0}, {0, 10, 0}};
  for (int axis = 0; axis < 3; ++axis) {
    for (const bool isFlipped : {false, true}) {
      Face face;
      for (const Corner& corner : dart) {
        const float x = corner.x;
        const float y = corner.y;
        face.push_back(axis == 0 ? Corner{5, x, y} : axis == 1 ? Corner{y, 5, x} : Corner{x, y, 5});
      }
      if (isFlipped) std::reverse(face.begin(), face.end());
      expectWatertight(cut(face), 4);
    }
  }
}

TEST(Polygon, FacesThatCrossThemselvesOrHaveNoAreaStayWatertight) {
  expectWatertight(cut({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}), 4);
  expectWatertight(cut({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}), 5);
  expectWatertight(cut({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}, {3, 0, 0}}), 5);
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    Face face;
    const auto corners = 4 + random() % 12;
    for (std::uint32_t i = 0; i < corners; ++i) {
      face.push_back({static_cast<float>(random() % 4), static_cast<float>(random() % 4),
                      static_cast<float>(random() % 2)});
    }
    expectWatertight(cut(face), static_cast<std::uint32_t>(corners));
  }
}

TEST(Polygon, AFaceThatWindsTwiceIsNotConvex) {
  Face twice;
  for (int i = 0; i < 10; ++i) {
    const double turn = 4 * M_PI * i / 10 + 0.1 * (i / 5);
    twice.push_back({static_cast<float>(std::cos(turn)), static_cast<float>(std::sin(turn)), 0});
  }
  expectWatertight(cut(twice), 10);
}

TEST(Polygon, ManyCornersAreTakenWhereTheyAreConvexOnly) {
  const int most = static_cast<int>(mostCornersNotConvex);
  expectNoOverlap(star(most / 2, 9.9));
  EXPECT_FALSE(PolygonCutter().cut(star(most / 2 + 1, 9.9)).has_value());
  Face square{{0, 0, 0}};
  for (int i = 1; i < 5 * most; ++i) square.push_back({static_cast<float>(i), 0, 0});
  square.push_back({static_cast<float>(5 * most), 5, 0});
  EXPECT_EQ(cut(square).size(), square.size() - 2);
}

}  // namespace
}  // namespace stiltforge::mesh
