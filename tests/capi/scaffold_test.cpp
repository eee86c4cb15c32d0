// Supports as geometry.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "capi/parts.h"
#include "core/failing_allocation.h"

namespace stiltforge::capi_test {
namespace {

using testing::HasSubstr;

constexpr double layerHeight = 0.1;

host::Point pointAt(double x, double y, double z) {
  host::Point point{};
  point.x = x;
  point.y = y;
  point.z = z;
  return point;
}

// Below the table's top, which is 3.5 mm high, beside its post.
std::vector<host::Point> underTheTable() {
  std::vector<host::Point> points;
  for (const double x : {2.0, 4.0, 8.0, 10.0}) {
    for (const double y : {2.0, 10.0}) points.push_back(pointAt(x, y, 3.5));
  }
  return points;
}

// Without its plate, so that supports stand on that of the printer.
std::vector<float> tableTop() {
  std::vector<float> part = table();
  part.erase(part.begin(), part.begin() + 9 * 12);
  return part;
}

std::vector<float> trianglesOf(const host::Scaffold& scaffold) {
  const auto positions = scaffold.positions();
  return {positions.begin(), positions.end()};
}

class Scaffolds : public testing::Test {
 protected:
  host::Scaffold built(const host::ScaffoldSettings& settings = {}) const {
    return host::Scaffold(mesh, points, plateZ, layerHeight, settings);
  }

  std::string refusal(stiltforge_status expected, const host::ScaffoldSettings& settings = {}) {
    return messageOf(expected, [&] { built(settings); });
  }

