// Which way a part should stand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

using testing::HasSubstr;

// Fewer directions than a person would try: the part is simple.
host::OrientSettings quick() {
  host::OrientSettings settings;
  settings.directions = 6;
  settings.listed = 3;
  return settings;
}

host::PrintSettings print() {
  host::PrintSettings print = coarsePrint();
  print.pixel_size = print.layer_height = 0.25;
  return print;
}

using At = std::tuple<double, double, double, uint32_t>;

std::vector<At> placesAt(const std::vector<host::Point>& points) {
  std::vector<At> list;
  for (const host::Point& point : points) {
    list.emplace_back(point.x, point.y, point.z, point.island);
  }
  return list;
}

// What a print of the mesh as it stands needs.
std::vector<At> finishedPlaces(const host::Mesh& mesh) {
  host::Slicer slicer(mesh, print());
  host::Model model(slicer.parameters());
  host::Survey survey(print());
  model.analyse(slicer, survey);
  return placesAt(slicer.locate(survey.finish().supports()));
}

std::string refusal(stiltforge_status expected, const host::PrintSettings& print,
                    const host::OrientSettings& settings) {
  return messageOf(expected, [&] { host::Orientations{host::Mesh(table()), print, settings}; });
}

TEST(Orientations, AreRankedAndHaveTheSupportsThatAPrintOfThemGets) {
  const host::Orientations found(host::Mesh(table()), print(), quick());
  ASSERT_FALSE(found.best().empty());
  EXPECT_LE(found.best().size(), 3u);
  EXPECT_TRUE(std::is_sorted(found.best().begin(), found.best().end(),
                             [](const auto& a, const auto& b) { return a.cost < b.cost; }));
  for (const host::Orientation& orientation : found.best()) {
    host::Mesh mesh(table());
    mesh.turn(orientation.turn);
    EXPECT_EQ(placesAt(found.supportsOf(orientation)), finishedPlaces(mesh));
    EXPECT_NEAR(mesh.box().max[2] - mesh.box().min[2], orientation.height, 1e-5);
    EXPECT_EQ(orientation.marks, 0);
  }
  ASSERT_NE(found.asItIs(), nullptr);
  EXPECT_EQ(found.asItIs()->origin, uint32_t{STILTFORGE_AS_IT_IS});
  EXPECT_EQ(placesAt(found.supportsOf(*found.asItIs())), finishedPlaces(host::Mesh(table())));
  EXPECT_LE(found.best()[0].cost, found.asItIs()->cost);
  EXPECT_GT(found.info().tried, 6u);
  EXPECT_GT(found.info().pixel_size, 0);
}

TEST(Orientations, KeepASideClean) {
  host::OrientSettings settings = quick();
  settings.supports_weight = settings.overhang_weight = settings.height_weight = 0;
  settings.marks_weight = 10;
  settings.keep_clean[2] = -3;
  const host::Orientations found(host::Mesh(table()), print(), settings);
  // It lies on it, and there are ways to stand that spare it.
  EXPECT_GT(found.asItIs()->marks, 100);
  EXPECT_LT(found.best()[0].marks, found.asItIs()->marks);
}

TEST(Orientations, DoNotDependOnWhereThePartWouldStandOnTheScreen) {
  host::PrintSettings aside = print();
  aside.offset_x = 1000;
  aside.margin = 100;
  const host::Orientations found(host::Mesh(table()), aside, quick());
  const host::Orientations expected(host::Mesh(table()), print(), quick());
  EXPECT_EQ(found.best()[0].cost, expected.best()[0].cost);
}

TEST(Orientations, AreRefusedForSettingsThatCannotBeUsed) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  host::OrientSettings settings;
  settings.cups_weight = -1;
  EXPECT_EQ(refusal(STILTFORGE_INVALID_ARGUMENT, print(), settings),
            "stiltforge_orientations_create: settings->cups_weight is -1; it must be from 0 to "
            "1,000,000.");
  settings = {};
  settings.marks_weight = nan;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, print(), settings), HasSubstr("marks_weight"));
  for (const double bad : {nan, std::numeric_limits<double>::infinity(), 1e200, 1e-200}) {
    settings = {};
    settings.keep_clean[1] = bad;
    EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, print(), settings),
                HasSubstr("settings->keep_clean is no direction"));
  }
  settings = {};
  settings.directions = 0;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, print(), settings),
              HasSubstr("settings->directions is 0; it must be from 1 to 100000"));
  settings = {};
  settings.confirm = 2;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, print(), settings), HasSubstr("confirm is 2"));
  host::PrintSettings badPrint;
  badPrint.layer_height = nan;
  EXPECT_THAT(refusal(STILTFORGE_INVALID_ARGUMENT, badPrint, {}), HasSubstr("print->layer_height"));
}

TEST(Orientations, AreNoneForAPartThatFitsInNoWay) {
  host::PrintSettings small = print();
  small.screen_width = small.screen_height = 10;
  EXPECT_NE(refusal(STILTFORGE_UNUSABLE_MESH, small, {}), "");
}

TEST(Orientations, AreEndedByTheirCallbackOrToken) {
  const host::Mesh mesh(table());
  EXPECT_THROW(
      host::Orientations(mesh, print(), {},
                         [](std::uint64_t, std::uint64_t) { throw std::logic_error("no"); }),
      std::logic_error);
  host::CancelToken token;
  const auto cancel = [&](std::uint64_t done, std::uint64_t total) {
    EXPECT_LE(done, total);
    token.cancel();
  };
  try {
    const host::Orientations found(mesh, print(), quick(), cancel, &token);
    EXPECT_FALSE(found.best().empty()) << "it was done when it was told";
  } catch (const host::Error& error) {
    EXPECT_EQ(error.status(), STILTFORGE_CANCELLED);
  }
  const auto again = [&] { host::Orientations(mesh, print(), quick(), {}, &token); };
  EXPECT_THROW(again(), host::Error);
}

TEST(Mesh, IsTurnedExactlyByQuarters) {
  host::Mesh mesh(table());
  mesh.turn({90, 0, 0});
  EXPECT_EQ(mesh.box().max[2], 12);
  EXPECT_EQ(mesh.box().min[1], -4.5);
  mesh.turn({0, 90, 180});
  mesh.turn({0, 0, -180});
  mesh.turn({0, -90, 0});
  mesh.turn({-90, 0, 0});
  const auto positions = mesh.positions();
  EXPECT_EQ(std::vector<float>(positions.begin(), positions.end()), table());
}

TEST(Mesh, IsTurnedByFiniteDegrees) {
  host::Mesh mesh(table());
  try {
    mesh.turn({0, std::numeric_limits<double>::infinity(), 0});
    FAIL();
  } catch (const host::Error& error) {
    EXPECT_THAT(error.what(), HasSubstr("it must be a finite number of degrees"));
  }
  const auto positions = mesh.positions();
  EXPECT_EQ(std::vector<float>(positions.begin(), positions.end()), table());
}

}  // namespace
}  // namespace stiltforge::capi_test
