#include "slicing/floating_parts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace stiltforge::slicing {

namespace {

constexpr std::size_t mostParts = 4096;

bool meet(float min, float max, float otherMin, float otherMax, double apart) {
  return static_cast<double>(otherMin) - max <= apart &&
         static_cast<double>(min) - otherMax <= apart;
}

bool touch(const Bounds& a, const Bounds& b, const Contact& contact) {
  return meet(a.min.x, a.max.x, b.min.x, b.max.x, contact.across) &&
         meet(a.min.y, a.max.y, b.min.y, b.max.y, contact.across) &&
         meet(a.min.z, a.max.z, b.min.z, b.max.z, contact.up);
}

}  // namespace

FloatingParts findFloatingParts(std::span<const MeshPart> parts, double plate,
                                const Contact& contact) {
  if (parts.size() > mostParts) return {};
  std::vector<const Bounds*> standing;
  std::vector<const Bounds*> floating;
  for (const MeshPart& part : parts) {
    if (part.volume == 0) continue;
    // A part that begins above the first layer's middle is not in that layer.
    const bool onPlate = part.bounds.min.z - plate <= contact.up / 2;
    (onPlate ? standing : floating).push_back(&part.bounds);
  }
  // What touches a part that stands does, too.
  for (std::size_t next = 0; next < standing.size(); ++next) {
    const auto held = std::partition(floating.begin(), floating.end(), [&](const Bounds* box) {
      return !touch(*box, *standing[next], contact);
    });
    standing.insert(standing.end(), held, floating.end());
    floating.erase(held, floating.end());
  }
  FloatingParts result;
  for (const Bounds* box : floating) {
    const double from = box->min.z - plate;
    result.from = result.count == 0 ? from : std::min(result.from, from);
    ++result.count;
  }
  return result;
}

}  // namespace stiltforge::slicing