  host::Mesh mesh{tableTop()};
  std::vector<host::Point> points = underTheTable();
  double plateZ = 0;
};

TEST_F(Scaffolds, HaveAClosedSurfaceForEachSupportThenForEachBraceThenForTheRaft) {
  plateZ = -30;  // so that pillars are slender
  host::ScaffoldSettings settings;
  settings.raft_thickness = 1;
  const host::Scaffold scaffold = built(settings);
  ASSERT_EQ(scaffold.supports().size(), points.size());
  EXPECT_TRUE(scaffold.leftOut().empty());
  EXPECT_FALSE(scaffold.braces().empty());
  EXPECT_GT(scaffold.raftTriangleCount(), 0u);

  std::uint64_t triangle = 0;
  std::uint64_t ring = 0;
  const auto follows = [&](const auto& piece) {
    EXPECT_EQ(piece.first_triangle, triangle);
    EXPECT_EQ(piece.first_ring, ring);
    EXPECT_GE(piece.ring_count, 2u);
    triangle += piece.triangle_count;
    ring += piece.ring_count;
  };
  for (const host::BuiltSupport& support : scaffold.supports()) follows(support);
  for (const host::Brace& brace : scaffold.braces()) {
    follows(brace);
    EXPECT_LT(brace.first, brace.second);
    EXPECT_LT(brace.second, points.size());
  }
  EXPECT_EQ(ring, scaffold.rings().size());
  EXPECT_EQ(triangle + scaffold.raftTriangleCount(), scaffold.triangleCount());

  // Each edge is run through once in each direction.
  using Corner = std::tuple<float, float, float>;
  std::map<std::pair<Corner, Corner>, int> edges;
  const float* const at = scaffold.positions().begin();
  const auto corner = [&](std::size_t i) { return Corner{at[i], at[i + 1], at[i + 2]}; };
  for (std::size_t i = 0; i < scaffold.positions().size(); i += 9) {
    for (const std::size_t k : {0, 3, 6}) {
      ++edges[{corner(i + k), corner(i + (k + 3) % 9)}];
    }
  }
  for (const auto& [edge, times] : edges) {
    const auto back = edges.find({edge.second, edge.first});
    ASSERT_TRUE(back != edges.end());
    EXPECT_EQ(times, back->second);
  }
}

TEST_F(Scaffolds, StandOnThePlateAndReachThePart) {
  const host::Scaffold scaffold = built();
  for (const host::BuiltSupport& support : scaffold.supports()) {
    EXPECT_EQ(support.stand, uint32_t{STILTFORGE_STANDS_ON_PLATE});
    const host::Ring& foot = scaffold.rings()[support.first_ring];
    const host::Ring& tip = scaffold.rings()[support.first_ring + support.ring_count - 1];
    EXPECT_EQ(foot.z, 0);
    EXPECT_EQ(foot.radius, 1.5);
    EXPECT_GE(tip.z, 3.5);
    EXPECT_EQ(tip.radius, 0.2);
    EXPECT_EQ(tip.x, points[support.point].x);
    EXPECT_EQ(tip.y, points[support.point].y);
  }
}

TEST_F(Scaffolds, AreSliceableWithTheirPart) {
  const host::Scaffold scaffold = built();
  std::vector<float> both = tableTop();
  const auto positions = scaffold.positions();
  both.insert(both.end(), positions.begin(), positions.end());
  const host::Slicer slicer(host::Mesh(both), coarsePrint());
  EXPECT_EQ(slicer.report().open_edges, 0u);
  EXPECT_EQ(slicer.report().parts, 2 + points.size());
  EXPECT_EQ(slicer.report().flipped_parts, 0u);
}

TEST_F(Scaffolds, TakeTheFinishedSupportsOfASurvey) {
  const host::PrintSettings print = coarsePrint();
  host::Slicer slicer(mesh, print);
  host::Model model(slicer.parameters());
  host::Survey survey(print);
  model.analyse(slicer, survey);
  points = slicer.locate(survey.finish().supports());
  plateZ = slicer.info().plate_z;
  const host::Scaffold scaffold = built();
  EXPECT_EQ(scaffold.supports().size() + scaffold.leftOut().size(), points.size());
  EXPECT_FALSE(scaffold.supports().empty());
}

TEST_F(Scaffolds, SayWhichPointsHaveNoneAndWhy) {
  points = {pointAt(2, 2, 3.5), pointAt(2, 10, 0.05), pointAt(10, 10, 3.5)};
  const host::Scaffold scaffold = built();
  ASSERT_EQ(scaffold.leftOut().size(), 1u);
  EXPECT_EQ(scaffold.leftOut()[0].point, 1u);
  EXPECT_EQ(scaffold.leftOut()[0].reason, uint32_t{STILTFORGE_LEFT_TOO_LOW});
  ASSERT_EQ(scaffold.supports().size(), 2u);
  EXPECT_EQ(scaffold.supports()[1].point, 2u);
}

TEST_F(Scaffolds, OfNoPointsAreEmpty) {
  points.clear();
  const host::Scaffold scaffold = built();
  EXPECT_EQ(scaffold.triangleCount(), 0u);
  EXPECT_EQ(stiltforge_scaffold_positions(scaffold.get()), nullptr);
  EXPECT_TRUE(scaffold.rings().empty());
  EXPECT_TRUE(scaffold.supports().empty());
}

TEST_F(Scaffolds, AreTheSameForAnyNumberOfWorkersAndWhoeverWatches) {
  const std::vector<float> expected = trianglesOf(built());
  const uint32_t before = host::workerCount();
  host::setWorkerCount(before + 2);
  EXPECT_EQ(trianglesOf(built()), expected);
  host::setWorkerCount(before);
  const auto watched =
      host::Scaffold(mesh, points, plateZ, layerHeight, {}, [](std::uint64_t, std::uint64_t) {});
  EXPECT_EQ(trianglesOf(watched), expected);
}

TEST_F(Scaffolds, OfOnePartMayBeBuiltByManyThreads) {
  const std::vector<float> expected = trianglesOf(built());
  std::vector<std::vector<float>> found(4);
  std::vector<std::thread> threads;
  for (std::vector<float>& own : found) {
    threads.emplace_back([&] { own = trianglesOf(built()); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(found, testing::Each(expected));
}

TEST_F(Scaffolds, NeedNeitherMeshNorPoints) {
  const std::vector<float> expected = trianglesOf(built());
  const host::Scaffold scaffold = built();
  mesh = host::Mesh(table());
  points.clear();
  EXPECT_EQ(trianglesOf(scaffold), expected);
}

TEST_F(Scaffolds, AreTheSameInAnyRounding) {
  const std::vector<float> expected = trianglesOf(built());
  std::fenv_t before;
  std::fegetenv(&before);
  std::fesetround(FE_UPWARD);
  bool isHosts = true;
  const auto look = [&](std::uint64_t, std::uint64_t) {
    isHosts = isHosts && std::fegetround() == FE_UPWARD;
  };
  const host::Scaffold scaffold(mesh, points, plateZ, layerHeight, {}, look);
  std::fesetenv(&before);
  EXPECT_TRUE(isHosts);
  EXPECT_EQ(trianglesOf(scaffold), expected);
}

TEST_F(Scaffolds, RefuseSettingsThatCannotBeUsed) {
  host::ScaffoldSettings settings;
  settings.tip_diameter = 7;
  EXPECT_EQ(
      refusal(STILTFORGE_INVALID_ARGUMENT, settings),
      "stiltforge_scaffold_create: settings->tip_diameter is 7; it must be from 0.1 to 5 mm.");
  settings.tip_diameter = 0.4;
  settings.brace_reach = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, settings),
              HasSubstr("settings->brace_reach is nan; it must be from 0 to 100 mm"));
  settings.brace_reach = 10;
  settings.foot_diameter = 0.5;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, settings),
              HasSubstr("settings->foot_diameter is 0.5; it must be at least the pillar's"));
}

TEST_F(Scaffolds, RefuseARaftWithoutRoomBelowThePart) {
  host::ScaffoldSettings settings;
  settings.raft_thickness = 1;
  plateZ = -0.25;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, settings),
              HasSubstr("settings->raft_thickness is 1; the part must be lifted by at least 1.5"));
}

