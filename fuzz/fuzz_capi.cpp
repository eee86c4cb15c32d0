// Any sequence of calls with any arguments: each ends with a status, a failed one with a sentence
// and without a handle. Pointers are null or right, and a handle is not used after its end.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "require.h"
#include "stiltforge/stiltforge.h"

namespace {

constexpr uint32_t longestSide = 96;
constexpr std::size_t mostCalls = 200;
constexpr uint32_t mostLayersAtOnce = 12;

// The handles of one kind that there are.
template <typename T>
class Handles {
 public:
  explicit Handles(void (*destroy)(T*)) : destroy_(destroy) {}
  ~Handles() {
    for (T* handle : handles_) destroy_(handle);
  }
  Handles(const Handles&) = delete;
  Handles& operator=(const Handles&) = delete;

  // Null now and then, and while there is none.
  T* pick(FuzzedDataProvider& input) const {
    if (handles_.empty() || input.ConsumeIntegralInRange(0, 31) == 0) return nullptr;
    return handles_[input.ConsumeIntegralInRange<std::size_t>(0, handles_.size() - 1)];
  }
  void add(T* handle) {
    if (handle) handles_.push_back(handle);
  }
  // Between calls: what was picked for one may be in use until its end.
  void retireOldest() {
    while (handles_.size() > most) {
      destroy_(handles_.front());
      handles_.erase(handles_.begin());
    }
  }

 private:
  static constexpr std::size_t most = 4;

  void (*destroy_)(T*);
  std::vector<T*> handles_;
};

class Host {
 public:
  explicit Host(FuzzedDataProvider& input) : input_(input) {}

  void play() {
    for (std::size_t i = 0; i < mostCalls && input_.remaining_bytes() > 0; ++i) call();
  }

 private:
  void call() {
    meshes_.retireOldest();
    slicers_.retireOldest();
    slices_.retireOldest();
    parameters_.retireOldest();
    models_.retireOldest();
    maskSlicers_.retireOldest();
    surveys_.retireOldest();
    finished_.retireOldest();
    checks_.retireOldest();
    switch (input_.ConsumeIntegralInRange(0, 27)) {
      case 0:
        return createMesh();
      case 1:
        return createIndexedMesh();
      case 2:
        return changeMesh();
      case 3:
        return createSlicer();
      case 4:
        return cut();
      case 5:
        return fillFromPicture();
      case 6:
        return fillFromRuns();
      case 7:
        return createParameters();
      case 8:
        return setParameter();
      case 9:
        return createModel();
      case 10:
        return analyse();
      case 11:
        return analyseMesh();
      case 12:
        return readSupports();
      case 13:
        return renderGroup();
      case 14:
        return createMaskSlicer();
      case 15:
        return cutMasks();
      case 16:
        return createSurvey();
      case 17:
        return surveyMesh();
      case 18:
        return addToSurvey();
      case 19:
        return addAnalysedToSurvey();
      case 20:
        return finishSurvey();
      case 21:
        return judgeSurvey();
      case 22:
        return buildScaffold();
      case 23:
        return rankOrientations();
      case 24:
        return createCheck();
      case 25:
        return addToCheck();
      case 26:
        return finishCheck();
      default:
        return askForMore();
    }
  }

  stiltforge_status check(stiltforge_status status) {
    const std::size_t length = strnlen(error_.message, sizeof error_.message);
    require(length < sizeof error_.message, "a message without an end");
    require((status == STILTFORGE_OK) == (length == 0), "status and message disagree");
    require(status != STILTFORGE_INTERNAL, error_.message);
    return status;
  }

  template <typename T>
  void keep(Handles<T>& handles, stiltforge_status status, T* handle) {
    require((check(status) == STILTFORGE_OK) == (handle != nullptr), "a handle without success");
    handles.add(handle);
  }

  double number(double usual) {
    switch (input_.ConsumeIntegralInRange(0, 15)) {
      case 0:
        return input_.ConsumeFloatingPoint<double>();
      case 1:
        return std::numeric_limits<double>::quiet_NaN();
      case 2:
        return usual * input_.ConsumeFloatingPointInRange(-1.0, 4.0);
      default:
        return usual;
    }
  }

  uint32_t side() {
    return input_.ConsumeIntegralInRange(0, 15) == 0
               ? input_.ConsumeIntegral<uint32_t>()
               : input_.ConsumeIntegralInRange<uint32_t>(1, longestSide);
  }

