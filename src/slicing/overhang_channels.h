#pragma once

#include <cstdint>

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "runtime/scratch_vector.h"
#include "slicing/carrying_pixels.h"
#include "slicing/channel_falloff.h"
#include "slicing/proximity_values.h"

namespace stiltforge::slicing {

/// Finds which material of a layer overhangs the layer below, and the channel bytes there. It does
/// not matter where the material comes from.
class OverhangChannels {
 public:
  /// Keeps the falloff by reference.
  explicit OverhangChannels(const ChannelFalloff& falloff);

  /// Fills overhang, blue and green from the slice's material. `below` is the material of the layer
  /// below, with the same rows; null for the first layer, which lies on the plate and is supported
  /// everywhere. Lone pixels below carry nothing.
  void fill(const RunRows* below, Slice& slice);

  /// Replaces `overhang` and `blue`, see Slice, alone.
  void findOverhang(const RunRows& material, const RunRows* below, RunRows& overhang,
                    ScratchVector<uint8_t>& blue);

 private:
  void findCandidates(const RunRows& material, const RunRows& carrying);
  void keepOverhang(RunRows& overhang, ScratchVector<uint8_t>& blue) const;

  const int32_t selfSupported_;
  ProximityValues support_;
  ProximityValues stroke_;
  CarryingPixels carrying_;
  RunRows candidates_;
  RunRows contours_;
};

}  // namespace stiltforge::slicing
