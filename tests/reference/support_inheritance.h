#pragma once

#include <cstdint>

#include "reference/slice_model.h"

namespace stiltforge::reference {

// Carries the supports and the inherited supports of every lower group that `group` rests on into
// its ghostSupports, lower groups in ascending id, inherited ones first, each once, at most
// maxGhost. A limit of 0 or less refuses each.
void inheritSupports(Group& group, const Layer& previousLayer, int32_t maxGhost);

}  // namespace stiltforge::reference
