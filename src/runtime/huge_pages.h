#pragma once

#include <cstddef>

namespace stiltforge {

/// Asks the operating system to back a large block that will be written whole by large pages: fresh
/// memory otherwise costs one page fault for every 4 KiB, more than what is written there. A hint;
/// nothing but speed depends on it.
void preferHugePages(void* block, std::size_t size);

}  // namespace stiltforge
