#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/plane.h"
#include "model/model.h"
#include "model/parameters.h"

namespace stiltforge {

/// The one model that the five functions work on. Used by jobs and, while none is queued, by the
/// main thread of the owner, see analysis_owner.h.
struct ProcessModel {
  Model model;
  ModelParameters parameters;  ///< as InitAnalyseSlice last stored them
  uint32_t openedBy = 0;       ///< id of the environment that stored them; 0: none did yet
  std::size_t pixels = 0;      ///< of the model's slices

  /// Empties the history; `markers` as Model::start() takes them.
  void start(std::size_t pixelCount, Plane<uint32_t> markers);
  /// Frees all memory; the parameters stay.
  void close();
  /// Stores the parameters and what the model needs of them.
  void store(const ModelParameters& changed);

  /// A plane with that many entries for a copy of a slice, left as it was: a kept one whose pages
  /// need not be faulted in again, or a new one.
  Plane<uint32_t> takePicture(std::size_t count);
  /// Keeps the plane for takePicture() where there is room.
  void keepPicture(Plane<uint32_t> picture);

 private:
  std::vector<Plane<uint32_t>> sparePictures;
};

ProcessModel& processModel();

}  // namespace stiltforge
