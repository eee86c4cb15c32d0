#pragma once

#include <span>
#include <vector>

#include "orient/directions.h"

namespace stiltforge::orient {

/// The surface of a part that faces a direction, within 60 degrees, and is to carry no marks.
class MarkedSide {
 public:
  /// direction: of any length above 0. criticalAngle: degrees between the plate and a surface that
  /// just carries itself.
  MarkedSide(std::span<const float> positions, const Vector& direction, double criticalAngle);

  /// mm2 of it that lie on the plate or need supports when this direction of the part, of length 1,
  /// points to the plate.
  double areaFor(const Vector& down) const;

 private:
  struct Patch {
    Vector normal;
    double area;
  };

  double leastCosine_;
  std::vector<Patch> patches_;
};

}  // namespace stiltforge::orient
