/*
 * The C interface of stiltforge for C++17 and later: objects that free themselves, and exceptions.
 *
 * All units, shapes, ranges and rules are those of stiltforge.h. Everything here is inline and goes
 * through that interface, so that a host's compiler, flags and standard library need not be those
 * of the library; nothing is computed here.
 */
#ifndef STILTFORGE_HPP
#define STILTFORGE_HPP

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "stiltforge.h"

namespace stiltforge {
// Names of their own for the linker, beside those of the library's inside.
inline namespace v0 {

/// A call failed: what() is the library's message.
class Error : public std::runtime_error {
 public:
  Error(stiltforge_status status, const char* message)
      : std::runtime_error(message), status_(status) {}
  stiltforge_status status() const { return status_; }

 private:
  stiltforge_status status_;
};

namespace detail {

template <typename Function, typename... Arguments>
void call(Function function, Arguments... arguments) {
  stiltforge_error error;
  const stiltforge_status status = function(arguments..., &error);
  if (status != STILTFORGE_OK) throw Error(status, error.message);
}

/// Owns a handle.
template <typename T, void (*destroy)(T*)>
class Handle {
 public:
  explicit Handle(T* handle = nullptr) : handle_(handle) {}
  /// For the functions of stiltforge.h.
  T* get() const { return handle_.get(); }

 protected:
  template <typename Function, typename... Arguments>
  static T* create(Function function, Arguments... arguments) {
    T* handle = nullptr;
    call(function, arguments..., &handle);
    return handle;
  }

 private:
  struct Destroy {
    void operator()(T* handle) const { destroy(handle); }
  };
  std::unique_ptr<T, Destroy> handle_;
};

/// A structure with its size, filled by `function` from `arguments` and itself.
template <typename T, typename Function, typename... Arguments>
T filled(Function function, Arguments... arguments) {
  T structure{};
  structure.struct_size = sizeof structure;
  call(function, arguments..., &structure);
  return structure;
}

}  // namespace detail

using Support = stiltforge_support;
using Point = stiltforge_point;
using Group = stiltforge_group;
using SlicerInfo = stiltforge_slicer_info;
using SliceInfo = stiltforge_slice_info;
using MeshReport = stiltforge_mesh_report;
using ParameterInfo = stiltforge_parameter_info;
using MemoryEstimate = stiltforge_memory_estimate;
using Weight = stiltforge_weight;
using Origin = stiltforge_origin;
using Dropped = stiltforge_dropped;
using FinishedInfo = stiltforge_finished_info;
using VerdictInfo = stiltforge_verdict_info;
using Island = stiltforge_island;
using WorstPlace = stiltforge_worst_place;
using ClosePair = stiltforge_close_pair;
using Finding = stiltforge_finding;
using CheckReportInfo = stiltforge_check_report_info;
using Turn = stiltforge_turn;
using Orientation = stiltforge_orientation;
using OrientationsInfo = stiltforge_orientations_info;
using Ring = stiltforge_ring;
using BuiltSupport = stiltforge_built_support;
using Brace = stiltforge_brace;
using LeftOut = stiltforge_left_out;

/// The library's version.
inline std::string version() {
  return stiltforge_version();
}

inline std::uint32_t workerCount() {
  return stiltforge_worker_count();
}
inline void setWorkerCount(std::uint32_t count) {
  detail::call(stiltforge_set_worker_count, count);
}
inline void stopWorkers() {
  detail::call(stiltforge_stop_workers);
}

/// Settings with their defaults.
struct PrintSettings : stiltforge_print_settings {
  PrintSettings()
      : stiltforge_print_settings(
            detail::filled<stiltforge_print_settings>(stiltforge_print_settings_init)) {}
};
struct MaskSettings : stiltforge_mask_settings {
  MaskSettings()
      : stiltforge_mask_settings(
            detail::filled<stiltforge_mask_settings>(stiltforge_mask_settings_init)) {}
};
struct AnalysisOptions : stiltforge_analysis_options {
  AnalysisOptions()
      : stiltforge_analysis_options(
            detail::filled<stiltforge_analysis_options>(stiltforge_analysis_options_init)) {}
};
struct JudgeSettings : stiltforge_judge_settings {
  JudgeSettings()
      : stiltforge_judge_settings(
            detail::filled<stiltforge_judge_settings>(stiltforge_judge_settings_init)) {}
};
struct OrientSettings : stiltforge_orient_settings {
  OrientSettings()
      : stiltforge_orient_settings(
            detail::filled<stiltforge_orient_settings>(stiltforge_orient_settings_init)) {}
};
struct ScaffoldSettings : stiltforge_scaffold_settings {
  ScaffoldSettings()
      : stiltforge_scaffold_settings(
            detail::filled<stiltforge_scaffold_settings>(stiltforge_scaffold_settings_init)) {}
};
struct ModelSize : stiltforge_model_size {
  ModelSize()
      : stiltforge_model_size(detail::filled<stiltforge_model_size>(stiltforge_model_size_init)) {}
};

inline MemoryEstimate estimateMemory(const ModelSize& size) {
  return detail::filled<MemoryEstimate>(stiltforge_estimate_memory, &size);
}

/// A list that belongs to another object.
template <typename T>
class View {
 public:
  View(const T* data, std::size_t size) : data_(data), size_(size) {}
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const T& operator[](std::size_t index) const { return data_[index]; }

 private:
  const T* data_;
  std::size_t size_;
};

namespace detail {

/// The list that a function gives of a handle.
template <typename T, typename Owner>
View<T> listOf(const T* (*function)(const Owner*, std::size_t*), const Owner* owner) {
  std::size_t count = 0;
  const T* const data = function(owner, &count);
  return {data, count};
}

}  // namespace detail

class CancelToken
    : public detail::Handle<stiltforge_cancel_token, stiltforge_cancel_token_destroy> {
 public:
  CancelToken() : Handle(create(stiltforge_cancel_token_create)) {}
  void cancel() { stiltforge_cancel_token_cancel(get()); }
};

namespace detail {

/// Calls of the host from within a call of the library. An exception of the host ends that call and
/// comes out of it.
template <typename... Given>
class Callback {
 public:
  using Function = std::int32_t (*)(void*, Given...);

  explicit Callback(std::function<void(Given...)> host) : host_(std::move(host)) {}

  /// run: calls the library with a Function, which may be null, and its context.
  template <typename Run>
  void during(Run&& run) {
    try {
      run(host_ ? &Callback::tell : Function{nullptr}, static_cast<void*>(this));
    } catch (const Error&) {
      if (failure_) std::rethrow_exception(failure_);
      throw;
    }
  }

 private:
  static std::int32_t tell(void* context, Given... given) {
    auto& callback = *static_cast<Callback*>(context);
    try {
      callback.host_(given...);
      return 0;
    } catch (...) {
      callback.failure_ = std::current_exception();
      return 1;
    }
  }

  std::function<void(Given...)> host_;
  std::exception_ptr failure_;
};

}  // namespace detail

/// How far a long call is: steps done, and all of them as far as is known. May throw, which ends
/// the call with that exception.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

/// Everything that is known of the parameters.
inline std::vector<ParameterInfo> parameterTable() {
  std::vector<ParameterInfo> table;
  for (std::size_t i = 0; i < stiltforge_parameter_count(); ++i) {
    table.push_back(detail::filled<ParameterInfo>(stiltforge_get_parameter_info, i));
  }
  return table;
}

class Parameters : public detail::Handle<stiltforge_parameters, stiltforge_parameters_destroy> {
 public:
  using Handle::Handle;
  Parameters() : Handle(create(stiltforge_parameters_create)) {}
  Parameters(const PrintSettings& print, std::uint32_t width, std::uint32_t height,
             std::uint32_t layers)
      : Handle(create(stiltforge_parameters_create_for_print, &print, width, height, layers)) {}

  void set(const std::string& name, double value) {
    detail::call(stiltforge_parameters_set, get(), name.c_str(), value);
  }
  double operator[](const std::string& name) const {
    double value = 0;
    detail::call(stiltforge_parameters_get, get(), name.c_str(), &value);
    return value;
  }
};

namespace detail {

/// How many times `each` numbers a list has.
template <typename T>
std::size_t countOf(const std::vector<T>& list, std::size_t each, const std::string& name) {
  if (list.size() % each == 0) return list.size() / each;
  throw std::invalid_argument(name + " has " + std::to_string(list.size()) +
                              " numbers, which is no multiple of " + std::to_string(each));
}

}  // namespace detail

/// mm: opposite corners, x, y, z each.
struct Box {
  double min[3];
  double max[3];
};

class Mesh : public detail::Handle<stiltforge_mesh, stiltforge_mesh_destroy> {
 public:
  /// Nine floats a triangle. Throws std::invalid_argument when some are left over.
  explicit Mesh(const std::vector<float>& positions)
      : Handle(create(stiltforge_mesh_create, positions.data(),
                      detail::countOf(positions, 9, "positions"))) {}
  /// Three floats a vertex, three indices a triangle. Throws likewise.
  Mesh(const std::vector<float>& vertices, const std::vector<std::uint32_t>& indices)
      : Handle(create(stiltforge_mesh_create_indexed, vertices.data(),
                      detail::countOf(vertices, 3, "vertices"), indices.data(),
                      detail::countOf(indices, 3, "indices"))) {}
  /// path: UTF-8.
  static Mesh read(const std::string& path, CancelToken* cancel = nullptr) {
    return Mesh(create(stiltforge_mesh_read_file, path.c_str(), cancel ? cancel->get() : nullptr));
  }
  static Mesh read(const void* bytes, std::size_t size, const std::string& name = {},
                   CancelToken* cancel = nullptr) {
    return Mesh(create(stiltforge_mesh_read_memory, bytes, size, name.c_str(),
                       cancel ? cancel->get() : nullptr));
  }

  std::vector<std::string> warnings() const {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < stiltforge_mesh_warning_count(get()); ++i) {
      list.emplace_back(stiltforge_mesh_warning(get(), i));
    }
    return list;
  }
  std::size_t triangleCount() const { return stiltforge_mesh_triangle_count(get()); }
  /// Valid until the mesh is changed or destroyed.
  View<float> positions() const { return {stiltforge_mesh_positions(get()), 9 * triangleCount()}; }

  Box box() const {
    Box box{};
    detail::call(stiltforge_mesh_get_box, get(), static_cast<double*>(box.min),
                 static_cast<double*>(box.max));
    return box;
  }

  void turnYUp() { detail::call(stiltforge_mesh_turn_y_up, get()); }
  void turn(const Turn& turn) { detail::call(stiltforge_mesh_turn, get(), &turn); }
  void scale(double factor) { detail::call(stiltforge_mesh_scale, get(), factor); }
  void scaleToHeight(double height) {
    detail::call(stiltforge_mesh_scale_to_height, get(), height);
  }

 private:
  explicit Mesh(stiltforge_mesh* mesh) : Handle(mesh) {}
};

class Slice : public detail::Handle<stiltforge_slice, stiltforge_slice_destroy> {
 public:
  Slice() : Handle(create(stiltforge_slice_create)) {}
  void setRgba(const std::uint8_t* rgba, std::size_t byteCount, std::uint32_t width,
               std::uint32_t height) {
    detail::call(stiltforge_slice_set_rgba, get(), rgba, byteCount, width, height);
  }
  void setRuns(std::uint32_t width, std::uint32_t height, const stiltforge_runs& material,
               const stiltforge_overhang* overhang = nullptr) {
    detail::call(stiltforge_slice_set_runs, get(), width, height, &material, overhang);
  }
  SliceInfo info() const { return detail::filled<SliceInfo>(stiltforge_slice_get_info, get()); }
};

namespace detail {

inline std::vector<stiltforge_slice*> handlesOf(const std::vector<Slice>& slices) {
  std::vector<stiltforge_slice*> handles;
  for (const Slice& slice : slices) handles.push_back(slice.get());
  return handles;
}

}  // namespace detail

class Slicer : public detail::Handle<stiltforge_slicer, stiltforge_slicer_destroy> {
 public:
  Slicer(const Mesh& mesh, const PrintSettings& print)
      : Handle(create(stiltforge_slicer_create, mesh.get(), &print)) {}

