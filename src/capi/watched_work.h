#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

#include "capi/boundary.h"
#include "stiltforge/stiltforge.h"

namespace stiltforge::capi {

/// How the host follows a long call.
struct HostWatch {
  const stiltforge_cancel_token* cancel;
  stiltforge_progress_callback onProgress;
  void* context;
};

/// (steps done, all of them as far as is known), from any thread, by one at a time.
using Progress = std::function<void(std::size_t done, std::size_t total)>;

/// Throws, soon after `cancelled` was raised, whatever it likes.
using Work = std::function<void(const Progress&, const std::atomic<bool>* cancelled)>;

/// Does the work; where the host wants to be told, on another thread, while this one tells it.
/// Throws a Refusal when the host has ended it, otherwise what the work throws.
void doWatched(const HostWatch& watch, const DefaultFloats& floats, const Work& work);

}  // namespace stiltforge::capi