  stiltforge_print_settings printSettings() {
    stiltforge_print_settings print{};
    print.struct_size = sizeof print;
    check(stiltforge_print_settings_init(&print, &error_));
    print.layer_height = number(0.5);
    print.pixel_size = number(0.5);
    print.screen_width = input_.ConsumeIntegralInRange<uint32_t>(0, longestSide);
    print.screen_height = input_.ConsumeIntegralInRange<uint32_t>(0, longestSide);
    print.offset_x = number(0);
    print.offset_y = number(0);
    print.critical_angle = number(45);
    print.full_overhang = number(-1);
    print.inset = number(0.4);
    print.support_area = number(15);
    print.lift = number(0);
    print.minimum_height = number(0.2);
    print.minimum_spacing = number(-1);
    if (input_.ConsumeIntegralInRange(0, 31) == 0) {
      print.struct_size = input_.ConsumeIntegralInRange<std::size_t>(0, sizeof print);
    }
    return print;
  }

  void createMesh() {
    std::vector<float> positions(9 * input_.ConsumeIntegralInRange<std::size_t>(0, 40));
    for (float& value : positions) value = coordinate();
    const bool isHuge = input_.ConsumeIntegralInRange(0, 31) == 0;
    stiltforge_mesh* mesh = nullptr;
    const stiltforge_status status = stiltforge_mesh_create(
        positions.data(), isHuge ? ~std::size_t{0} : positions.size() / 9, &mesh, &error_);
    keep(meshes_, status, mesh);
  }

  void createIndexedMesh() {
    std::vector<float> vertices(3 * input_.ConsumeIntegralInRange<std::size_t>(0, 12));
    for (float& value : vertices) value = coordinate();
    std::vector<uint32_t> indices(3 * input_.ConsumeIntegralInRange<std::size_t>(0, 24));
    for (uint32_t& index : indices) index = input_.ConsumeIntegralInRange<uint32_t>(0, 12);
    stiltforge_mesh* mesh = nullptr;
    const stiltforge_status status = stiltforge_mesh_create_indexed(
        vertices.data(), vertices.size() / 3, indices.data(), indices.size() / 3, &mesh, &error_);
    keep(meshes_, status, mesh);
  }

  float coordinate() {
    if (input_.ConsumeIntegralInRange(0, 255) == 0) return input_.ConsumeFloatingPoint<float>();
    return static_cast<float>(input_.ConsumeIntegralInRange(-40, 40)) / 4.0f;
  }

  void changeMesh() {
    stiltforge_mesh* const mesh = meshes_.pick(input_);
    double min[3];
    double max[3];
    switch (input_.ConsumeIntegralInRange(0, 3)) {
      case 0:
        check(stiltforge_mesh_turn_y_up(mesh, &error_));
        break;
      case 1:
        check(stiltforge_mesh_scale(mesh, number(1), &error_));
        break;
      case 2:
        check(stiltforge_mesh_scale_to_height(mesh, number(5), &error_));
        break;
      default:
        check(stiltforge_mesh_get_box(mesh, min, max, &error_));
    }
  }

  void createSlicer() {
    const stiltforge_print_settings print = printSettings();
    stiltforge_slicer* slicer = nullptr;
    const stiltforge_status status =
        stiltforge_slicer_create(meshes_.pick(input_), &print, &slicer, &error_);
    keep(slicers_, status, slicer);
  }

  void cut() {
    stiltforge_slice* slices[3];
    for (stiltforge_slice*& slice : slices) slice = pickSlice();
    const auto count = input_.ConsumeIntegralInRange<uint32_t>(0, 3);
    const uint32_t first = input_.ConsumeBool() ? input_.ConsumeIntegralInRange<uint32_t>(0, 40)
                                                : input_.ConsumeIntegral<uint32_t>();
    check(stiltforge_slicer_slice(slicers_.pick(input_), first, count, slices, &error_));
  }

  stiltforge_slice* pickSlice() {
    if (input_.ConsumeBool()) {
      stiltforge_slice* slice = nullptr;
      keep(slices_, stiltforge_slice_create(&slice, &error_), slice);
    }
    return slices_.pick(input_);
  }

