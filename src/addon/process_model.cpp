#include "addon/process_model.h"

#include <utility>

namespace stiltforge {

namespace {

// A slice in analysis and one behind it.
constexpr std::size_t mostSparePictures = 2;

}  // namespace

void ProcessModel::start(std::size_t pixelCount, Plane<uint32_t> markers) {
  std::vector<Plane<uint32_t>>().swap(sparePictures);
  pixels = pixelCount;
  model.start(pixelCount, std::move(markers));
}

void ProcessModel::close() {
  std::vector<Plane<uint32_t>>().swap(sparePictures);
  model.clear();
}

void ProcessModel::store(const ModelParameters& changed) {
  parameters = changed;
  model.setSettings(changed.settings);
}

Plane<uint32_t> ProcessModel::takePicture(std::size_t count) {
  if (sparePictures.empty()) return Plane<uint32_t>(count);
  Plane<uint32_t> picture = std::move(sparePictures.back());
  sparePictures.pop_back();
  return picture.size() == count ? std::move(picture) : Plane<uint32_t>(count);
}

void ProcessModel::keepPicture(Plane<uint32_t> picture) {
  if (!picture.empty() && sparePictures.size() < mostSparePictures) {
    sparePictures.push_back(std::move(picture));
  }
}

ProcessModel& processModel() {
  static ProcessModel instance;
  return instance;
}

}  // namespace stiltforge
