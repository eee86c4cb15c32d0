#pragma once

#include <atomic>
#include <stdexcept>

namespace stiltforge::hold {

/// Thrown when a `cancelled` flag was raised.
struct Cancelled : std::runtime_error {
  Cancelled() : std::runtime_error("the finishing of supports was cancelled") {}
};

/// Null stands for a flag that is never raised.
inline void stopIfCancelled(const std::atomic<bool>* cancelled) {
  if (cancelled != nullptr && *cancelled) throw Cancelled();
}

}  // namespace stiltforge::hold
