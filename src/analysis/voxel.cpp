#include "analysis/voxel.h"

#include <ostream>

namespace stiltforge {

std::ostream& operator<<(std::ostream& out, const Voxel& voxel) {
  return out << '(' << static_cast<double>(voxel.score) << ')';
}

}  // namespace stiltforge
