#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "analysis/plane.h"
#include "analysis/slice_buffers.h"
#include "capi/boundary.h"
#include "capi/cancel_token.h"
#include "capi/handles.h"
#include "capi/layer.h"
#include "capi/slice_size.h"
#include "capi/slices_ahead.h"
#include "capi/structure.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_analysis_options> =
    offsetof(stiltforge_analysis_options, support_values) + sizeof(uint8_t*);

namespace {

// Layers have 16-bit numbers, counted from 1.
constexpr uint32_t mostLayers = 65535;

void requireGoingOn(const stiltforge_model& model) {
  if (model.isStopped) {
    throw Refusal(STILTFORGE_STOPPED, "an earlier call failed in the middle of layer " +
                                          std::to_string(model.layerCount) +
                                          ", so the model takes no more; make a new one");
  }
  if (model.layerCount == mostLayers) {
    throw InvalidArgument("model has " + std::to_string(mostLayers) + " layers, which is the most");
  }
}

// Analyses a slice of the model's size. What is made of the layer by `use` is part of the step: the
// model goes on only if both succeed.
template <typename Use>
void analyse(stiltforge_model& model, Slice slice, Model::SliceOptions options, Use&& use) {
  requireGoingOn(model);
  options.addSupport = model.parameters.addSupport;
  const std::size_t before = model.model.layers().size();
  try {
    model.model.analyse(std::move(slice), options);
    std::forward<Use>(use)(model.model.layers().back());
  } catch (...) {
    model.isStopped = model.model.layers().size() != before;
    throw;
  }
  ++model.layerCount;
}

stiltforge_analysis_options readOptions(const stiltforge_analysis_options* options) {
  return options ? readStructure(options, "options") : stiltforge_analysis_options{};
}

void requireModelSize(const stiltforge_model& model, uint32_t width, uint32_t height,
                      const char* name) {
  const auto& [modelWidth, modelHeight] =
      std::pair(model.parameters.width, model.parameters.height);
  if (width == modelWidth && height == modelHeight) return;
  throw InvalidArgument(std::string(name) + " is " + std::to_string(width) + " x " +
                        std::to_string(height) + " pixels; the model's slices are " +
                        std::to_string(modelWidth) + " x " + std::to_string(modelHeight));
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

// Whether the host wants to go on.
bool tellHost(stiltforge_layer_callback callback, void* context, const stiltforge_layer& layer,
              const DefaultFloats& floats) {
  const HostFloats restored(floats);
  return callback(context, &layer) == 0;
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
      if (layer) result = capi::layerResult(done, analysed->layerCount);
    });
    if (layer) *layer = result.release();
  });
}

stiltforge_status stiltforge_model_analyse_mesh(stiltforge_model* model, stiltforge_slicer* slicer,
                                                uint32_t count, stiltforge_cancel_token* cancel,
                                                stiltforge_layer_callback on_layer, void* context,
                                                stiltforge_error* error) {
  return capi::guarded(__func__, error, [&](const capi::DefaultFloats& floats) {
    const capi::WorkerUse workers;
    const capi::Keeping kept(model, "model");
    const capi::Writing cutter(slicer, "slicer");
    stiltforge::Model::SliceOptions options;
    options.cancelled = capi::flagOf(cancel);
    const uint32_t layers = cutter->slicer.layerCount();
    uint32_t first = 0;
    {
      const capi::Writing analysed(model, "model");
      capi::requireGoingOn(*analysed);
      const auto& placement = cutter->slicer.placement();
      capi::requireModelSize(*analysed, static_cast<uint32_t>(placement.width),
                             static_cast<uint32_t>(placement.height), "slicer");
      first = std::min<uint32_t>(analysed->layerCount, layers);
    }
    const uint32_t end = first + std::min(count, layers - first);

    capi::SlicesAhead slices(cutter->slicer, first, end);
    for (uint32_t index = first; index < end; ++index) {
      stiltforge::Slice slice = slices.next();
      std::unique_ptr<stiltforge_layer> result;
      {
        const capi::Writing analysed(model, "model");
        if (analysed->layerCount != index) {
          throw capi::InvalidArgument("on_layer gave the model slices of its own");
        }
        capi::analyse(*analysed, std::move(slice), options, [&](const stiltforge::Layer& done) {
          if (on_layer) result = capi::layerResult(done, index);
        });
      }
      if (!on_layer || capi::tellHost(on_layer, context, *result, floats)) continue;
      throw capi::Refusal(STILTFORGE_CANCELLED, "ended by its callback");
    }
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