  void fillFromPicture() {
    stiltforge_slice* const slice = pickSlice();
    const uint32_t width = side();
    const uint32_t height = side();
    std::vector<uint8_t> rgba =
        input_.ConsumeBytes<uint8_t>(std::min<std::size_t>(4 * longestSide * longestSide, 2000));
    std::size_t size = rgba.size();
    if (width <= longestSide && height <= longestSide && input_.ConsumeBool()) {
      size = std::size_t{4} * width * height;
    }
    rgba.resize(std::max<std::size_t>(size, 1), 255);
    check(stiltforge_slice_set_rgba(slice, rgba.data(), size, width, height, &error_));
  }

  // Rows of runs that are right more often than not.
  struct Runs {
    std::vector<uint32_t> rowStart{0};
    std::vector<uint16_t> begin, end;
    std::size_t pixels = 0;
  };

  Runs readRuns(uint32_t height) {
    Runs runs;
    for (uint32_t y = 0; y < height; ++y) {
      uint32_t column = 0;
      for (int n = input_.ConsumeIntegralInRange(0, 3); n > 0; --n) {
        const uint32_t begin = column + input_.ConsumeIntegralInRange<uint32_t>(0, 20);
        const uint32_t end = begin + input_.ConsumeIntegralInRange<uint32_t>(0, 20);
        runs.begin.push_back(static_cast<uint16_t>(begin));
        runs.end.push_back(static_cast<uint16_t>(end));
        runs.pixels += end - begin;
        column = end;
      }
      const bool isWrong = input_.ConsumeIntegralInRange(0, 63) == 0;
      runs.rowStart.push_back(isWrong ? input_.ConsumeIntegral<uint32_t>()
                                      : static_cast<uint32_t>(runs.begin.size()));
    }
    return runs;
  }

  static stiltforge_runs view(const Runs& runs) {
    return {runs.rowStart.data(), runs.begin.data(), runs.end.data(), runs.begin.size()};
  }

  void fillFromRuns() {
    stiltforge_slice* const slice = pickSlice();
    const uint32_t width = side();
    const auto height = input_.ConsumeIntegralInRange<uint32_t>(0, longestSide);
    const Runs material = readRuns(height);
    const Runs hanging = input_.ConsumeBool() ? material : readRuns(height);
    std::vector<uint8_t> values(hanging.pixels + 1, input_.ConsumeIntegral<uint8_t>());
    const stiltforge_runs rows = view(material);
    const stiltforge_overhang overhang{view(hanging), values.data(), values.data(), hanging.pixels};
    check(stiltforge_slice_set_runs(slice, width, height, &rows,
                                    input_.ConsumeBool() ? &overhang : nullptr, &error_));
  }

  void createParameters() {
    stiltforge_parameters* parameters = nullptr;
    stiltforge_status status = STILTFORGE_OK;
    switch (input_.ConsumeIntegralInRange(0, 2)) {
      case 0:
        status = stiltforge_parameters_create(&parameters, &error_);
        break;
      case 1:
        status = stiltforge_slicer_create_parameters(slicers_.pick(input_), &parameters, &error_);
        break;
      default: {
        const stiltforge_print_settings print = printSettings();
        status = stiltforge_parameters_create_for_print(&print, side(), side(), side(), &parameters,
                                                        &error_);
      }
    }
    keep(parameters_, status, parameters);
  }

  void setParameter() {
    stiltforge_parameters* const parameters = parameters_.pick(input_);
    stiltforge_parameter_info info{};
    info.struct_size = sizeof info;
    const auto index = input_.ConsumeIntegralInRange<std::size_t>(0, stiltforge_parameter_count());
    std::string name = input_.ConsumeRandomLengthString(20);
    if (check(stiltforge_get_parameter_info(index, &info, &error_)) == STILTFORGE_OK) {
      name = info.name;
    }
    const bool isSize = name == "width" || name == "height";
    const double value = isSize ? input_.ConsumeIntegralInRange(0, 96) : number(info.default_value);
    check(stiltforge_parameters_set(parameters, name.c_str(), value, &error_));
    double stored = 0;
    check(stiltforge_parameters_get(parameters, name.c_str(), &stored, &error_));
  }

  void createModel() {
    stiltforge_model* model = nullptr;
    const stiltforge_status status =
        stiltforge_model_create(parameters_.pick(input_), &model, &error_);
    keep(models_, status, model);
  }

