// Supports that are finished, and what supports hold.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "capi/parts.h"
#include "core/failing_allocation.h"

namespace stiltforge::capi_test {
namespace {

using testing::HasSubstr;

// Smaller supports than the part needs, so that some are merged.
host::PrintSettings print() {
  host::PrintSettings print = coarsePrint();
  print.support_area = 4;
  return print;
}

std::vector<Place> placesIn(host::View<host::Support> supports) {
  return places(std::vector<host::Support>(supports.begin(), supports.end()));
}

// All that a finished set says.
struct Told {
  std::vector<Place> supports;
  std::vector<std::tuple<uint32_t, uint32_t, std::vector<uint32_t>>> origins;
  std::vector<std::tuple<Place, uint32_t, uint32_t, uint32_t>> dropped;

  bool operator==(const Told&) const = default;
};

Told toldBy(const host::Finished& finished) {
  Told told;
  told.supports = placesIn(finished.supports());
  for (const host::Origin& origin : finished.origins()) {
    const uint32_t* const merged = finished.merged().begin() + origin.first_merged;
    told.origins.emplace_back(origin.reason, origin.before,
                              std::vector<uint32_t>(merged, merged + origin.merged_count));
  }
  for (const host::Dropped& dropped : finished.dropped()) {
    told.dropped.emplace_back(places({dropped.support}).front(), dropped.reason, dropped.before,
                              dropped.into);
  }
  return told;
}

struct Surveyed {
  host::Slicer slicer{host::Mesh(tableAndBlock()), print()};
  host::Model model{slicer.parameters()};
  host::Survey survey{print()};

