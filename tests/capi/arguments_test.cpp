// Arguments that make no sense: a status and a sentence, never a crash.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Arguments, NullIsRefusedByName) {
  const host::PrintSettings print;
  const host::MaskSettings masks;
  const host::Mesh mesh(table());
  host::Slicer slicer(mesh, coarsePrint());
  host::Parameters parameters = smallParameters();
  host::Model model(parameters);
  host::Slice slice;
  host::Survey survey(print);
  stiltforge_survey* newSurvey = nullptr;
  stiltforge_finished* newFinished = nullptr;
  stiltforge_verdict* newVerdict = nullptr;
  stiltforge_check* newCheck = nullptr;
  stiltforge_check_report* newReport = nullptr;
  stiltforge_orientations* newOrientations = nullptr;
  stiltforge_scaffold* newScaffold = nullptr;
  stiltforge_slicer_info info{};
  info.struct_size = sizeof info;
  const float positions[9] = {};
  const uint32_t indices[3] = {};
  double point[3];
  const stiltforge_support support{};
  stiltforge_slice* const noSlice = nullptr;
  stiltforge_error error;
  stiltforge_error* const e = &error;
  const auto null = nullptr;

  struct Call {
    const char* named;
    std::function<stiltforge_status()> run;
  };
  const std::vector<Call> calls = {
      {"settings is null", [&] { return stiltforge_print_settings_init(null, e); }},
      {"settings is null", [&] { return stiltforge_mask_settings_init(null, e); }},
      {"options is null", [&] { return stiltforge_analysis_options_init(null, e); }},
      {"size is null", [&] { return stiltforge_model_size_init(null, e); }},
      {"token is null", [&] { return stiltforge_cancel_token_create(null, e); }},
      {"info is null", [&] { return stiltforge_get_parameter_info(0, null, e); }},
      {"parameters is null", [&] { return stiltforge_parameters_create(null, e); }},
      {"parameters is null",
       [&] { return stiltforge_parameters_create_for_print(&print, 1, 1, 1, null, e); }},
      {"parameters is null", [&] { return stiltforge_parameters_set(null, "width", 1, e); }},
      {"name is null", [&] { return stiltforge_parameters_set(parameters.get(), null, 1, e); }},
      {"parameters is null", [&] { return stiltforge_parameters_get(null, "width", point, e); }},
      {"name is null", [&] { return stiltforge_parameters_get(parameters.get(), null, point, e); }},
      {"value is null",
       [&] { return stiltforge_parameters_get(parameters.get(), "width", null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_create(positions, 1, null, e); }},
      {"mesh is null",
       [&] { return stiltforge_mesh_create_indexed(positions, 3, indices, 1, null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_read_file("a.stl", null, null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_read_memory("", 0, "", null, null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_turn_y_up(null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_scale(null, 1, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_scale_to_height(null, 1, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_get_box(null, point, point, e); }},
      {"min is null", [&] { return stiltforge_mesh_get_box(mesh.get(), null, point, e); }},
      {"max is null", [&] { return stiltforge_mesh_get_box(mesh.get(), point, null, e); }},
      {"slice is null", [&] { return stiltforge_slice_create(null, e); }},
      {"slice is null", [&] { return stiltforge_slice_set_rgba(null, null, 4, 1, 1, e); }},
      {"rgba is null", [&] { return stiltforge_slice_set_rgba(slice.get(), null, 4, 1, 1, e); }},
      {"slice is null", [&] { return stiltforge_slice_set_runs(null, 1, 1, null, null, e); }},
      {"material is null",
       [&] { return stiltforge_slice_set_runs(slice.get(), 1, 1, null, null, e); }},
      {"slice is null", [&] { return stiltforge_slice_get_info(null, null, e); }},
      {"info is null", [&] { return stiltforge_slice_get_info(slice.get(), null, e); }},
      {"slice is null",
       [&] { return stiltforge_slice_copy_material(null, null, null, null, 0, e); }},
      {"row_start is null",
       [&] { return stiltforge_slice_copy_material(slice.get(), null, null, null, 0, e); }},
      {"slice is null",
       [&] { return stiltforge_slice_copy_overhang(null, null, null, null, 0, null, null, 0, e); }},
      {"slicer is null", [&] { return stiltforge_slicer_create(mesh.get(), &print, null, e); }},
      {"slicer is null", [&] { return stiltforge_slicer_get_info(null, &info, e); }},
      {"info is null", [&] { return stiltforge_slicer_get_info(slicer.get(), null, e); }},
      {"slicer is null", [&] { return stiltforge_slicer_get_report(null, null, e); }},
      {"report is null", [&] { return stiltforge_slicer_get_report(slicer.get(), null, e); }},
      {"parameters is null",
       [&] { return stiltforge_slicer_create_parameters(slicer.get(), null, e); }},
      {"slicer is null", [&] { return stiltforge_slicer_slice(null, 0, 0, null, e); }},
      {"slices is null", [&] { return stiltforge_slicer_slice(slicer.get(), 0, 1, null, e); }},
      {"slices[0] is null",
       [&] { return stiltforge_slicer_slice(slicer.get(), 0, 1, &noSlice, e); }},
      {"slicer is null", [&] { return stiltforge_slicer_locate(null, null, 0, null, e); }},
      {"supports is null",
       [&] { return stiltforge_slicer_locate(slicer.get(), null, 1, null, e); }},
      {"points is null",
       [&] { return stiltforge_slicer_locate(slicer.get(), &support, 1, null, e); }},
      {"slicer is null", [&] { return stiltforge_mask_slicer_create(&masks, &print, null, e); }},
      {"slicer is null", [&] { return stiltforge_mask_slicer_next(null, null, 0, 0, null, e); }},
      {"model is null", [&] { return stiltforge_model_create(parameters.get(), null, e); }},
      {"model is null", [&] { return stiltforge_model_analyse(null, null, null, null, e); }},
      {"slice is null", [&] { return stiltforge_model_analyse(model.get(), null, null, null, e); }},
      {"model is null",
       [&] { return stiltforge_model_analyse_mesh(null, null, 1, null, null, null, e); }},
      {"slicer is null",
       [&] { return stiltforge_model_analyse_mesh(model.get(), null, 1, null, null, null, e); }},
      {"model is null", [&] { return stiltforge_model_get_supports(null, null, 0, null, e); }},
      {"supports is null",
       [&] { return stiltforge_model_get_supports(model.get(), null, 1, null, e); }},
      {"images is null",
       [&] { return stiltforge_model_create_group_images(model.get(), 0, 1, null, e); }},
      {"size is null", [&] { return stiltforge_estimate_memory(null, null, e); }},
      {"survey is null", [&] { return stiltforge_survey_create(&print, null, e); }},
      {"print is null", [&] { return stiltforge_survey_create(null, &newSurvey, e); }},
      {"survey is null", [&] { return stiltforge_survey_add(null, null, null, 0, e); }},
      {"slice is null", [&] { return stiltforge_survey_add(survey.get(), null, null, 0, e); }},
      {"supports is null",
       [&] { return stiltforge_survey_add(survey.get(), slice.get(), null, 1, e); }},
      {"survey is null", [&] { return stiltforge_survey_add_layer(null, null, null, e); }},
      {"slice is null", [&] { return stiltforge_survey_add_layer(survey.get(), null, null, e); }},
      {"layer is null",
       [&] { return stiltforge_survey_add_layer(survey.get(), slice.get(), null, e); }},
      {"model is null",
       [&] { return stiltforge_model_survey_mesh(null, null, null, 1, null, null, null, e); }},
      {"survey is null",
       [&] {
         return stiltforge_model_survey_mesh(model.get(), slicer.get(), null, 1, null, null, null,
                                             e);
       }},
      {"finished is null", [&] { return stiltforge_survey_finish(survey.get(), null, e); }},
      {"survey is null", [&] { return stiltforge_survey_finish(null, &newFinished, e); }},
      {"finished is null", [&] { return stiltforge_finished_get_info(null, null, e); }},
      {"settings is null", [&] { return stiltforge_judge_settings_init(null, e); }},
      {"verdict is null",
       [&] { return stiltforge_survey_judge(survey.get(), null, null, null, e); }},
      {"survey is null", [&] { return stiltforge_survey_judge(null, null, null, &newVerdict, e); }},
      {"verdict is null", [&] { return stiltforge_verdict_get_info(null, null, e); }},
      {"mesh is null", [&] { return stiltforge_mesh_turn(null, null, e); }},
      {"turn is null", [&] { return stiltforge_mesh_turn(mesh.get(), null, e); }},
      {"settings is null", [&] { return stiltforge_orient_settings_init(null, e); }},
      {"settings is null", [&] { return stiltforge_check_settings_init(null, e); }},
      {"slicer is null", [&] { return stiltforge_check_settings_init_for_slicer(null, null, e); }},
      {"settings is null", [&] { return stiltforge_check_create(null, null, 0, &newCheck, e); }},
      {"check is null", [&] { return stiltforge_check_add(null, null, e); }},
      {"check is null", [&] { return stiltforge_check_finish(null, &newReport, e); }},
      {"report is null", [&] { return stiltforge_check_report_get_info(null, null, e); }},
      {"orientations is null",
       [&] {
         return stiltforge_orientations_create(mesh.get(), &print, null, null, null, null, null, e);
       }},
      {"mesh is null",
       [&] {
         return stiltforge_orientations_create(null, &print, null, null, null, null,
                                               &newOrientations, e);
       }},
      {"print is null",
       [&] {
         return stiltforge_orientations_create(mesh.get(), null, null, null, null, null,
                                               &newOrientations, e);
       }},
      {"orientations is null", [&] { return stiltforge_orientations_get_info(null, null, e); }},
      {"settings is null", [&] { return stiltforge_scaffold_settings_init(null, e); }},
      {"scaffold is null",
       [&] {
         return stiltforge_scaffold_create(mesh.get(), null, 0, 0, 1, null, null, null, null, null,
                                           e);
       }},
      {"mesh is null",
       [&] {
         return stiltforge_scaffold_create(null, null, 0, 0, 1, null, null, null, null,
                                           &newScaffold, e);
       }},
      {"points is null",
       [&] {
         return stiltforge_scaffold_create(mesh.get(), null, 1, 0, 1, null, null, null, null,
                                           &newScaffold, e);
       }},
  };
  for (const Call& call : calls) {
    EXPECT_EQ(call.run(), STILTFORGE_INVALID_ARGUMENT) << call.named;
    EXPECT_THAT(error.message, StartsWith("stiltforge_"));
    EXPECT_THAT(error.message, HasSubstr(call.named));
  }
}

TEST(Arguments, WhatIsCreatedFromNullIsNull) {
  stiltforge_error error;
  char notOurs = 0;
  void* const garbage = &notOurs;
  auto* slicer = static_cast<stiltforge_slicer*>(garbage);
  EXPECT_EQ(stiltforge_slicer_create(nullptr, nullptr, &slicer, &error),
            STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(slicer, nullptr);
  auto* model = static_cast<stiltforge_model*>(garbage);
  EXPECT_EQ(stiltforge_model_create(nullptr, &model, &error), STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(model, nullptr);
  auto* mesh = static_cast<stiltforge_mesh*>(garbage);
  EXPECT_EQ(stiltforge_mesh_create(nullptr, 1, &mesh, &error), STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(mesh, nullptr);
  auto* layer = static_cast<stiltforge_layer*>(garbage);
  EXPECT_EQ(stiltforge_model_analyse(nullptr, nullptr, nullptr, &layer, &error),
            STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(layer, nullptr);
}

TEST(Arguments, WhatAsksNullHasNothingToTell) {
  std::size_t count = 5;
  EXPECT_EQ(stiltforge_mesh_triangle_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_mesh_positions(nullptr), nullptr);
  EXPECT_EQ(stiltforge_mesh_warning_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_mesh_warning(nullptr, 0), nullptr);
  EXPECT_EQ(stiltforge_layer_index(nullptr), 0u);
  EXPECT_EQ(stiltforge_layer_pixels(nullptr), 0u);
  EXPECT_EQ(stiltforge_layer_groups(nullptr, &count), nullptr);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stiltforge_layer_supports(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_layer_weights(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_model_layer_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_model_failed_groups(nullptr), 0u);
  EXPECT_EQ(stiltforge_group_images_width(nullptr), 0u);
  EXPECT_EQ(stiltforge_group_images_height(nullptr), 0u);
  EXPECT_EQ(stiltforge_group_images_pixels(nullptr, 0), nullptr);
  EXPECT_EQ(stiltforge_survey_layer_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_finished_supports(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_origins(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_weights(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_dropped_weights(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_merged(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_dropped(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_finished_islands_left(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_verdict_islands(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_verdict_worst(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_verdict_close_pairs(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_verdict_faults(nullptr, 0, nullptr), nullptr);
  EXPECT_EQ(stiltforge_check_layer_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_check_report_findings(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_orientations_best(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_orientations_as_it_is(nullptr), nullptr);
  EXPECT_EQ(stiltforge_orientations_supports(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_triangle_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_scaffold_raft_triangle_count(nullptr), 0u);
  EXPECT_EQ(stiltforge_scaffold_positions(nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_rings(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_supports(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_braces(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_left_out(nullptr, nullptr), nullptr);
  EXPECT_EQ(stiltforge_scaffold_alone(nullptr, nullptr), nullptr);
}

TEST(Arguments, NullMayBeDestroyed) {
  stiltforge_cancel_token_cancel(nullptr);
  stiltforge_cancel_token_destroy(nullptr);
  stiltforge_parameters_destroy(nullptr);
  stiltforge_mesh_destroy(nullptr);
  stiltforge_slice_destroy(nullptr);
  stiltforge_slicer_destroy(nullptr);
  stiltforge_mask_slicer_destroy(nullptr);
  stiltforge_layer_destroy(nullptr);
  stiltforge_model_destroy(nullptr);
  stiltforge_group_images_destroy(nullptr);
  stiltforge_survey_destroy(nullptr);
  stiltforge_finished_destroy(nullptr);
  stiltforge_verdict_destroy(nullptr);
  stiltforge_check_destroy(nullptr);
  stiltforge_check_report_destroy(nullptr);
  stiltforge_orientations_destroy(nullptr);
  stiltforge_scaffold_destroy(nullptr);
}

TEST(Arguments, AnErrorMayBeNull) {
  EXPECT_EQ(stiltforge_mesh_scale(nullptr, 1, nullptr), STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(stiltforge_parameters_create(nullptr, nullptr), STILTFORGE_INVALID_ARGUMENT);
}

TEST(Arguments, ACallThatGoesWellEmptiesTheMessage) {
  stiltforge_error error{"of an earlier call"};
  stiltforge_slice* slice = nullptr;
  EXPECT_EQ(stiltforge_slice_create(&slice, &error), STILTFORGE_OK);
  EXPECT_STREQ(error.message, "");
  stiltforge_slice_destroy(slice);
}

TEST(Arguments, AHandleOfAnotherKindIsRefused) {
  const host::Mesh mesh(table());
  stiltforge_error error;
  auto* const noModel = reinterpret_cast<stiltforge_model*>(mesh.get());
  EXPECT_EQ(stiltforge_model_analyse(noModel, nullptr, nullptr, nullptr, &error),
            STILTFORGE_INVALID_ARGUMENT);
  EXPECT_STREQ(error.message,
               "stiltforge_model_analyse: model is no handle of that kind, or destroyed.");
  EXPECT_EQ(stiltforge_model_layer_count(noModel), 0u);
  stiltforge_model_destroy(noModel);
  auto* const noSurvey = reinterpret_cast<stiltforge_survey*>(mesh.get());
  EXPECT_EQ(stiltforge_survey_finish(noSurvey, nullptr, &error), STILTFORGE_INVALID_ARGUMENT);
  EXPECT_EQ(stiltforge_survey_layer_count(noSurvey), 0u);
  std::size_t count = 1;
  auto* const notFinished = reinterpret_cast<stiltforge_finished*>(mesh.get());
  EXPECT_EQ(stiltforge_finished_supports(notFinished, &count), nullptr);
  EXPECT_EQ(count, 0u);
  auto* const noVerdict = reinterpret_cast<stiltforge_verdict*>(mesh.get());
  EXPECT_EQ(stiltforge_verdict_faults(noVerdict, STILTFORGE_WITHOUT_ROOM, nullptr), nullptr);
  EXPECT_EQ(stiltforge_mesh_triangle_count(mesh.get()), 36u);
}

TEST(Arguments, AModelNeedsASize) {
  const host::Parameters parameters;
  EXPECT_THROW(host::Model{parameters}, host::Error);
  host::Parameters large;
  large.set("width", 65535);
  large.set("height", 65535);
  try {
    const host::Model tooLarge{large};
    FAIL();
  } catch (const host::Error& error) {
    EXPECT_THAT(error.what(), HasSubstr("4294836225 pixels; a slice has 2147483647 at most"));
  }
}

TEST(Arguments, ASliceHasTheSizeOfItsModel) {
  host::Model model(smallParameters());
  EXPECT_THROW(model.analyse(host::Slice()), host::Error);
  try {
    model.analyse(fullSlice(30, 40));
    FAIL();
  } catch (const host::Error& error) {
    EXPECT_STREQ(error.what(),
                 "stiltforge_model_analyse: slice is 30 x 40 pixels; the model's slices are 40 x "
                 "30.");
  }
  EXPECT_EQ(model.layerCount(), 0u);
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  EXPECT_THROW(model.analyse(slicer), host::Error);
}

TEST(Arguments, BlocksHaveTheSizeOfTheModel) {
  host::Model model(smallParameters());
  std::vector<uint32_t> labels(1199);
  host::AnalysisOptions options;
  options.labels = labels.data();
  options.pixel_count = labels.size();
  try {
    model.analyse(fullSlice(40, 30), options);
    FAIL();
  } catch (const host::Error& error) {
    EXPECT_THAT(error.what(), HasSubstr("pixel_count is 1199; the model's slices have 1200"));
  }
  EXPECT_EQ(model.layerCount(), 0u);
}

TEST(Arguments, ImagesAreOfGroupsThatThereAre) {
  host::Model model(smallParameters());
  EXPECT_THROW(model.groupImages(0, 1), host::Error);
  model.analyse(fullSlice(40, 30));
  EXPECT_EQ(model.groupImages(0, 1).width(), 40u);
  for (const auto& [layer, group] : std::vector<std::pair<uint32_t, uint32_t>>{
           {0, 0}, {0, 2}, {1, 1}, {UINT32_MAX, UINT32_MAX}}) {
    EXPECT_THROW(model.groupImages(layer, group), host::Error) << layer << " " << group;
  }
  const host::GroupImages images = model.groupImages(0, 1);
  EXPECT_TRUE(images.pixels(-1).empty());
  EXPECT_TRUE(images.pixels(STILTFORGE_IMAGE_COUNT).empty());
}

TEST(Arguments, SupportsAreLocatedWithinTheirSlicer) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  const host::SlicerInfo info = slicer.info();
  host::Support support{};
  EXPECT_EQ(slicer.locate({support}).size(), 1u);
  support.x = info.width;
  EXPECT_THROW(slicer.locate({support}), host::Error);
  support.x = 0;
  support.layer = info.layer_count;
  EXPECT_THROW(slicer.locate({support}), host::Error);
}

TEST(Arguments, AModelTakesNoMoreLayersThanHaveNumbers) {
  host::Parameters parameters;
  parameters.set("width", 1);
  parameters.set("height", 1);
  host::Model model(parameters);
  const host::Slice slice = fullSlice(1, 1);
  for (int i = 0; i < 65535; ++i) {
    ASSERT_EQ(stiltforge_model_analyse(model.get(), slice.get(), nullptr, nullptr, nullptr),
              STILTFORGE_OK);
  }
  EXPECT_THROW(model.analyse(slice), host::Error);
  EXPECT_EQ(model.layerCount(), 65535u);
}

TEST(Arguments, LongMessagesAreCutBetweenCharacters) {
  std::string path = "/no";
  for (int i = 0; i < 400; ++i) path += "/\xE2\x82\xAC";  // a euro sign
  stiltforge_mesh* mesh = nullptr;
  stiltforge_error error;
  EXPECT_NE(stiltforge_mesh_read_file(path.c_str(), nullptr, &mesh, &error), STILTFORGE_OK);
  const std::string message = error.message;
  EXPECT_LT(message.size(), sizeof error.message);
  EXPECT_NE(static_cast<unsigned char>(message.back()), 0xE2);
}

TEST(Arguments, SizesOfAMemoryEstimateAreChecked) {
  host::ModelSize size;
  EXPECT_THROW(host::estimateMemory(size), host::Error);
  size.width = 3840;
  size.height = 2400;
  size.layers = 1000;
  const host::MemoryEstimate estimate = host::estimateMemory(size);
  EXPECT_EQ(estimate.total, estimate.slices + estimate.groups + estimate.placement +
                                estimate.history + estimate.fixed);
  size.unsupported_share = -1;
  EXPECT_THROW(host::estimateMemory(size), host::Error);
}

}  // namespace
}  // namespace stiltforge::capi_test