  void analyse() {
    stiltforge_model* const model = models_.pick(input_);
    stiltforge_slice* const slice = pickSlice();
    stiltforge_slice_info info{};
    info.struct_size = sizeof info;
    check(stiltforge_slice_get_info(slice, &info, &error_));
    const std::size_t pixels = std::size_t{info.width} * info.height;
    std::vector<uint32_t> labels(pixels + 1);
    std::vector<uint8_t> values(pixels + 1);
    stiltforge_analysis_options options{};
    options.struct_size = sizeof options;
    options.pixel_count = input_.ConsumeIntegralInRange(0, 7) == 0 ? pixels + 1 : pixels;
    if (input_.ConsumeBool()) options.labels = labels.data();
    if (input_.ConsumeBool()) options.support_values = values.data();
    stiltforge_layer* layer = nullptr;
    check(stiltforge_model_analyse(model, slice, &options, &layer, &error_));
    checkLayer(layer);
    stiltforge_layer_destroy(layer);
  }

  static void checkLayer(const stiltforge_layer* layer) {
    std::size_t groups = 0;
    std::size_t supports = 0;
    const stiltforge_group* const group = stiltforge_layer_groups(layer, &groups);
    const stiltforge_support* const support = stiltforge_layer_supports(layer, &supports);
    uint64_t pixels = 0;
    std::size_t listed = 0;
    for (std::size_t i = 0; i < groups; ++i) {
      require(group[i].x_min < group[i].x_max && group[i].y_min < group[i].y_max, "an empty box");
      require(group[i].first_support == listed, "supports are not group by group");
      listed += group[i].support_count;
      pixels += group[i].pixels;
    }
    require(listed == supports, "a support without a group");
    require(pixels == stiltforge_layer_pixels(layer), "a pixel without a group");
    for (std::size_t i = 0; i < supports; ++i) {
      require(support[i].group >= 1 && support[i].group <= groups, "a group that is not there");
      require(support[i].layer == stiltforge_layer_index(layer), "a support of another layer");
    }
  }

  static int32_t watch(void* context, const stiltforge_layer* layer) {
    checkLayer(layer);
    auto& host = *static_cast<Host*>(context);
    if (host.input_.ConsumeIntegralInRange(0, 7) == 0) host.readSupports();
    return host.input_.ConsumeIntegralInRange(0, 15) == 15;
  }

  void analyseMesh() {
    stiltforge_model* const model = models_.pick(input_);
    stiltforge_slicer* const slicer = slicers_.pick(input_);
    const auto count = input_.ConsumeIntegralInRange<uint32_t>(0, mostLayersAtOnce);
    // What the callback does with the error is its own.
    stiltforge_error error;
    const stiltforge_status status =
        stiltforge_model_analyse_mesh(model, slicer, count, nullptr, watch, this, &error);
    error_ = error;
    check(status);
  }

  void createSurvey() {
    stiltforge_print_settings print = printSettings();
    print.first_layer_height = input_.ConsumeBool() ? number(1) : 0;
    stiltforge_survey* survey = nullptr;
    keep(surveys_, stiltforge_survey_create(&print, &survey, &error_), survey);
  }

  void surveyMesh() {
    stiltforge_model* const model = models_.pick(input_);
    stiltforge_slicer* const slicer = slicers_.pick(input_);
    stiltforge_survey* const survey = surveys_.pick(input_);
    const auto count = input_.ConsumeIntegralInRange<uint32_t>(0, mostLayersAtOnce);
    stiltforge_error error;
    const stiltforge_status status =
        stiltforge_model_survey_mesh(model, slicer, survey, count, nullptr, watch, this, &error);
    error_ = error;
    check(status);
  }

  void addToSurvey() {
    stiltforge_survey* const survey = surveys_.pick(input_);
    const uint32_t layer = stiltforge_survey_layer_count(survey);
    std::vector<stiltforge_support> supports(input_.ConsumeIntegralInRange<std::size_t>(0, 9));
    for (stiltforge_support& support : supports) {
      const bool isOdd = input_.ConsumeIntegralInRange(0, 31) == 0;
      support.layer = isOdd ? input_.ConsumeIntegral<uint32_t>() : layer;
      support.x = isOdd ? input_.ConsumeIntegral<uint32_t>() : side();
      support.y = side();
      support.island = input_.ConsumeIntegralInRange<uint32_t>(0, 1);
    }
    check(stiltforge_survey_add(survey, pickSlice(), supports.data(), supports.size(), &error_));
  }

