#pragma once

#include <stdexcept>
#include <string>

#include "stiltforge/stiltforge.h"

namespace stiltforge::capi {

/// Ends a call with a status. what() is the message without the function's name.
class Refusal : public std::runtime_error {
 public:
  Refusal(stiltforge_status status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  stiltforge_status status() const { return status_; }

 private:
  stiltforge_status status_;
};

/// An argument makes no sense. `what` begins with the argument and ends without a full stop.
class InvalidArgument : public Refusal {
 public:
  explicit InvalidArgument(const std::string& what) : Refusal(STILTFORGE_INVALID_ARGUMENT, what) {}
};

/// Throws InvalidArgument when the pointer is null.
template <typename T>
void requireArgument(const T* pointer, const char* name) {
  if (!pointer) throw InvalidArgument(std::string(name) + " is null");
}

/// Throws InvalidArgument unless least <= value <= most.
inline void requireRange(uint64_t value, const char* name, uint64_t least, uint64_t most) {
  if (value >= least && value <= most) return;
  throw InvalidArgument(std::string(name) + " is " + std::to_string(value) + "; it must be from " +
                        std::to_string(least) + " to " + std::to_string(most));
}

}  // namespace stiltforge::capi
