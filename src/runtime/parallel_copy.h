#pragma once

#include <cstddef>

namespace stiltforge {

/// memcpy spread over the caller and the idle workers.
void copyBytes(void* to, const void* from, std::size_t size);

}  // namespace stiltforge