  void addAnalysedToSurvey() {
    stiltforge_slice* const slice = pickSlice();
    stiltforge_layer* layer = nullptr;
    check(stiltforge_model_analyse(models_.pick(input_), slice, nullptr, &layer, &error_));
    stiltforge_slice* const given = input_.ConsumeIntegralInRange(0, 7) == 0 ? pickSlice() : slice;
    check(stiltforge_survey_add_layer(surveys_.pick(input_), given, layer, &error_));
    stiltforge_layer_destroy(layer);
  }

  void finishSurvey() {
    stiltforge_finished* finished = nullptr;
    const stiltforge_status status =
        stiltforge_survey_finish(surveys_.pick(input_), &finished, &error_);
    checkFinished(finished);
    keep(finished_, status, finished);
  }

  static void checkFinished(const stiltforge_finished* finished) {
    std::size_t supports = 0;
    std::size_t origins = 0;
    std::size_t dropped = 0;
    std::size_t merged = 0;
    stiltforge_finished_supports(finished, &supports);
    const stiltforge_origin* const origin = stiltforge_finished_origins(finished, &origins);
    const stiltforge_dropped* const drop = stiltforge_finished_dropped(finished, &dropped);
    stiltforge_finished_merged(finished, &merged);
    require(origins == supports, "a finished support without its origin");
    std::size_t kept = 0;
    std::size_t listed = 0;
    for (std::size_t i = 0; i < origins; ++i) {
      require(origin[i].first_merged == listed, "merged supports are not in their order");
      listed += origin[i].merged_count;
      const bool isAdded = origin[i].before == STILTFORGE_NONE;
      require(isAdded == (origin[i].reason >= STILTFORGE_ADDED_ISLAND), "a reason that is none");
      kept += isAdded ? 0 : 1;
    }
    require(listed == merged, "a merged support of no other");
    std::vector<int> seen(kept + dropped, 0);
    const auto see = [&](uint32_t number) {
      require(number < seen.size() && seen[number]++ == 0, "a support that is lost or there twice");
    };
    for (std::size_t i = 0; i < origins; ++i) {
      if (origin[i].before != STILTFORGE_NONE) see(origin[i].before);
    }
    for (std::size_t i = 0; i < dropped; ++i) {
      see(drop[i].before);
      require((drop[i].reason == STILTFORGE_DROPPED_MERGED) == (drop[i].into < supports),
              "a support that is merged into nothing");
    }
  }

  void judgeSurvey() {
    stiltforge_judge_settings settings{};
    settings.struct_size = sizeof settings;
    check(stiltforge_judge_settings_init(&settings, &error_));
    settings.near_reach = number(-1);
    settings.far_reach = number(-1);
    settings.spacing = number(-1);
    stiltforge_verdict* verdict = nullptr;
    const stiltforge_status status =
        stiltforge_survey_judge(surveys_.pick(input_), finished_.pick(input_),
                                input_.ConsumeBool() ? &settings : nullptr, &verdict, &error_);
    require((check(status) == STILTFORGE_OK) == (verdict != nullptr), "a verdict without success");
    checkVerdict(verdict);
    stiltforge_verdict_destroy(verdict);
  }

  void checkVerdict(const stiltforge_verdict* verdict) {
    stiltforge_verdict_info info{};
    info.struct_size = sizeof info;
    if (check(stiltforge_verdict_get_info(verdict, &info, &error_)) != STILTFORGE_OK) return;
    std::size_t count = 0;
    const stiltforge_island* const island = stiltforge_verdict_islands(verdict, &count);
    require(count == info.islands && info.held_islands <= count, "islands too many");
    for (std::size_t i = 0; i < count; ++i) {
      const bool bySupport = island[i].held_by == STILTFORGE_HELD_BY_SUPPORT;
      require(bySupport == (island[i].support < info.supports), "an island held by no support");
    }
    const stiltforge_close_pair* const pair = stiltforge_verdict_close_pairs(verdict, &count);
    for (std::size_t i = 0; i < count; ++i) {
      require(pair[i].first < pair[i].second && pair[i].second < info.supports, "a pair of none");
    }
    stiltforge_verdict_worst(verdict, &count);
    const auto fault = input_.ConsumeIntegralInRange<uint32_t>(0, 5);
    const uint32_t* const number = stiltforge_verdict_faults(verdict, fault, &count);
    for (std::size_t i = 0; i < count; ++i) {
      require(number[i] < info.supports, "a fault of no support");
    }
    require(info.overhang.beyond_near <= info.overhang.area, "more beyond reach than there is");
  }