  SlicerInfo info() const { return detail::filled<SlicerInfo>(stiltforge_slicer_get_info, get()); }
  MeshReport report() const {
    return detail::filled<MeshReport>(stiltforge_slicer_get_report, get());
  }
  /// For a model of these slices.
  Parameters parameters() const {
    stiltforge_parameters* parameters = nullptr;
    detail::call(stiltforge_slicer_create_parameters, get(), &parameters);
    return Parameters(parameters);
  }
  /// Fills the slices with the layers from `first` on.
  void slice(std::uint32_t first, std::vector<Slice>& slices) {
    const auto handles = detail::handlesOf(slices);
    detail::call(stiltforge_slicer_slice, get(), first, static_cast<std::uint32_t>(handles.size()),
                 handles.data());
  }
  /// Where supports lie in the mesh.
  std::vector<Point> locate(const std::vector<Support>& supports) const {
    return locate(View<Support>(supports.data(), supports.size()));
  }
  std::vector<Point> locate(View<Support> supports) const {
    std::vector<Point> points(supports.size());
    detail::call(stiltforge_slicer_locate, get(), supports.begin(), supports.size(), points.data());
    return points;
  }
};

class MaskSlicer : public detail::Handle<stiltforge_mask_slicer, stiltforge_mask_slicer_destroy> {
 public:
  MaskSlicer(const MaskSettings& masks, const PrintSettings& print)
      : Handle(create(stiltforge_mask_slicer_create, &masks, &print)) {}
  /// Fills the slices with the next layers: one for each mask of maskSize bytes. Throws
  /// std::invalid_argument when there are more or fewer.
  void next(const std::vector<const std::uint8_t*>& masks, std::size_t maskSize,
            std::vector<Slice>& slices) {
    if (masks.size() != slices.size()) {
      throw std::invalid_argument("there are " + std::to_string(masks.size()) + " masks and " +
                                  std::to_string(slices.size()) +
                                  " slices; each mask needs a slice of its own");
    }
    const auto handles = detail::handlesOf(slices);
    detail::call(stiltforge_mask_slicer_next, get(), masks.data(), maskSize,
                 static_cast<std::uint32_t>(handles.size()), handles.data());
  }
};

/// An analysed layer that belongs to another object, or to the call of a callback.
class LayerView {
 public:
  explicit LayerView(const stiltforge_layer* layer) : layer_(layer) {}
  std::uint32_t index() const { return stiltforge_layer_index(layer_); }
  std::uint32_t pixels() const { return stiltforge_layer_pixels(layer_); }
  /// groups()[0] is group 1.
  View<Group> groups() const { return detail::listOf(stiltforge_layer_groups, layer_); }
  View<Support> supports() const { return detail::listOf(stiltforge_layer_supports, layer_); }
  /// Those of the groups, in their order.
  View<Weight> weights() const { return detail::listOf(stiltforge_layer_weights, layer_); }

