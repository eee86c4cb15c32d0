#include "capi/slices_ahead.h"

#include <algorithm>
#include <cstddef>
#include <system_error>
#include <utility>

#include "runtime/worker_pool.h"

namespace stiltforge::capi {

namespace {

// Enough for all workers to have some of it.
constexpr uint32_t layersPerWorker = 4;

}  // namespace

SlicesAhead::SlicesAhead(slicing::Slicer& slicer, uint32_t first, uint32_t end)
    : slicer_(slicer), first_(first), end_(end) {
  cutBatch();
}

void SlicesAhead::cutBatch() {
  if (first_ == end_) return;
  const uint32_t most = layersPerWorker * static_cast<uint32_t>(workers::count());
  const uint32_t count = std::min(most, end_ - first_);
  const auto cut = [&slicer = slicer_, first = first_, count] {
    std::vector<Slice> slices(count);
    slicer.slice(first, slices);
    return slices;
  };
  first_ += count;
  try {
    nextBatch_ = std::async(std::launch::async, cut);
  } catch (const std::system_error&) {
    // No thread is to be had: it is cut when it is asked for.
    nextBatch_ = std::async(std::launch::deferred, cut);
  }
}

Slice SlicesAhead::next() {
  if (taken_ == batch_.size()) {
    batch_ = nextBatch_.get();
    taken_ = 0;
    cutBatch();
  }
  return std::move(batch_[taken_++]);
}

}  // namespace stiltforge::capi