  void buildScaffold() {
    stiltforge_scaffold_settings settings{};
    settings.struct_size = sizeof settings;
    check(stiltforge_scaffold_settings_init(&settings, &error_));
    for (double* const length :
         {&settings.tip_diameter, &settings.tip_length, &settings.penetration,
          &settings.pillar_diameter, &settings.foot_diameter, &settings.foot_height,
          &settings.clearance, &settings.raft_thickness, &settings.brace_diameter,
          &settings.brace_reach}) {
      *length = number(*length);
    }
    std::vector<stiltforge_point> points(input_.ConsumeIntegralInRange<std::size_t>(0, 12));
    for (stiltforge_point& point : points) {
      point.x = number(coordinate());
      point.y = number(coordinate());
      point.z = number(coordinate());
    }
    int32_t callsLeft = input_.ConsumeIntegralInRange<int32_t>(0, 2);
    const auto countDown = [](void* left, uint64_t done, uint64_t total) -> int32_t {
      require(done <= total && total > 0, "more done than there is");
      return (*static_cast<int32_t*>(left))-- == 0 ? 1 : 0;
    };
    stiltforge_scaffold* scaffold = nullptr;
    const stiltforge_status status = stiltforge_scaffold_create(
        meshes_.pick(input_), points.data(), points.size(), number(-10), number(0.5),
        input_.ConsumeBool() ? &settings : nullptr, nullptr,
        input_.ConsumeBool() ? countDown : nullptr, &callsLeft, &scaffold, &error_);
    require((check(status) == STILTFORGE_OK) == (scaffold != nullptr),
            "a scaffold without success");
    if (scaffold) checkScaffold(scaffold, points.size());
    stiltforge_scaffold_destroy(scaffold);
  }

  void rankOrientations() {
    const stiltforge_print_settings print = printSettings();
    stiltforge_orient_settings settings{};
    settings.struct_size = sizeof settings;
    check(stiltforge_orient_settings_init(&settings, &error_));
    settings.supports_weight = number(1);
    settings.marks_weight = number(2);
    settings.keep_clean[0] = number(0);
    settings.keep_clean[2] = number(0);
    // Each costs a slicing.
    settings.directions = input_.ConsumeIntegralInRange<uint32_t>(0, 2);
    settings.listed = input_.ConsumeIntegralInRange<uint32_t>(0, 2);
    settings.confirm = input_.ConsumeIntegralInRange<uint32_t>(0, 2);
    stiltforge_mesh* const mesh = meshes_.pick(input_);
    if (stiltforge_mesh_triangle_count(mesh) > 12) return;
    stiltforge_orientations* orientations = nullptr;
    const stiltforge_status status = stiltforge_orientations_create(
        mesh, &print, &settings, nullptr, nullptr, nullptr, &orientations, &error_);
    require((check(status) == STILTFORGE_OK) == (orientations != nullptr), "ranks without success");
    std::size_t count = 0;
    std::size_t supports = 0;
    const stiltforge_orientation* const best = stiltforge_orientations_best(orientations, &count);
    stiltforge_orientations_supports(orientations, &supports);
    for (std::size_t i = 0; i < count; ++i) {
      require(best[i].first_support + best[i].support_count <= supports, "supports of no list");
      require(i == 0 || best[i - 1].cost <= best[i].cost, "a better one behind a worse");
    }
    if (count > 0) check(stiltforge_mesh_turn(mesh, &best[0].turn, &error_));
    stiltforge_orientations_destroy(orientations);
  }

