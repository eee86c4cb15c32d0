#include "runtime/huge_pages.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#endif

namespace stiltforge {

#ifdef __linux__

void preferHugePages(void* block, std::size_t size) {
  constexpr std::size_t hugePage = std::size_t{2} << 20;
  if (size < 2 * hugePage) return;
  static const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t skipped = (page - start % page) % page;
  madvise(static_cast<char*>(block) + skipped, (size - skipped) / page * page, MADV_HUGEPAGE);
}

#else

void preferHugePages(void*, std::size_t) {}

#endif

}  // namespace stiltforge
