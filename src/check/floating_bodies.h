#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "check/extent.h"
#include "hold/components.h"

namespace stiltforge::check {

/// Finds what is printed without hanging together with the plate, or with a support point, by
/// pixels above each other. Takes memory for the bodies that reach up to the last layer.
class FloatingBodies {
 public:
  /// Where material begins in the air.
  struct Island {
    Spot spot;            ///< its pixel nearest to its centre
    uint32_t pixels = 0;  ///< in the layer where it begins
  };
  struct Body {
    bool isHeld = false;
    // Of a floating one only:
    Extent extent;
    std::vector<Island> islands;  ///< each of them needs a support
  };
  struct Limits {
    uint32_t layers = 0;  ///< that an island may grow before something takes it
    uint64_t pixels = 0;  ///< smaller bodies are specks
  };
  /// Something that is held takes a floating body in that layer.
  using Taken = std::function<void(const Body&, uint32_t layer)>;
  /// A floating body ends without that.
  using Lost = std::function<void(const Body&)>;

  /// standsOnPlate: whether the first regions lie on the plate.
  FloatingBodies(const Limits& limits, bool standsOnPlate, Taken taken, Lost lost)
      : limits_(limits),
        isOnPlate_(standsOnPlate),
        taken_(std::move(taken)),
        lost_(std::move(lost)) {}

  /// Takes the regions of the next layer that has any, bottom first. below: those of the last call.
  /// hasPoint: by region.
  ///
  /// Where floating bodies become one, islands of the smaller ones count no more if they are specks
  /// or grew for no more layers than the limit.
  void add(const hold::Components& regions, const hold::Components& below, uint32_t layer,
           const std::vector<uint8_t>& hasPoint);
  /// Ends all.
  void finish();

  /// Of a region of the layer last added.
  bool isFloating(uint32_t region) const { return !bodies_[bodyOf_[region]].isHeld; }

 private:
  void join(std::vector<Body*>& parts, Body& whole, uint32_t layer) const;

  Limits limits_;
  bool isOnPlate_;  // the next layer
  Taken taken_;
  Lost lost_;
  std::vector<uint32_t> bodyOf_;  // by region of the last layer
  std::vector<Body> bodies_;
};

}  // namespace stiltforge::check
