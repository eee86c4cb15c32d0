#pragma once

#include "digest.h"

namespace stiltforge::digest {

// The supports of the sliced model as geometry, without a raft and on one.
void addBuilt(Digest& digest);

}  // namespace stiltforge::digest
