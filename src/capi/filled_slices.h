#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "capi/handles.h"

namespace stiltforge::capi {

/// Slices of the host that a call fills. They keep their storage for it, and are empty unless
/// finish() is called.
class FilledSlices {
 public:
  /// Throws a Refusal when the list or one of its handles cannot be used.
  FilledSlices(stiltforge_slice* const* slices, uint32_t count);

  std::span<Slice> slices() { return slices_; }
  void finish();

 private:
  std::deque<Writing<stiltforge_slice>> handles_;
  std::vector<Slice> slices_;
};

}  // namespace stiltforge::capi
