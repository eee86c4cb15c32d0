#include "slicing/proximity_values.h"

#include "slicing/channel_falloff.h"

namespace stiltforge::slicing {

ProximityValues::ProximityValues(const std::vector<uint8_t>& falloff)
    : falloff_(falloff), distance_(reachOf(falloff)) {}

void ProximityValues::find(const RunRows& pixels, const RunRows& set,
                           ScratchVector<uint8_t>& values) {
  values.clear();
  for (int y = 0; y < pixels.height(); ++y) {
    for (const Run& run : pixels.row(y)) {
      for (const int32_t distance : distance_.measure(y, run, set)) {
        values.push_back(valueAt(falloff_, distance));
      }
    }
  }
}

}  // namespace stiltforge::slicing