  void createCheck() {
    stiltforge_check_settings settings{};
    settings.struct_size = sizeof settings;
    const stiltforge_slicer* const slicer = slicers_.pick(input_);
    check(slicer ? stiltforge_check_settings_init_for_slicer(&settings, slicer, &error_)
                 : stiltforge_check_settings_init(&settings, &error_));
    settings.layer_height = number(0.5);
    settings.pixel_width = number(0.5);
    settings.first_layer_height = number(-1);
    settings.critical_angle = number(45);
    settings.near_reach = number(4);
    settings.far_reach = number(6);
    settings.island_height = number(0.2);
    if (input_.ConsumeBool()) settings.crop_x = input_.ConsumeIntegral<uint32_t>();
    if (input_.ConsumeBool()) settings.lifted_layers = input_.ConsumeIntegral<uint32_t>();
    std::vector<stiltforge_support> supports(input_.ConsumeIntegralInRange<std::size_t>(0, 5));
    for (stiltforge_support& support : supports) {
      support.layer = input_.ConsumeIntegralInRange<uint32_t>(0, 20);
      support.x = side();
      support.y = side();
    }
    stiltforge_check* created = nullptr;
    const stiltforge_status status =
        stiltforge_check_create(&settings, supports.data(), supports.size(), &created, &error_);
    keep(checks_, status, created);
  }

  void addToCheck() {
    stiltforge_check* const checked = checks_.pick(input_);
    const uint32_t before = stiltforge_check_layer_count(checked);
    const bool isAdded =
        check(stiltforge_check_add(checked, slices_.pick(input_), &error_)) == STILTFORGE_OK;
    require(stiltforge_check_layer_count(checked) == before + (isAdded ? 1 : 0),
            "layers that were not added");
  }

  void finishCheck() {
    stiltforge_check_report* report = nullptr;
    const stiltforge_status status =
        stiltforge_check_finish(checks_.pick(input_), &report, &error_);
    require((check(status) == STILTFORGE_OK) == (report != nullptr), "a report without success");
    std::size_t count = 0;
    const stiltforge_finding* const finding = stiltforge_check_report_findings(report, &count);
    for (std::size_t i = 0; i < count; ++i) {
      require(std::strlen(finding[i].what) > 0 && std::strlen(finding[i].remedy) > 0,
              "a finding without words");
      require(finding[i].first_layer <= finding[i].last_layer, "a finding in no layer");
    }
    stiltforge_check_report_destroy(report);
  }

  // Every piece follows the one before, and each point is built or left out.
  static void checkScaffold(const stiltforge_scaffold* scaffold, std::size_t points) {
    std::size_t supports = 0;
    std::size_t braces = 0;
    std::size_t rings = 0;
    std::size_t left = 0;
    const stiltforge_built_support* const support =
        stiltforge_scaffold_supports(scaffold, &supports);
    const stiltforge_brace* const brace = stiltforge_scaffold_braces(scaffold, &braces);
    stiltforge_scaffold_rings(scaffold, &rings);
    stiltforge_scaffold_left_out(scaffold, &left);
    require(supports + left == points, "points that are neither built nor left out");
    uint64_t triangle = 0;
    uint64_t ring = 0;
    const auto follow = [&](const auto& piece) {
      require(piece.first_triangle == triangle && piece.first_ring == ring, "a gap in the lists");
      triangle += piece.triangle_count;
      ring += piece.ring_count;
    };
    for (std::size_t i = 0; i < supports; ++i) follow(support[i]);
    for (std::size_t i = 0; i < braces; ++i) follow(brace[i]);
    triangle += stiltforge_scaffold_raft_triangle_count(scaffold);
    require(ring == rings && triangle == stiltforge_scaffold_triangle_count(scaffold),
            "pieces that are not all");
    const float* const positions = stiltforge_scaffold_positions(scaffold);
    for (std::size_t i = 0; i < 9 * triangle; ++i) {
      require(std::isfinite(positions[i]), "a corner that is no place");
    }
  }

  void readSupports() {
    const stiltforge_model* const model = models_.pick(input_);
    std::vector<stiltforge_support> supports(input_.ConsumeIntegralInRange<std::size_t>(0, 50));
    std::size_t count = 0;
    const stiltforge_status status =
        stiltforge_model_get_supports(model, supports.data(), supports.size(), &count, &error_);
    if (check(status) != STILTFORGE_OK) return;
    supports.resize(std::min(count, supports.size()));
    std::vector<stiltforge_point> points(supports.size());
    check(stiltforge_slicer_locate(slicers_.pick(input_), supports.data(), supports.size(),
                                   points.data(), &error_));
  }