  void analyse() { model.analyse(slicer, survey); }
};

Told finishedTable() {
  Surveyed part;
  part.analyse();
  return toldBy(part.survey.finish());
}

TEST(Survey, ChangesNothingOfTheAnalysis) {
  Surveyed part;
  part.analyse();
  EXPECT_EQ(places(part.model.supports()), placesOf(tableAndBlock(), print()));
  EXPECT_EQ(part.survey.layerCount(), part.model.layerCount());
}

// The weights of all groups of all layers, as they were analysed.
std::map<std::pair<uint32_t, uint32_t>, host::Weight> weightsOfGroups(Surveyed& part) {
  std::map<std::pair<uint32_t, uint32_t>, host::Weight> weights;
  part.model.analyse(part.slicer, part.survey, [&](const host::LayerView& layer) {
    ASSERT_EQ(layer.weights().size(), layer.groups().size());
    for (std::size_t i = 0; i < layer.groups().size(); ++i) {
      const host::Group& group = layer.groups()[i];
      const host::Weight& weight = layer.weights()[i];
      EXPECT_EQ(weight.layer, layer.index());
      EXPECT_EQ(weight.group, i + 1);
      EXPECT_EQ(weight.pixels, group.pixels);
      EXPECT_EQ(weight.resting, group.supported_pixels);
      EXPECT_EQ(weight.supports, group.support_count);
      EXPECT_TRUE(group.support_count == 0 || weight.owed > 0);
      weights[{weight.layer, weight.group}] = weight;
    }
  });
  return weights;
}

auto membersOf(const host::Weight& weight) {
  return std::tie(weight.layer, weight.group, weight.pixels, weight.resting, weight.overhanging,
                  weight.layers_below, weight.supports_below, weight.supports,
                  weight.strength_from_below, weight.owed);
}

TEST(Weights, OfALayerTellWhyItsGroupsGotSupports) {
  Surveyed part;
  const auto weights = weightsOfGroups(part);
  const host::Weight& onThePlate = weights.at({0, 1});
  EXPECT_EQ(onThePlate.pixels, 14400u);
  EXPECT_EQ(onThePlate.resting, 0u);
  EXPECT_EQ(onThePlate.layers_below, 0u);
  // The table's top reaches over its post.
  const host::Weight& top = weights.at({35, 1});
  EXPECT_EQ(top.pixels, 14400u);
  EXPECT_EQ(top.resting, 400u);
  EXPECT_GT(top.overhanging, 13000u);
  EXPECT_EQ(top.layers_below, 35u);
}

TEST(Weights, OfFinishedSupportsAreThoseOfTheirGroups) {
  Surveyed part;
  const auto weights = weightsOfGroups(part);
  const host::Finished finished = part.survey.finish();
  const auto expect = [&](const host::Support& support, const host::Weight& weight) {
    EXPECT_EQ(weight.group, support.group);
    const host::Weight& expected = weights.at({weight.layer, weight.group});
    EXPECT_EQ(membersOf(weight), membersOf(expected));
  };
  ASSERT_EQ(finished.weights().size(), finished.supports().size());
  for (std::size_t i = 0; i < finished.supports().size(); ++i) {
    expect(finished.supports()[i], finished.weights()[i]);
  }
  ASSERT_EQ(finished.droppedWeights().size(), finished.dropped().size());
  for (std::size_t i = 0; i < finished.dropped().size(); ++i) {
    expect(finished.dropped()[i].support, finished.droppedWeights()[i]);
  }
}

TEST(Weights, AreZerosWhereNothingWasAnalysed) {
  host::Survey survey(print());
  survey.add(fullSlice(40, 30));
  for (uint32_t layer = 1; layer < 4; ++layer) survey.add(emptySlice(40, 30));
  survey.add(fullSlice(40, 30, 40));
  const host::Finished finished = survey.finish();
  ASSERT_FALSE(finished.weights().empty());
  for (const host::Weight& weight : finished.weights()) {
    EXPECT_EQ(weight.group, 0u);
    EXPECT_EQ(weight.owed, 0);
  }
}

TEST(Finishing, KeepsOrDropsEverySupportOnceAndSaysWhy) {
  Surveyed part;
  part.analyse();
  const std::vector<Place> before = places(part.model.supports());
  const Told told = toldBy(part.survey.finish());
  ASSERT_EQ(told.supports.size(), told.origins.size());
  std::vector<int> seen(before.size(), 0);
  for (std::size_t i = 0; i < told.supports.size(); ++i) {
    const auto& [reason, number, merged] = told.origins[i];
    EXPECT_EQ(reason >= STILTFORGE_ADDED_ISLAND, number == STILTFORGE_NONE);
    EXPECT_FALSE(reason == STILTFORGE_ANALYSED && !merged.empty());
    EXPECT_FALSE(reason == STILTFORGE_MERGED && merged.empty());
    if (number == STILTFORGE_NONE) continue;
    ++seen.at(number);
    EXPECT_EQ(told.supports[i], before[number]) << "with its group";
  }
  for (const auto& [place, reason, number, into] : told.dropped) {
    ++seen.at(number);
    EXPECT_EQ(place, before[number]);
    EXPECT_EQ(reason == STILTFORGE_DROPPED_MERGED, into != STILTFORGE_NONE);
    if (into == STILTFORGE_NONE) continue;
    EXPECT_THAT(std::get<2>(told.origins.at(into)), testing::Contains(number));
  }
  EXPECT_THAT(seen, testing::Each(1));
  EXPECT_FALSE(told.dropped.empty());
  EXPECT_TRUE(std::is_sorted(told.supports.begin(), told.supports.end(),
                             [](const Place& a, const Place& b) {
                               const auto& [layerA, groupA, xA, yA, islandA] = a;
                               const auto& [layerB, groupB, xB, yB, islandB] = b;
                               return std::tie(layerA, yA, xA) < std::tie(layerB, yB, xB);
                             }));
}

TEST(Finishing, AddsWhatIsMissing) {
  Surveyed part;
  for (uint32_t i = 0; i < part.slicer.info().layer_count; ++i) {
    std::vector<host::Slice> one(1);
    part.slicer.slice(i, one);
    part.survey.add(one[0]);
  }
  const host::Finished finished = part.survey.finish();
  ASSERT_FALSE(finished.supports().empty());
  EXPECT_TRUE(finished.dropped().empty());
  bool holdsIsland = false;
  for (const host::Origin& origin : finished.origins()) {
    EXPECT_GE(origin.reason, uint32_t{STILTFORGE_ADDED_ISLAND});
    holdsIsland = holdsIsland || origin.reason == STILTFORGE_ADDED_ISLAND;
  }
  EXPECT_TRUE(holdsIsland);
  for (const host::Support& support : finished.supports()) EXPECT_EQ(support.group, 0u);
}

TEST(Finishing, GivesPlacesThatTheSlicerLocates) {
  Surveyed part;
  part.analyse();
  const host::Finished finished = part.survey.finish();
  const std::vector<host::Point> points = part.slicer.locate(finished.supports());
  ASSERT_EQ(points.size(), finished.supports().size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_EQ(points[i].layer, finished.supports()[i].layer);
    EXPECT_GT(points[i].group, 0u);
  }
}

TEST(Finishing, TellsWhatNoSupportCanHold) {
  host::PrintSettings high = print();
  high.minimum_height = 3;
  host::Slicer slicer(host::Mesh(tableAndBlock()), high);
  host::Model model(slicer.parameters());
  host::Survey survey(high);
  model.analyse(slicer, survey);
  const host::Finished finished = survey.finish();
  const host::FinishedInfo info = finished.info();
  EXPECT_TRUE(finished.supports().empty());
  EXPECT_GT(info.area_near_part, 0);
  EXPECT_EQ(info.sealed_area, 0);
  EXPECT_EQ(info.spacing, 0.8) << "of the support area";
  ASSERT_EQ(finished.islandsLeft().size(), 1u);
  EXPECT_EQ(finished.islandsLeft()[0], 0u);
  EXPECT_NEAR(info.lift, 1, 1e-9) << "the block begins 2 mm above the plate";
}

TEST(Survey, OfSlicesByHandIsTheSame) {
  Surveyed part;
  host::Survey given(print());
  uint32_t layerNumber = 0;
  for (uint32_t i = 0; i < part.slicer.info().layer_count; ++i) {
    std::vector<host::Slice> one(1);
    part.slicer.slice(i, one);
    const host::Layer layer = part.model.analyse(one[0]);
    part.survey.add(one[0], layer);
    const host::View<host::Support> supports = layer.supports();
    given.add(one[0], std::vector<host::Support>(supports.begin(), supports.end()));
    EXPECT_EQ(given.layerCount(), ++layerNumber);
  }
  const Told expected = finishedTable();
  EXPECT_EQ(toldBy(part.survey.finish()), expected);
  EXPECT_EQ(toldBy(given.finish()).origins, expected.origins) << "which know no groups";
}

TEST(Survey, GoesOnWhereACallbackEndedTheCall) {
  Surveyed part;
  EXPECT_THROW(part.model.analyse(part.slicer, part.survey,
                                  [](const host::LayerView& layer) {
                                    if (layer.index() == 36) throw std::string("enough");
                                  }),
               std::string);
  EXPECT_EQ(part.survey.layerCount(), 37u);
  EXPECT_EQ(part.model.layerCount(), 37u);
  part.analyse();
  EXPECT_EQ(toldBy(part.survey.finish()), finishedTable());
}

TEST(Survey, MayBeAskedAgain) {
  Surveyed part;
  part.analyse();
  const host::Finished finished = part.survey.finish();
  EXPECT_EQ(toldBy(part.survey.finish()), toldBy(finished));
  EXPECT_EQ(part.survey.judge(finished).info().supports, finished.supports().size());
  EXPECT_EQ(part.survey.judge().info().supports, part.model.supports().size());
}

TEST(Verdict, TellsWhatFinishedSupportsHold) {
  Surveyed part;
  part.analyse();
  const host::Finished finished = part.survey.finish();
  const host::Verdict verdict = part.survey.judge(finished);
  const host::VerdictInfo info = verdict.info();
  EXPECT_EQ(info.near_reach, 3);
  EXPECT_EQ(info.far_reach, 5);
  EXPECT_EQ(info.spacing, 0.8) << "who asks for points side by side is not told that they are";
  EXPECT_EQ(info.islands, 1u);
  EXPECT_EQ(info.held_islands, 1u);
  EXPECT_GT(info.overhang.area, 50);
  EXPECT_LT(info.overhang.beyond_near, 0.05 * info.overhang.area);
  EXPECT_EQ(info.overhang_in_sealed_voids.area, 0);
  ASSERT_EQ(verdict.islands().size(), 1u);
  const host::Island island = verdict.islands()[0];
  EXPECT_EQ(island.held_by, uint32_t{STILTFORGE_HELD_BY_SUPPORT});
  EXPECT_EQ(finished.supports()[island.support].layer, island.layer);
  EXPECT_EQ(island.taken_in, island.layer);
  EXPECT_EQ(island.has_room, 1u);
  EXPECT_EQ(island.is_sealed, 0u);
}

TEST(Verdict, TellsWhatIsNotHeld) {
  Surveyed part;
  for (uint32_t i = 0; i < part.slicer.info().layer_count; ++i) {
    std::vector<host::Slice> one(1);
    part.slicer.slice(i, one);
    std::vector<host::Support> supports;
    if (i == 1) supports = {{1, 0, 65535, 65535, 0}, {1, 0, 60, 60, 0}, {1, 0, 62, 60, 0}};
    part.survey.add(one[0], supports);
  }
  host::JudgeSettings settings;
  settings.far_reach = 4;
  const host::Verdict verdict = part.survey.judge(settings);
  EXPECT_EQ(verdict.info().held_islands, 0u);
  EXPECT_EQ(verdict.info().far_reach, 4);
  EXPECT_EQ(verdict.islands()[0].held_by, uint32_t{STILTFORGE_HELD_BY_NOTHING});
  EXPECT_EQ(verdict.islands()[0].support, STILTFORGE_NONE);
  EXPECT_EQ(verdict.islands()[0].taken_in, STILTFORGE_NONE);
  const auto faults = [&](uint32_t fault) {
    const host::View<uint32_t> numbers = verdict.faults(fault);
    return std::vector<uint32_t>(numbers.begin(), numbers.end());
  };
  EXPECT_EQ(faults(STILTFORGE_IN_NO_MATERIAL), std::vector<uint32_t>{0});
  EXPECT_EQ(faults(STILTFORGE_ON_HELD_MATERIAL), (std::vector<uint32_t>{1, 2}));
  EXPECT_EQ(faults(4), std::vector<uint32_t>{});
  ASSERT_EQ(verdict.closePairs().size(), 1u);
  EXPECT_EQ(verdict.closePairs()[0].second, 2u);
  EXPECT_NEAR(verdict.closePairs()[0].distance, 0.2, 1e-9);
  ASSERT_FALSE(verdict.worst().empty());
  EXPECT_GT(verdict.worst()[0].distance, 3);
}

TEST(Verdict, WithoutAnySupportTheWorstIsInfinitelyFar) {
  host::Survey survey(print());
  survey.add(fullSlice(40, 30));
  for (int i = 0; i < 5; ++i) survey.add(emptySlice(40, 30));
  survey.add(fullSlice(40, 30, 40));
  const host::Verdict verdict = survey.judge();
  ASSERT_FALSE(verdict.worst().empty());
  EXPECT_EQ(verdict.worst()[0].distance, std::numeric_limits<double>::infinity());
}

TEST(Survey, RefusesWhatIsNoNextLayer) {
  host::Survey survey(print());
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { survey.add(host::Slice()); }),
              HasSubstr("slice is empty"));
  survey.add(fullSlice(40, 30));
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { survey.add(fullSlice(40, 31)); }),
              HasSubstr("slice is 40 x 31 pixels; the survey's slices are 40 x 30"));
  const auto added = [&](const host::Support& support) {
    return messageOf(STILTFORGE_INVALID_ARGUMENT,
                     [&] { survey.add(fullSlice(40, 30), {support}); });
  };
  EXPECT_THAT(added({0, 1, 2, 2, 0}), HasSubstr("supports[0].layer is 0; it must be from 1 to 1"));
  EXPECT_THAT(added({1, 1, 65536, 2, 0}), HasSubstr("supports[0].x is 65536"));
  EXPECT_THAT(added({1, 1, 2, UINT32_MAX, 0}), HasSubstr("supports[0].y is 4294967295"));
  EXPECT_EQ(survey.layerCount(), 1u) << "nothing has changed";
  survey.judge();
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { survey.add(fullSlice(40, 30)); }),
              HasSubstr("was judged or finished"));
}

