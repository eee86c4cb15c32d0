#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "capi/handles.h"

namespace stiltforge::capi {

/// Layers have 16-bit numbers, counted from 1.
inline constexpr uint32_t mostLayers = 65535;

/// Throws a Refusal when the model takes no more layers.
void requireGoingOn(const stiltforge_model& model);

/// Throws InvalidArgument unless that is the size of the model's slices.
void requireModelSize(const stiltforge_model& model, uint32_t width, uint32_t height,
                      const char* name);

/// Analyses a slice of the model's size. What is made of the layer by `use` is part of the step:
/// the model goes on only if both succeed.
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

}  // namespace stiltforge::capi
