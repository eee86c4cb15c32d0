#include <cstddef>
#include <memory>
#include <string>

#include "analysis/plane.h"
#include "analysis/slice_buffers.h"
#include "capi/boundary.h"
#include "capi/cancel_token.h"
#include "capi/handles.h"
#include "capi/layer.h"
#include "capi/model_step.h"
#include "capi/slice_size.h"
#include "capi/structure.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_analysis_options> =
    offsetof(stiltforge_analysis_options, support_values) + sizeof(uint8_t*);

namespace {

stiltforge_analysis_options readOptions(const stiltforge_analysis_options* options) {
  return options ? readStructure(options, "options") : stiltforge_analysis_options{};
}

// The blocks that the host wants, and in the place of others that the analysis always fills some
// that nobody reads.
class HostBuffers {
 public:
  HostBuffers(const stiltforge_analysis_options& given, const stiltforge_model& model) {
    isWanted_ = given.labels || given.markers || given.support_values;
    if (!isWanted_) return;
    const std::size_t pixels = std::size_t{model.parameters.width} * model.parameters.height;
    if (given.pixel_count != pixels) {
      throw InvalidArgument("options->pixel_count is " + std::to_string(given.pixel_count) +
                            "; the model's slices have " + std::to_string(pixels) + " pixels");
    }
    if (!given.labels) unreadLabels_ = Plane<uint32_t>(pixels);
    if (!given.support_values) unreadValues_ = Plane<uint8_t>(pixels);
    buffers_.labels = given.labels ? given.labels : unreadLabels_.data();
    buffers_.markers = given.markers;
    buffers_.supportValues = given.support_values ? given.support_values : unreadValues_.data();
  }

  const SliceBuffers* get() const { return isWanted_ ? &buffers_ : nullptr; }

 private:
  bool isWanted_ = false;
  SliceBuffers buffers_;
  Plane<uint32_t> unreadLabels_;
  Plane<uint8_t> unreadValues_;
};

template <typename Fn>
void forEachSupport(const Model& model, Fn&& fn) {
  for (const Layer& layer : model.layers()) {
    for (std::size_t group = 1; group < layer.groupEntries(); ++group) {
      const Placement* const placement = layer.groupPlacement(group);
      if (!placement) continue;
      for (const Voxel& voxel : placement->supports) fn(voxel, static_cast<uint32_t>(group));
    }
  }
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_analysis_options_init(stiltforge_analysis_options* options,
                                                   stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::writeStructure(options, stiltforge_analysis_options{}, "options");
  });
}

stiltforge_status stiltforge_model_create(const stiltforge_parameters* parameters,
                                          stiltforge_model** model, stiltforge_error* error) {
  return capi::guardedCreation(__func__, model, "model", error, [&] {
    const capi::Reading read(parameters, "parameters");
    const stiltforge::ModelParameters& values = read->values;
    if (values.width == 0 || values.height == 0) {
      throw capi::InvalidArgument("parameters have a width of " + std::to_string(values.width) +
                                  " and a height of " + std::to_string(values.height) +
                                  "; set both to the size of the slices");
    }
    capi::requireSliceSize(values.width, values.height);
    return std::make_unique<stiltforge_model>(values);
  });
}

stiltforge_status stiltforge_model_analyse(stiltforge_model* model, const stiltforge_slice* slice,
                                           const stiltforge_analysis_options* options,
                                           stiltforge_layer** layer, stiltforge_error* error) {
  if (layer) *layer = nullptr;
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing analysed(model, "model");
    const capi::Reading read(slice, "slice");
    const stiltforge_analysis_options given = capi::readOptions(options);
    capi::requireModelSize(*analysed, read->slice.width, read->slice.height, "slice");

    stiltforge::Model::SliceOptions sliceOptions;
    sliceOptions.cancelled = capi::flagOf(given.cancel);
    const capi::HostBuffers buffers(given, *analysed);
    sliceOptions.buffers = buffers.get();
    std::unique_ptr<stiltforge_layer> result;
    capi::analyse(*analysed, read->slice, sliceOptions, [&](const stiltforge::Layer& done) {
      if (!layer) return;
      result = capi::layerResult(done, analysed->layerCount);
      result->findings = stiltforge::hold::findingsOf(done);
    });
    if (layer) *layer = result.release();
  });
}

uint32_t stiltforge_model_layer_count(const stiltforge_model* model) {
  return model && model->isOf(stiltforge_model::kind) ? model->layerCount.load() : 0;
}

uint64_t stiltforge_model_failed_groups(const stiltforge_model* model) {
  return model && model->isOf(stiltforge_model::kind) ? model->model.failedTasks() : 0;
}

stiltforge_status stiltforge_model_get_supports(const stiltforge_model* model,
                                                stiltforge_support* supports, size_t capacity,
                                                size_t* count, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading read(model, "model");
    if (capacity > 0) capi::requireArgument(supports, "supports");
    std::size_t found = 0;
    capi::forEachSupport(read->model, [&](const stiltforge::Voxel& voxel, uint32_t group) {
      if (found < capacity) supports[found] = capi::toSupport(voxel, group);
      ++found;
    });
    if (count) *count = found;
  });
}

void stiltforge_model_destroy(stiltforge_model* model) {
  capi::destroy(model);
}