 private:
  const stiltforge_layer* layer_;
};

class Layer : public detail::Handle<stiltforge_layer, stiltforge_layer_destroy>, public LayerView {
 public:
  explicit Layer(stiltforge_layer* layer) : Handle(layer), LayerView(layer) {}
};

/// Supports as an experienced person would leave them. The lists are valid until it is destroyed.
class Finished : public detail::Handle<stiltforge_finished, stiltforge_finished_destroy> {
 public:
  using Handle::Handle;
  View<Support> supports() const { return detail::listOf(stiltforge_finished_supports, get()); }
  /// What is known of each of them.
  View<Origin> origins() const { return detail::listOf(stiltforge_finished_origins, get()); }
  /// Those of the groups in which they stand.
  View<Weight> weights() const { return detail::listOf(stiltforge_finished_weights, get()); }
  View<Weight> droppedWeights() const {
    return detail::listOf(stiltforge_finished_dropped_weights, get());
  }
  View<std::uint32_t> merged() const { return detail::listOf(stiltforge_finished_merged, get()); }
  View<Dropped> dropped() const { return detail::listOf(stiltforge_finished_dropped, get()); }
  View<std::uint32_t> islandsLeft() const {
    return detail::listOf(stiltforge_finished_islands_left, get());
  }
  FinishedInfo info() const {
    return detail::filled<FinishedInfo>(stiltforge_finished_get_info, get());
  }
};

/// What supports hold of a part. The lists are valid until it is destroyed.
class Verdict : public detail::Handle<stiltforge_verdict, stiltforge_verdict_destroy> {
 public:
  using Handle::Handle;
  VerdictInfo info() const {
    return detail::filled<VerdictInfo>(stiltforge_verdict_get_info, get());
  }
  View<Island> islands() const { return detail::listOf(stiltforge_verdict_islands, get()); }
  View<WorstPlace> worst() const { return detail::listOf(stiltforge_verdict_worst, get()); }
  View<ClosePair> closePairs() const {
    return detail::listOf(stiltforge_verdict_close_pairs, get());
  }
  /// fault: STILTFORGE_IN_NO_MATERIAL and so on.
  View<std::uint32_t> faults(std::uint32_t fault) const {
    std::size_t count = 0;
    const std::uint32_t* const data = stiltforge_verdict_faults(get(), fault, &count);
    return {data, count};
  }
};

/// What is known of a part to judge and finish its supports.
class Survey : public detail::Handle<stiltforge_survey, stiltforge_survey_destroy> {
 public:
  explicit Survey(const PrintSettings& print) : Handle(create(stiltforge_survey_create, &print)) {}