TEST(Survey, RefusesALayerThatIsNotOfTheSlice) {
  host::Model model(smallParameters());
  host::Survey survey(print());
  const host::Slice slice = fullSlice(40, 30);
  const host::Layer first = model.analyse(slice);
  const host::Layer second = model.analyse(slice);
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { survey.add(slice, second); }),
              HasSubstr("layer has the number 1; the survey's next one is 0"));
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { survey.add(fullSlice(40, 29), first); }),
              HasSubstr("layer is not what stiltforge_model_analyse() made of the slice"));
  survey.add(slice, first);
}

TEST(Survey, RefusesALayerOfACallbackThatHasNoSlice) {
  Surveyed part;
  host::Survey other(print());
  std::vector<host::Slice> slices(1);
  host::Slicer cutter(host::Mesh(tableAndBlock()), print());
  cutter.slice(0, slices);
  const auto add = [&](const host::LayerView&) {};
  part.model.analyse(part.slicer, add, nullptr, 1);
  struct Context {
    stiltforge_survey* survey;
    stiltforge_slice* slice;
    stiltforge_status status;
  } context{other.get(), slices[0].get(), STILTFORGE_OK};
  host::Model model(part.slicer.parameters());
  const auto callback = [](void* given, const stiltforge_layer* layer) {
    auto& told = *static_cast<Context*>(given);
    told.status = stiltforge_survey_add_layer(told.survey, told.slice, layer, nullptr);
    return int32_t{0};
  };
  EXPECT_EQ(stiltforge_model_analyse_mesh(model.get(), part.slicer.get(), 1, nullptr, callback,
                                          &context, nullptr),
            STILTFORGE_OK);
  EXPECT_EQ(context.status, STILTFORGE_INVALID_ARGUMENT);
}

