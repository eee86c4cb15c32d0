// Whether a print holds as it is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "capi/parts.h"
#include "core/failing_allocation.h"

namespace stiltforge::capi_test {
namespace {

using testing::HasSubstr;

host::CheckReport reportOn(host::Slicer& slicer, const std::vector<host::Support>& supports = {}) {
  host::Check check(host::CheckSettings(slicer), supports);
  std::vector<host::Slice> slices(slicer.info().layer_count);
  slicer.slice(0, slices);
  for (const host::Slice& slice : slices) check.add(slice);
  EXPECT_EQ(check.layerCount(), slices.size());
  return check.finish();
}

class Checks : public testing::Test {
 protected:
  host::Slicer slicer{host::Mesh(tableAndBlock()), coarsePrint()};
};

TEST_F(Checks, FindWhatHangsInTheAirWithTheRemedy) {
  const host::CheckReport report = reportOn(slicer);
  ASSERT_FALSE(report.findings().empty());
  const auto block =
      std::find_if(report.findings().begin(), report.findings().end(),
                   [](const auto& finding) { return finding.kind == STILTFORGE_FLOATING_PART; });
  ASSERT_NE(block, report.findings().end());
  EXPECT_EQ(block->severity, uint32_t{STILTFORGE_FAILS});
  EXPECT_EQ(block->first_layer, 20u);
  EXPECT_EQ(block->last_layer, 39u);
  EXPECT_NEAR(block->volume, 8, 0.1);
  ASSERT_EQ(block->has_place, 1u);
  EXPECT_EQ(block->x_max - block->x_min, 20u);
  EXPECT_EQ(block->y_max - block->y_min, 20u);
  EXPECT_GE(block->x, block->x_min);
  EXPECT_LT(block->x, block->x_max);
  EXPECT_STRNE(block->what, "");
  EXPECT_THAT(block->remedy, testing::EndsWith("."));
  EXPECT_STREQ(stiltforge_finding_kind_name(block->kind), "floatingPart");
  EXPECT_STREQ(stiltforge_finding_kind_name(99), "unknown");

  const host::CheckReportInfo info = report.info();
  EXPECT_EQ(info.layers, slicer.info().layer_count);
  EXPECT_EQ(info.fails + info.risks + info.notes, report.findings().size());
  EXPECT_GT(info.volume, 290);
}

TEST_F(Checks, FindNothingThatFailsOnceThereAreFinishedSupports) {
  host::Model model(slicer.parameters());
  host::Survey survey(coarsePrint());
  model.analyse(slicer, survey);
  const host::Finished finished = survey.finish();
  const std::vector<host::Support> supports(finished.supports().begin(), finished.supports().end());
  EXPECT_GT(reportOn(slicer).info().fails, 0u);
  EXPECT_EQ(reportOn(slicer, supports).info().fails, 0u);
}

TEST_F(Checks, NoteSupportsThatTouchNothing) {
  host::Support beside{};
  beside.layer = 12;
  beside.x = beside.y = 65535;
  const host::CheckReport report = reportOn(slicer, {beside, beside});
  const auto idle =
      std::find_if(report.findings().begin(), report.findings().end(),
                   [](const auto& finding) { return finding.kind == STILTFORGE_IDLE_SUPPORTS; });
  ASSERT_NE(idle, report.findings().end());
  EXPECT_EQ(idle->count, 2u);
  EXPECT_EQ(idle->has_place, 0u);
  EXPECT_EQ(idle->taken_in, STILTFORGE_NONE);
}

TEST_F(Checks, LetALiftedPartBeginInTheAir) {
  host::PrintSettings print = coarsePrint();
  print.lift = 0.5;
  host::Slicer lifted(host::Mesh(table()), print);
  const host::CheckSettings settings(lifted);
  EXPECT_EQ(settings.lifted_layers, 5u);
  EXPECT_EQ(settings.layer_height, 0.1);
  EXPECT_EQ(settings.crop_x, static_cast<uint32_t>(lifted.info().crop_x));
  const host::CheckReport report = reportOn(lifted);
  for (const host::Finding& finding : report.findings()) {
    EXPECT_NE(finding.kind, uint32_t{STILTFORGE_EMPTY_LAYERS}) << finding.what;
  }
}

TEST_F(Checks, TakeSlicesOfOneSizeUntilTheyAreFinished) {
  host::CheckSettings settings;
  settings.screen_width = 50;
  host::Check check(settings);
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { check.add(host::Slice()); }),
              HasSubstr("slice cannot be added"));
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { check.add(fullSlice(51, 30)); }),
              HasSubstr("do not lie on a screen"));
  check.add(fullSlice(40, 30));
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { check.add(fullSlice(30, 40)); }),
              HasSubstr("follows layers of"));
  EXPECT_EQ(check.layerCount(), 1u);
  EXPECT_EQ(check.finish().info().layers, 1u);
  EXPECT_EQ(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { check.add(fullSlice(40, 30)); }),
            "stiltforge_check_add: check is finished; make a new one.");
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { check.finish(); }),
              HasSubstr("check is finished"));
}

TEST_F(Checks, OfNoLayersFindNothing) {
  host::Check check{host::CheckSettings()};
  const host::CheckReport report = check.finish();
  EXPECT_EQ(report.info().layers, 0u);
  EXPECT_TRUE(report.findings().empty());
}

TEST_F(Checks, RefuseSettingsThatMakeNoSense) {
  for (const double bad : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity()}) {
    for (double host::CheckSettings::*const field :
         {&host::CheckSettings::layer_height, &host::CheckSettings::pixel_width,
          &host::CheckSettings::pixel_height, &host::CheckSettings::far_reach}) {
      host::CheckSettings settings;
      settings.*field = bad;
      EXPECT_THROW(host::Check{settings}, host::Error) << bad;
    }
  }
  host::CheckSettings settings;
  settings.critical_angle = 91;
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Check{settings}; }),
              HasSubstr("stiltforge_check_create: settings cannot be used: "));
  host::Support support{};
  support.y = 65536;
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT,
                        [&] { host::Check(host::CheckSettings(), {support}); }),
              HasSubstr("supports[0].y is 65536; it must be from 0 to 65535"));
}

TEST_F(Checks, StopWhereMemoryRunsOut) {
  std::vector<host::Slice> slices(30);
  slicer.slice(0, slices);
  int stops = 0;
  for (std::size_t largest = 64; largest < (1 << 20); largest *= 4) {
    host::Check check{host::CheckSettings(slicer)};
    stiltforge_status status = STILTFORGE_OK;
    {
      const FailingAllocation large(largest);
      for (std::size_t i = 0; i < slices.size() && status == STILTFORGE_OK; ++i) {
        status = stiltforge_check_add(check.get(), slices[i].get(), nullptr);
      }
    }
    if (status == STILTFORGE_OK) continue;
    ++stops;
    EXPECT_EQ(status, STILTFORGE_OUT_OF_MEMORY);
    EXPECT_THAT(messageOf(STILTFORGE_STOPPED, [&] { check.add(slices[0]); }),
                HasSubstr("make a new one"));
  }
  EXPECT_GT(stops, 0);
}

}  // namespace
}  // namespace stiltforge::capi_test
