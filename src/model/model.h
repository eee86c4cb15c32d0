#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "analysis/layer.h"
#include "analysis/plane.h"
#include "analysis/settings.h"
#include "analysis/slice.h"
#include "analysis/slice_buffers.h"
#include "analysis/support_inheritance.h"
#include "support/ghost_spread.h"
#include "support/group_images.h"

namespace stiltforge {

/// Thrown by Model::analyse when its `cancelled` flag was raised between two stages.
struct AnalysisCancelled : std::runtime_error {
  AnalysisCancelled() : std::runtime_error("the analysis was cancelled") {}
};

/// One model under analysis: takes its slices, bottom first, and keeps of each what the next ones
/// and the pictures of its regions need.
///
/// Models are independent of each other: each may be used by another thread. Of one model only one
/// operation may run at a time.
class Model {
 public:
  /// A model with the default settings and slices of no pixels, until it is told otherwise.
  Model() = default;
  /// A model of slices with up to `pixels` pixels; markers as for start(). Throws as
  /// prepareGhostSpread() does.
  Model(const Settings& settings, std::size_t pixels, Plane<uint32_t> markers = {});

  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  /// How slices are analysed from the next one on.
  const Settings& settings() const { return settings_; }
  void setSettings(const Settings& settings) { settings_ = settings; }
  /// Takes the memory for that Settings::ghostRadius ahead of the next slice, so that its lack
  /// shows at once. Throws std::length_error beyond GhostSpread::maxRadius, std::bad_alloc; the
  /// model is as it was then.
  void prepareGhostSpread(float ghostRadius);

  /// Forgets all layers and begins anew with slices of up to `pixels` pixels. `markers` has so many
  /// entries, of any content, or none until they are needed.
  void start(std::size_t pixels, Plane<uint32_t> markers = {});
  /// Frees all memory. The history keeps its entries, emptied, until start().
  void clear();
  /// Whether clear() has freed layers since the last start().
  bool isCleared() const { return cleared_; }

  struct SliceOptions {
    bool addSupport = true;                        ///< place supports
    const SliceBuffers* buffers = nullptr;         ///< optional: where the slice's pixels go
    const std::atomic<bool>* cancelled = nullptr;  ///< optional: stop between two stages
  };
  /// Analyses the next slice. Returns the number of supports placed; the layer is the last of
  /// layers().
  ///
  /// Throws std::out_of_range when the slice has material at or beyond the model's number of
  /// pixels, AnalysisCancelled, std::bad_alloc. After a failure beyond segmentation the entry stays
  /// in the history.
  uint32_t analyse(Slice slice, const SliceOptions& options);

  /// The history, bottom first; all but the last layer are archived.
  const std::vector<Layer>& layers() const { return layers_; }

  /// The sampling state of a group of a layer of the history; both must exist, see
  /// Layer::groupEntries().
  GroupImages renderGroup(std::size_t layer, std::size_t group);

  /// Groups whose placement failed with an exception so far, for lack of memory for example; such a
  /// group gets no supports.
  uint64_t failedTasks() const { return failedTasks_; }

 private:
  void createGhostSpread();
  void createMarkers();

  Settings settings_;
  GhostSpread ghostSpread_;
  GhostRecord ghosts_;
  std::vector<Layer> layers_;
  std::size_t pixels_ = 0;
  // The highest layer with material, per pixel; made by the first slice with buffers.
  Plane<uint32_t> markers_;
  bool markersCreated_ = false;
  bool cleared_ = false;
  std::atomic<uint64_t> failedTasks_{0};
};

}  // namespace stiltforge