// mm2 with room for a support, of a part that begins one layer above the plate.
double areaWithRoom(const stiltforge_print_settings& settings) {
  stiltforge_survey* created = nullptr;
  EXPECT_EQ(stiltforge_survey_create(&settings, &created, nullptr), STILTFORGE_OK);
  const std::unique_ptr<stiltforge_survey, decltype(&stiltforge_survey_destroy)> survey(
      created, stiltforge_survey_destroy);
  const auto add = [&](const host::Slice& slice) {
    EXPECT_EQ(stiltforge_survey_add(survey.get(), slice.get(), nullptr, 0, nullptr), STILTFORGE_OK);
  };
  add(emptySlice(40, 30));
  add(fullSlice(40, 30, 40));
  stiltforge_verdict* judged = nullptr;
  EXPECT_EQ(stiltforge_survey_judge(survey.get(), nullptr, nullptr, &judged, nullptr),
            STILTFORGE_OK);
  const host::VerdictInfo info = host::Verdict(judged).info();
  EXPECT_NE(info.overhang.area > 0, info.overhang_without_room.area > 0);
  return info.overhang.area;
}

TEST(Survey, FindsRoomBelowWhatHangsOverAFirstLayerThatIsThickEnough) {
  host::PrintSettings settings = print();
  EXPECT_EQ(settings.first_layer_height, 0);
  EXPECT_EQ(areaWithRoom(settings), 0) << "of 0.1 mm, as the others";
  settings.first_layer_height = 0.19;
  EXPECT_EQ(areaWithRoom(settings), 0);
  settings.first_layer_height = 0.2;
  EXPECT_GT(areaWithRoom(settings), 0);
}

