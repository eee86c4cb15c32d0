#include "addon/model_state.h"

#include <algorithm>
#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "addon/slice_worker.h"
#include "analysis/support_inheritance.h"
#include "runtime/scratch_vector.h"
#include "support/poisson.h"

namespace stiltforge {

namespace {

// A slice in analysis and one behind it.
constexpr std::size_t maxSparePixels = 2;

template <typename T>
void releaseStorage(std::vector<T>& vector) {
  std::vector<T>().swap(vector);
}

// A model's many small blocks are spread over the heaps of all threads, and the C library keeps
// those pages when they are freed. A host that stays open wants them back.
void returnFreedPages() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace

void ModelState::start(Plane<uint32_t> topPixels, std::size_t pixelCount) {
  freeModel();
  releaseStorage(SliceWorker::layers);
  freed = false;
  SliceWorker::topPixelBuffer = std::move(topPixels);
  topPixelCount = pixelCount;
}

void ModelState::close() {
  Poisson::releaseGhostSpread();
  ghostSpreadCurrent = false;
  releaseStorage(SupportInheritance::ghostSupportArray);
  releaseStorage(SupportInheritance::deleteGhostIndex);
  freeModel();
}

// A first slice that failed leaves memory behind too, but no history.
void ModelState::freeModel() {
  SliceWorker::topPixelBuffer.release();
  topPixelsReady = false;
  releaseStorage(sparePixels);
  scratch = SliceScratch{};
  scratch_memory::release();
  for (Layer& husk : SliceWorker::layers) husk = Layer{};
  if (!SliceWorker::layers.empty()) freed = true;
  returnFreedPages();
}

void ModelState::ensureGhostSpread() {
  if (ghostSpreadCurrent) return;
  Poisson::createGhostSpread();
  ghostSpreadCurrent = true;
}

void ModelState::ensureTopPixels() {
  if (topPixelsReady) return;
  Plane<uint32_t>& markers = SliceWorker::topPixelBuffer;
  if (markers.size() != topPixelCount) markers = Plane<uint32_t>(topPixelCount);
  std::fill_n(markers.data(), topPixelCount, 0u);
  topPixelsReady = true;
}

Plane<uint32_t> ModelState::takePixels(std::size_t count) {
  if (sparePixels.empty()) return Plane<uint32_t>(count);
  Plane<uint32_t> pixels = std::move(sparePixels.back());
  sparePixels.pop_back();
  return pixels.size() == count ? std::move(pixels) : Plane<uint32_t>(count);
}

void ModelState::keepPixels(Plane<uint32_t> pixels) {
  if (!pixels.empty() && sparePixels.size() < maxSparePixels) {
    sparePixels.push_back(std::move(pixels));
  }
}

}  // namespace stiltforge
