#pragma once

#include <cfenv>
#include <type_traits>
#include <utility>

#include "capi/refusal.h"
#include "capi/worker_use.h"
#include "stiltforge/stiltforge.h"

namespace stiltforge::capi {

/// The floating-point environment that results are defined for, as long as it lives, whatever the
/// host has made of its own: rounding to nearest, subnormal numbers, no traps.
class DefaultFloats {
 public:
  DefaultFloats() noexcept {
    std::fegetenv(&hosts_);
    std::fesetenv(FE_DFL_ENV);
  }
  ~DefaultFloats() { std::fesetenv(&hosts_); }
  DefaultFloats(const DefaultFloats&) = delete;
  DefaultFloats& operator=(const DefaultFloats&) = delete;

  const std::fenv_t& hosts() const { return hosts_; }

 private:
  std::fenv_t hosts_;
};

/// Back in the host's environment, for its callbacks.
class HostFloats {
 public:
  explicit HostFloats(const DefaultFloats& floats) noexcept { std::fesetenv(&floats.hosts()); }
  ~HostFloats() { std::fesetenv(FE_DFL_ENV); }
  HostFloats(const HostFloats&) = delete;
  HostFloats& operator=(const HostFloats&) = delete;
};

/// Empties the message.
void clearError(stiltforge_error* error) noexcept;

/// Inside a catch block: what the exception means to the host.
stiltforge_status reportException(const char* function, stiltforge_error* error) noexcept;

/// Runs the body of an exported function, which may take its DefaultFloats: no exception leaves it.
template <typename Body>
stiltforge_status guarded(const char* function, stiltforge_error* error, Body&& body) noexcept {
  clearError(error);
  const DefaultFloats floats;
  try {
    if constexpr (std::is_invocable_v<Body, const DefaultFloats&>) {
      std::forward<Body>(body)(floats);
    } else {
      std::forward<Body>(body)();
    }
    return STILTFORGE_OK;
  } catch (...) {
    return reportException(function, error);
  }
}

/// The same for a function that creates a handle: *target becomes what the body returns, a
/// unique_ptr, or null.
template <typename Handle, typename Body>
stiltforge_status guardedCreation(const char* function, Handle** target, const char* name,
                                  stiltforge_error* error, Body&& body) noexcept {
  if (target) *target = nullptr;
  return guarded(function, error, [&](const DefaultFloats& floats) {
    requireArgument(target, name);
    if constexpr (std::is_invocable_v<Body, const DefaultFloats&>) {
      *target = std::forward<Body>(body)(floats).release();
    } else {
      *target = std::forward<Body>(body)().release();
    }
  });
}

}  // namespace stiltforge::capi