TEST(Survey, OfAHostThatKnowsNoFirstLayerTakesItForOneOfTheOthers) {
  host::PrintSettings settings = print();
  settings.first_layer_height = 1;
  ASSERT_GT(areaWithRoom(settings), 0);
  settings.struct_size = offsetof(stiltforge_print_settings, first_layer_height);
  EXPECT_EQ(areaWithRoom(settings), 0) << "what lies beyond its structure is not read";
}

TEST(Survey, RefusesAFirstLayerOfNoHeight) {
  for (const double height : {-1.0, 1e-7, 1e7, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::denorm_min(), std::nan("")}) {
    host::PrintSettings wrong = print();
    wrong.first_layer_height = height;
    EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Survey{wrong}; }),
                testing::AllOf(HasSubstr("print->first_layer_height is "),
                               HasSubstr("it must be from 0.000001 to 1,000,000 mm")));
  }
}

TEST(Survey, RefusesAMeshOfAnotherPrintAndAModelThatIsAhead) {
  Surveyed part;
  host::PrintSettings finer = print();
  finer.pixel_size = 0.05;
  host::Survey other(finer);
  EXPECT_THAT(
      messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { part.model.analyse(part.slicer, other); }),
      HasSubstr("pixel_size of 0.05 mm; the slicer's is 0.1 mm"));
  part.model.analyse(part.slicer, nullptr, nullptr, 3);
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { part.analyse(); }),
              HasSubstr("survey has 0 layers and the model 3"));
}

TEST(Survey, RefusesSettingsThatItCannotUse) {
  host::PrintSettings wrong = print();
  wrong.minimum_height = std::nan("");
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Survey{wrong}; }),
              HasSubstr("print->minimum_height is nan"));
  wrong = print();
  wrong.minimum_spacing = 100;
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Survey{wrong}; }),
              HasSubstr("print->minimum_spacing is 100"));
  wrong = print();
  wrong.lift = -1;
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Survey{wrong}; }),
              HasSubstr("print->lift is -1"));
  wrong = print();
  wrong.layer_height = 1e-6;
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { host::Survey{wrong}; }),
              HasSubstr("print cannot be surveyed: the steps of samples"));
}