  void renderGroup() {
    stiltforge_group_images* images = nullptr;
    const stiltforge_status status = stiltforge_model_create_group_images(
        models_.pick(input_), input_.ConsumeIntegralInRange<uint32_t>(0, 4),
        input_.ConsumeIntegralInRange<uint32_t>(0, 4), &images, &error_);
    require((check(status) == STILTFORGE_OK) == (images != nullptr), "images without success");
    const auto image = input_.ConsumeIntegralInRange<int32_t>(-1, STILTFORGE_IMAGE_COUNT);
    const uint8_t* const pixels = stiltforge_group_images_pixels(images, image);
    const std::size_t size = std::size_t{4} * stiltforge_group_images_width(images) *
                             stiltforge_group_images_height(images);
    // Reads all of them, for the sanitizer.
    if (pixels) require(std::count(pixels, pixels + size, uint8_t{0}) >= 0, "unreadable");
    stiltforge_group_images_destroy(images);
  }

  void createMaskSlicer() {
    const stiltforge_print_settings print = printSettings();
    stiltforge_mask_settings masks{};
    masks.struct_size = sizeof masks;
    check(stiltforge_mask_settings_init(&masks, &error_));
    masks.mask_width = masks.mask_height = maskSide;
    if (input_.ConsumeBool()) masks.crop_x = input_.ConsumeIntegralInRange<uint32_t>(0, 20);
    if (input_.ConsumeBool()) masks.height = side();
    if (input_.ConsumeBool()) masks.threshold = input_.ConsumeIntegralInRange<uint32_t>(0, 256);
    stiltforge_mask_slicer* slicer = nullptr;
    const stiltforge_status status =
        stiltforge_mask_slicer_create(&masks, &print, &slicer, &error_);
    keep(maskSlicers_, status, slicer);
  }

  void cutMasks() {
    std::vector<uint8_t> mask = input_.ConsumeBytes<uint8_t>(maskSide * maskSide);
    mask.resize(maskSide * maskSide, input_.ConsumeIntegral<uint8_t>());
    const uint8_t* const masks[2] = {mask.data(), input_.ConsumeBool() ? mask.data() : nullptr};
    stiltforge_slice* const slices[2] = {pickSlice(), pickSlice()};
    check(stiltforge_mask_slicer_next(maskSlicers_.pick(input_), masks, mask.size(),
                                      input_.ConsumeIntegralInRange<uint32_t>(0, 2), slices,
                                      &error_));
  }

  void askForMore() {
    stiltforge_model_size size{};
    size.struct_size = sizeof size;
    check(stiltforge_model_size_init(&size, &error_));
    size.width = side();
    size.height = side();
    size.layers = input_.ConsumeIntegral<uint32_t>();
    size.supports = input_.ConsumeIntegral<uint64_t>();
    size.ghost_radius = number(60);
    size.unsupported_share = number(0.1);
    stiltforge_memory_estimate estimate{};
    estimate.struct_size = sizeof estimate;
    check(stiltforge_estimate_memory(&size, &estimate, &error_));
    stiltforge_slicer_info info{};
    info.struct_size = sizeof info;
    check(stiltforge_slicer_get_info(slicers_.pick(input_), &info, &error_));
    const std::string bytes = input_.ConsumeRandomLengthString(200);
    stiltforge_mesh* mesh = nullptr;
    const stiltforge_status status =
        stiltforge_mesh_read_memory(bytes.data(), bytes.size(), nullptr, nullptr, &mesh, &error_);
    keep(meshes_, status, mesh);
  }

  static constexpr uint32_t maskSide = 16;

  FuzzedDataProvider& input_;
  stiltforge_error error_{};
  Handles<stiltforge_mesh> meshes_{stiltforge_mesh_destroy};
  Handles<stiltforge_slicer> slicers_{stiltforge_slicer_destroy};
  Handles<stiltforge_slice> slices_{stiltforge_slice_destroy};
  Handles<stiltforge_parameters> parameters_{stiltforge_parameters_destroy};
  Handles<stiltforge_model> models_{stiltforge_model_destroy};
  Handles<stiltforge_mask_slicer> maskSlicers_{stiltforge_mask_slicer_destroy};
  Handles<stiltforge_survey> surveys_{stiltforge_survey_destroy};
  Handles<stiltforge_check> checks_{stiltforge_check_destroy};
  Handles<stiltforge_finished> finished_{stiltforge_finished_destroy};
};

}  // namespace

// One worker, so that an input always takes the same road; results do not depend on the number.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  stiltforge_set_worker_count(1, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  Host(input).play();
  return 0;
}
