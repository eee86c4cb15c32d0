#pragma once

#include <napi.h>

#include <cstdint>

#include "analysis/slice.h"

namespace stiltforge::binding {

/// The slice of a host's runs, SliceRuns of packages/stiltforge/src/slice_runs.ts. They are copied.
/// Throws a refusal that says what is wrong with them, and in which row; the exception of a getter
/// passes through; std::bad_alloc.
Slice readRuns(const Napi::Value& runs, uint16_t width, uint16_t height);

}  // namespace stiltforge::binding