TEST(Verdict, RefusesSettingsAndSupportsThatItCannotUse) {
  Surveyed part;
  part.analyse();
  host::Survey other(print());
  const host::Finished finished = part.survey.finish();
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { other.judge(finished); }),
              HasSubstr("finished came of another survey"));
  host::JudgeSettings settings;
  settings.near_reach = std::nan("");
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { part.survey.judge(settings); }),
              HasSubstr("settings->near_reach is nan; it must be from 0 to 1000000 mm"));
  settings = {};
  settings.spacing = std::numeric_limits<double>::infinity();
  EXPECT_THAT(messageOf(STILTFORGE_INVALID_ARGUMENT, [&] { part.survey.judge(settings); }),
              HasSubstr("settings->spacing is inf"));
}

TEST(Survey, WithoutAnyLayerHasNothingToFinish) {
  host::Survey survey(print());
  const host::Finished finished = survey.finish();
  EXPECT_TRUE(finished.supports().empty());
  EXPECT_EQ(survey.judge(finished).info().overhang.area, 0);
}

TEST(Finishing, NamesItsReasonsAsTheCommandDoes) {
  EXPECT_STREQ(stiltforge_reason_name(STILTFORGE_ANALYSED), "analysed");
  EXPECT_STREQ(stiltforge_reason_name(STILTFORGE_MERGED), "merged");
  EXPECT_STREQ(stiltforge_reason_name(STILTFORGE_ADDED_ISLAND), "addedForIsland");
  EXPECT_STREQ(stiltforge_reason_name(STILTFORGE_ADDED_OVERHANG), "addedForOverhang");
  EXPECT_STREQ(stiltforge_reason_name(4), "unknown");
  EXPECT_STREQ(stiltforge_drop_reason_name(STILTFORGE_DROPPED_MERGED), "merged");
  EXPECT_STREQ(stiltforge_drop_reason_name(STILTFORGE_DROPPED_HOLDS_LITTLE), "holdsLittle");
  EXPECT_STREQ(stiltforge_drop_reason_name(STILTFORGE_DROPPED_NO_ROOM), "noRoom");
  EXPECT_STREQ(stiltforge_drop_reason_name(STILTFORGE_DROPPED_SEALED_VOID), "sealedVoid");
  EXPECT_STREQ(stiltforge_drop_reason_name(STILTFORGE_DROPPED_HOLDS_NOTHING), "holdsNothing");
  EXPECT_STREQ(stiltforge_drop_reason_name(UINT32_MAX), "unknown");
}

TEST(Survey, ThatMemoryEndsSaysSoAndEverythingElseIsWhole) {
  const Told expected = finishedTable();
  int failures = 0;
  for (std::size_t largest = 64; largest < (1 << 20); largest *= 2) {
    Surveyed part;
    stiltforge_error error;
    stiltforge_finished* finished = nullptr;
    stiltforge_status status = STILTFORGE_OK;
    {
      const FailingAllocation large(largest);
      status = stiltforge_model_survey_mesh(part.model.get(), part.slicer.get(), part.survey.get(),
                                            UINT32_MAX, nullptr, nullptr, nullptr, &error);
      if (status == STILTFORGE_OK) {
        status = stiltforge_survey_finish(part.survey.get(), &finished, &error);
      }
    }
    if (status == STILTFORGE_OK) {
      const Told told = toldBy(host::Finished(finished));
      EXPECT_TRUE(part.model.failedGroups() > 0 || told == expected);
      continue;
    }
    ++failures;
    EXPECT_EQ(finished, nullptr);
    EXPECT_EQ(status, STILTFORGE_OUT_OF_MEMORY) << error.message;
    status = stiltforge_survey_finish(part.survey.get(), &finished, &error);
    EXPECT_TRUE(status == STILTFORGE_OK || status == STILTFORGE_STOPPED) << error.message;
    EXPECT_EQ(status == STILTFORGE_STOPPED,
              std::string(error.message).find("make a new one") != std::string::npos);
    stiltforge_finished_destroy(finished);
  }
  EXPECT_GT(failures, 0);
}

TEST(Survey, IsBusyInItsOwnCallback) {
  Surveyed part;
  std::string message;
  part.model.analyse(part.slicer, part.survey, [&](const host::LayerView&) {
    if (message.empty()) message = messageOf(STILTFORGE_BUSY, [&] { part.survey.judge(); });
  });
  EXPECT_THAT(message, HasSubstr("another call is using survey"));
}

}  // namespace
}  // namespace stiltforge::capi_test