  /// Adds the next slice with the supports that stand in it.
  void add(const Slice& slice, const std::vector<Support>& supports = {}) {
    detail::call(stiltforge_survey_add, get(), slice.get(), supports.data(), supports.size());
  }
  /// Adds an analysed slice.
  void add(const Slice& slice, const Layer& layer) {
    detail::call(stiltforge_survey_add_layer, get(), slice.get(), layer.get());
  }
  std::uint32_t layerCount() const { return stiltforge_survey_layer_count(get()); }

  Finished finish() {
    stiltforge_finished* finished = nullptr;
    detail::call(stiltforge_survey_finish, get(), &finished);
    return Finished(finished);
  }
  /// Judges the supports that were added, or the finished ones.
  Verdict judge(const JudgeSettings& settings = {}) { return verdictOn(nullptr, settings); }
  Verdict judge(const Finished& finished, const JudgeSettings& settings = {}) {
    return verdictOn(finished.get(), settings);
  }

 private:
  Verdict verdictOn(const stiltforge_finished* finished, const JudgeSettings& settings) {
    stiltforge_verdict* verdict = nullptr;
    detail::call(stiltforge_survey_judge, get(), finished, &settings, &verdict);
    return Verdict(verdict);
  }
};

struct CheckSettings : stiltforge_check_settings {
  CheckSettings()
      : stiltforge_check_settings(
            detail::filled<stiltforge_check_settings>(stiltforge_check_settings_init)) {}
  /// For the slices of a slicer.
  explicit CheckSettings(const Slicer& slicer) : stiltforge_check_settings{} {
    struct_size = sizeof(stiltforge_check_settings);
    detail::call(stiltforge_check_settings_init_for_slicer,
                 static_cast<stiltforge_check_settings*>(this), slicer.get());
  }
};

/// What a check has found. The list is valid until it is destroyed.
class CheckReport
    : public detail::Handle<stiltforge_check_report, stiltforge_check_report_destroy> {
 public:
  using Handle::Handle;
  /// Those that fail first, then bottom first.
  View<Finding> findings() const { return detail::listOf(stiltforge_check_report_findings, get()); }
  CheckReportInfo info() const {
    return detail::filled<CheckReportInfo>(stiltforge_check_report_get_info, get());
  }
};

/// Finds what would make a print fail, layer by layer.
class Check : public detail::Handle<stiltforge_check, stiltforge_check_destroy> {
 public:
  explicit Check(const CheckSettings& settings, const std::vector<Support>& supports = {})
      : Handle(create(stiltforge_check_create, &settings, supports.data(), supports.size())) {}