TEST_F(Scaffolds, RefusePlacesThatAreNone) {
  points[3].y = std::numeric_limits<double>::infinity();
  EXPECT_EQ(refusal(STILTFORGE_INVALID_ARGUMENT),
            "stiltforge_scaffold_create: points[3] is no place; its x, y and z must be finite.");
  points = underTheTable();
  plateZ = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT), HasSubstr("plate_z is nan; it must be finite"));
  plateZ = 0;
  for (const double height : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity()}) {
    EXPECT_THROW(host::Scaffold(mesh, points, 0, height), host::Error) << height;
  }
}

TEST_F(Scaffolds, RefuseAPartTooFarAway) {
  std::vector<float> far = tableTop();
  for (float& coordinate : far) coordinate += 20000;
  mesh = host::Mesh(far);
  EXPECT_THAT(refusal(STILTFORGE_UNUSABLE_MESH), testing::StartsWith("The part reaches"));
}

TEST_F(Scaffolds, RefusePlacesTooFarAway) {
  points[3].y = 1e20;
  EXPECT_THAT(refusal(STILTFORGE_UNUSABLE_MESH), HasSubstr("Point 3 (counted from 0) is no place"));
  plateZ = -1e20;
  EXPECT_THAT(refusal(STILTFORGE_UNUSABLE_MESH), HasSubstr("The plate lies 1e+20 mm from"));
}

TEST_F(Scaffolds, TellHowFarTheyAreOnTheThreadOfTheCall) {
  const std::thread::id caller = std::this_thread::get_id();
  std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
  const host::Scaffold scaffold(mesh, points, plateZ, layerHeight, {},
                                [&](std::uint64_t done, std::uint64_t total) {
                                  EXPECT_EQ(std::this_thread::get_id(), caller);
                                  told.emplace_back(done, total);
                                });
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back().first, told.back().second);
  EXPECT_GT(told.back().second, 0u);
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end(),
                             [](const auto& a, const auto& b) { return a.first < b.first; }));
}

