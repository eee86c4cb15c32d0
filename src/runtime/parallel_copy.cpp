#include "runtime/parallel_copy.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "runtime/worker_pool.h"

namespace stiltforge {

void copyBytes(void* to, const void* from, std::size_t size) {
  constexpr std::size_t block = std::size_t{1} << 20;
  workers::parallelFor((size + block - 1) / block, [&](std::size_t i) {
    const std::size_t start = i * block;
    std::memcpy(static_cast<uint8_t*>(to) + start, static_cast<const uint8_t*>(from) + start,
                std::min(block, size - start));
  });
}

}  // namespace stiltforge