  /// Adds the next slice.
  void add(const Slice& slice) { detail::call(stiltforge_check_add, get(), slice.get()); }
  std::uint32_t layerCount() const { return stiltforge_check_layer_count(get()); }
  /// Ends the print.
  CheckReport finish() {
    stiltforge_check_report* report = nullptr;
    detail::call(stiltforge_check_finish, get(), &report);
    return CheckReport(report);
  }
};

/// Ways in which a part can be printed, ranked. The lists are valid until it is destroyed.
class Orientations
    : public detail::Handle<stiltforge_orientations, stiltforge_orientations_destroy> {
 public:
  /// Tries orientations of the mesh.
  Orientations(const Mesh& mesh, const PrintSettings& print, const OrientSettings& settings = {},
               const Progress& onProgress = {}, CancelToken* cancel = nullptr)
      : Handle(search(mesh, print, settings, onProgress, cancel)) {}

  /// The best first.
  View<Orientation> best() const { return detail::listOf(stiltforge_orientations_best, get()); }
  /// Null when the mesh does not fit on the screen as it is.
  const Orientation* asItIs() const { return stiltforge_orientations_as_it_is(get()); }
  /// Of an orientation of this object: mm in the coordinates of the turned mesh.
  std::vector<Point> supportsOf(const Orientation& orientation) const {
    const Point* const first =
        stiltforge_orientations_supports(get(), nullptr) + orientation.first_support;
    return {first, first + orientation.support_count};
  }
  OrientationsInfo info() const {
    return detail::filled<OrientationsInfo>(stiltforge_orientations_get_info, get());
  }

 private:
  static stiltforge_orientations* search(const Mesh& mesh, const PrintSettings& print,
                                         const OrientSettings& settings, const Progress& onProgress,
                                         CancelToken* cancel) {
    stiltforge_orientations* orientations = nullptr;
    detail::Callback<std::uint64_t, std::uint64_t>(onProgress)
        .during([&](stiltforge_progress_callback callback, void* context) {
          detail::call(stiltforge_orientations_create, mesh.get(), &print, &settings,
                       cancel ? cancel->get() : nullptr, callback, context, &orientations);
        });
    return orientations;
  }
};

/// The supports of a part as geometry. The lists are valid until it is destroyed.
class Scaffold : public detail::Handle<stiltforge_scaffold, stiltforge_scaffold_destroy> {
 public:
  /// Builds the supports of points of a mesh that stands on, or above, a plate.
  Scaffold(const Mesh& mesh, const std::vector<Point>& points, double plateZ, double layerHeight,
           const ScaffoldSettings& settings = {}, const Progress& onProgress = {},
           CancelToken* cancel = nullptr)
      : Handle(build(mesh, points, plateZ, layerHeight, settings, onProgress, cancel)) {}