TEST_F(Scaffolds, AreEndedByTheirCallback) {
  const auto stop = [](void*, std::uint64_t, std::uint64_t) -> std::int32_t { return 7; };
  stiltforge_scaffold* scaffold = nullptr;
  stiltforge_error error;
  EXPECT_EQ(stiltforge_scaffold_create(mesh.get(), points.data(), points.size(), 0, layerHeight,
                                       nullptr, nullptr, stop, nullptr, &scaffold, &error),
            STILTFORGE_CANCELLED);
  EXPECT_STREQ(error.message, "stiltforge_scaffold_create: ended by its callback.");
  EXPECT_EQ(scaffold, nullptr);
  EXPECT_THROW(host::Scaffold(mesh, points, 0, layerHeight, {},
                              [](std::uint64_t, std::uint64_t) { throw std::logic_error("no"); }),
               std::logic_error);
}

TEST_F(Scaffolds, AreNotBegunWithATokenThatIsCancelled) {
  host::CancelToken token;
  token.cancel();
  int calls = 0;
  const auto count = [&](std::uint64_t, std::uint64_t) { ++calls; };
  for (const host::Progress& progress : {host::Progress(), host::Progress(count)}) {
    try {
      const host::Scaffold none(mesh, points, 0, layerHeight, {}, progress, &token);
      ADD_FAILURE() << "nothing is refused";
    } catch (const host::Error& error) {
      EXPECT_EQ(error.status(), STILTFORGE_CANCELLED);
    }
  }
  EXPECT_EQ(calls, 0);
}

TEST_F(Scaffolds, HaveTheirMeshForThemselvesMeanwhile) {
  stiltforge_status status = STILTFORGE_OK;
  const host::Scaffold scaffold(
      mesh, points, 0, layerHeight, {}, [&](std::uint64_t, std::uint64_t) {
        status = stiltforge_mesh_scale(mesh.get(), 2, nullptr);
        EXPECT_EQ(stiltforge_set_worker_count(1, nullptr), STILTFORGE_BUSY);
      });
  EXPECT_EQ(status, STILTFORGE_BUSY);
  EXPECT_EQ(stiltforge_mesh_scale(mesh.get(), 2, nullptr), STILTFORGE_OK);
}

TEST_F(Scaffolds, OutliveAMeshThatTheirCallbackDestroys) {
  const std::vector<float> part = tableTop();
  stiltforge_mesh* own = nullptr;
  ASSERT_EQ(stiltforge_mesh_create(part.data(), part.size() / 9, &own, nullptr), STILTFORGE_OK);
  const auto destroy = [](void* context, std::uint64_t done, std::uint64_t total) -> std::int32_t {
    if (done == total) stiltforge_mesh_destroy(static_cast<stiltforge_mesh*>(context));
    return 0;
  };
  stiltforge_scaffold* scaffold = nullptr;
  EXPECT_EQ(stiltforge_scaffold_create(own, points.data(), points.size(), 0, layerHeight, nullptr,
                                       nullptr, destroy, own, &scaffold, nullptr),
            STILTFORGE_OK);
  EXPECT_GT(stiltforge_scaffold_triangle_count(scaffold), 0u);
  stiltforge_scaffold_destroy(scaffold);
}

TEST_F(Scaffolds, AreWholeOrNotThereWhenMemoryRunsOut) {
  const std::vector<float> expected = trianglesOf(built());
  int failures = 0;
  for (std::size_t largest = 64; largest < (1 << 20); largest *= 2) {
    stiltforge_scaffold* scaffold = nullptr;
    stiltforge_error error;
    stiltforge_status status = STILTFORGE_OK;
    {
      const FailingAllocation large(largest);
      status = stiltforge_scaffold_create(mesh.get(), points.data(), points.size(), 0, layerHeight,
                                          nullptr, nullptr, nullptr, nullptr, &scaffold, &error);
    }
    if (status != STILTFORGE_OK) {
      ++failures;
      EXPECT_EQ(status, STILTFORGE_OUT_OF_MEMORY) << error.message;
      EXPECT_EQ(scaffold, nullptr);
      continue;
    }
    const float* const positions = stiltforge_scaffold_positions(scaffold);
    EXPECT_EQ(
        std::vector<float>(positions, positions + 9 * stiltforge_scaffold_triangle_count(scaffold)),
        expected);
    stiltforge_scaffold_destroy(scaffold);
  }
  EXPECT_GT(failures, 0);
}

}  // namespace
}  // namespace stiltforge::capi_test
