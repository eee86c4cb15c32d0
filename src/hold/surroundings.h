#pragma once

#include <cstdint>

#include "analysis/run_rows.h"
#include "hold/components.h"
#include "hold/empty_space.h"
#include "hold/place.h"
#include "hold/region_tracks.h"
#include "hold/room_below.h"

namespace stiltforge::hold {

/// What is known of the pixels of the layer last added to a part: the regions that they belong to,
/// and what lies straight below them.
class Surroundings {
 public:
  /// Layers of empty space that a support needs, see RoomBelow.
  Surroundings(uint32_t roomLayers, uint32_t roomLayersOnPlate)
      : room_(roomLayers, roomLayersOnPlate) {}

  /// Takes the material of the next layer, bottom first.
  void add(const RunRows& material);
  /// Settles which space is sealed, after the last layer.
  void finish() { space_.finish(); }

  /// Of the layer last added, from 0.
  uint32_t layer() const { return layerCount_ - 1; }
  const Components& regions() const { return regions_; }
  /// The material of the layer below it.
  const RunRows& below() const { return below_.pixels; }

  /// A pixel with all that is known of it.
  Place placeAt(int x, int y) const;
  /// Of a pixel, none where there is no material.
  uint32_t trackAt(int x, int y) const;
  /// The space that a pixel looks down into, see EmptySpace.
  uint32_t spaceBelow(int x, int y) const { return space_.below(below_.pixels, x, y); }
  /// See RoomBelow::findRoom().
  void findRoom(Run run, int y, RunRows& roomy) { room_.findRoom(run, y, roomy); }

  const RegionTracks& tracks() const { return tracks_; }
  bool isSealed(uint32_t space) const { return space_.isSealed(space); }

 private:
  uint32_t layerCount_ = 0;
  Components regions_;
  Components below_;
  RegionTracks tracks_;
  EmptySpace space_;
  RoomBelow room_;
};

}  // namespace stiltforge::hold