  std::size_t triangleCount() const { return stiltforge_scaffold_triangle_count(get()); }
  std::size_t raftTriangleCount() const { return stiltforge_scaffold_raft_triangle_count(get()); }
  /// Nine floats a triangle.
  View<float> positions() const {
    return {stiltforge_scaffold_positions(get()), 9 * triangleCount()};
  }
  View<Ring> rings() const { return detail::listOf(stiltforge_scaffold_rings, get()); }
  View<BuiltSupport> supports() const {
    return detail::listOf(stiltforge_scaffold_supports, get());
  }
  View<Brace> braces() const { return detail::listOf(stiltforge_scaffold_braces, get()); }
  View<LeftOut> leftOut() const { return detail::listOf(stiltforge_scaffold_left_out, get()); }
  View<std::uint32_t> alone() const { return detail::listOf(stiltforge_scaffold_alone, get()); }

 private:
  static stiltforge_scaffold* build(const Mesh& mesh, const std::vector<Point>& points,
                                    double plateZ, double layerHeight,
                                    const ScaffoldSettings& settings, const Progress& onProgress,
                                    CancelToken* cancel) {
    stiltforge_scaffold* scaffold = nullptr;
    detail::Callback<std::uint64_t, std::uint64_t>(onProgress)
        .during([&](stiltforge_progress_callback callback, void* context) {
          detail::call(stiltforge_scaffold_create, mesh.get(), points.data(), points.size(), plateZ,
                       layerHeight, &settings, cancel ? cancel->get() : nullptr, callback, context,
                       &scaffold);
        });
    return scaffold;
  }
};

class GroupImages
    : public detail::Handle<stiltforge_group_images, stiltforge_group_images_destroy> {
 public:
  using Handle::Handle;
  std::uint32_t width() const { return stiltforge_group_images_width(get()); }
  std::uint32_t height() const { return stiltforge_group_images_height(get()); }
  /// image: STILTFORGE_IMAGE_SAMPLE and so on.
  View<std::uint8_t> pixels(std::int32_t image) const {
    const std::uint8_t* const data = stiltforge_group_images_pixels(get(), image);
    return {data, data ? std::size_t{4} * width() * height() : 0};
  }
};

class Model : public detail::Handle<stiltforge_model, stiltforge_model_destroy> {
 public:
  static constexpr std::uint32_t allLayers = UINT32_MAX;

