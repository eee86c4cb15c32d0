#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <functional>

#include "analysis/plane.h"

namespace stiltforge {

/// Width and height of a model's slices, pixels.
struct SliceSize {
  uint16_t width = 0;
  uint16_t height = 0;

  std::size_t pixels() const { return std::size_t{width} * height; }
};

/// Refuses slices of more pixels than the analysis counts.
void requireCountable(Napi::Env env, const SliceSize& size);

/// Reserves the markers of a model with buffers, so that a lack of memory shows before anything is
/// changed; their pages are touched by the first slice, off the main thread.
Plane<uint32_t> reserveMarkers(Napi::Env env, const SliceSize& size);

/// Calls `reserve`, which takes the memory of the spread table of that radius, and refuses a radius
/// for which there is none.
void reserveGhostSpread(Napi::Env env, float radius, const std::function<void()>& reserve);

}  // namespace stiltforge
