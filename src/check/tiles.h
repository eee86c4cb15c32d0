#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::check {

/// In which squares of a layer there are pixels of a set, so that a search around a place where
/// there are none ends at once.
class Tiles {
 public:
  /// side: pixels of a square, at least.
  Tiles(const RunRows& pixels, int side);

  /// False when no pixel lies within `columns` and `rows` of the run; may be true when none does.
  bool mayBeNear(Run run, int y, int columns, int rows) const;

 private:
  int shift_ = 2;
  int columns_ = 0;
  int rows_ = 0;
  std::vector<bool> isThere_;
};

}  // namespace stiltforge::check