  explicit Model(const Parameters& parameters)
      : Handle(create(stiltforge_model_create, parameters.get())) {}

  /// Analyses the next slice.
  Layer analyse(const Slice& slice, const AnalysisOptions& options = {}) {
    stiltforge_layer* layer = nullptr;
    detail::call(stiltforge_model_analyse, get(), slice.get(), &options, &layer);
    return Layer(layer);
  }
  /// Cuts and analyses the next layers of a mesh. onLayer is called for each and may throw, which
  /// ends the call with that exception, or may be null.
  void analyse(Slicer& slicer, const std::function<void(const LayerView&)>& onLayer = {},
               CancelToken* cancel = nullptr, std::uint32_t count = allLayers) {
    watch(onLayer, [&](stiltforge_layer_callback callback, void* context) {
      detail::call(stiltforge_model_analyse_mesh, get(), slicer.get(), count,
                   cancel ? cancel->get() : nullptr, callback, context);
    });
  }
  /// The same, and adds each layer to the survey.
  void analyse(Slicer& slicer, Survey& survey,
               const std::function<void(const LayerView&)>& onLayer = {},
               CancelToken* cancel = nullptr, std::uint32_t count = allLayers) {
    watch(onLayer, [&](stiltforge_layer_callback callback, void* context) {
      detail::call(stiltforge_model_survey_mesh, get(), slicer.get(), survey.get(), count,
                   cancel ? cancel->get() : nullptr, callback, context);
    });
  }

  std::uint32_t layerCount() const { return stiltforge_model_layer_count(get()); }
  std::uint64_t failedGroups() const { return stiltforge_model_failed_groups(get()); }
  /// Those of all layers so far.
  std::vector<Support> supports() const {
    std::size_t count = 0;
    detail::call(stiltforge_model_get_supports, get(), static_cast<Support*>(nullptr),
                 std::size_t{0}, &count);
    std::vector<Support> supports(count);
    detail::call(stiltforge_model_get_supports, get(), supports.data(), count, &count);
    return supports;
  }
  /// layer from 0, group from 1.
  GroupImages groupImages(std::uint32_t layer, std::uint32_t group) {
    stiltforge_group_images* images = nullptr;
    detail::call(stiltforge_model_create_group_images, get(), layer, group, &images);
    return GroupImages(images);
  }

 private:
  /// run: calls the library with a callback for layers and its context.
  template <typename Run>
  static void watch(const std::function<void(const LayerView&)>& onLayer, Run&& run) {
    std::function<void(const stiltforge_layer*)> host;
    if (onLayer) host = [&](const stiltforge_layer* layer) { onLayer(LayerView(layer)); };
    detail::Callback<const stiltforge_layer*>(std::move(host)).during(run);
  }
};

}  // namespace v0
}  // namespace stiltforge

#endif
