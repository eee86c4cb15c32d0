#include "capi/filled_slices.h"

#include <cstddef>
#include <string>
#include <utility>

namespace stiltforge::capi {

FilledSlices::FilledSlices(stiltforge_slice* const* slices, uint32_t count) {
  if (count > 0) requireArgument(slices, "slices");
  for (uint32_t i = 0; i < count; ++i) {
    handles_.emplace_back(slices[i], ("slices[" + std::to_string(i) + "]").c_str());
  }
  slices_.reserve(count);
  for (auto& handle : handles_) slices_.push_back(std::exchange(handle->slice, {}));
}

void FilledSlices::finish() {
  for (std::size_t i = 0; i < slices_.size(); ++i) handles_[i]->slice = std::move(slices_[i]);
}

}  // namespace stiltforge::capi
