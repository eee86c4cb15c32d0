#include "runtime/vector_units.h"

#if defined(__x86_64__) && defined(__GNUC__)
#include <cpuid.h>

#include <cstdint>
#endif

namespace stiltforge {

#if defined(__x86_64__) && defined(__GNUC__)

namespace {

// The registers that the operating system saves when it changes from thread to thread.
uint32_t savedRegisters() {
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

}  // namespace

// The compilers' __builtin_cpu_supports reads a variable of their runtime library, which not every
// linker puts into a shared object.
bool hasAvx2() {
  constexpr uint32_t xsaveInUse = 1U << 27;
  constexpr uint32_t avx = 1U << 28;
  constexpr uint32_t avx2 = 1U << 5;
  constexpr uint32_t vectorRegisters = 0b110;
  uint32_t a = 0;
  uint32_t b = 0;
  uint32_t c = 0;
  uint32_t d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0) return false;
  if ((c & xsaveInUse) == 0 || (c & avx) == 0) return false;
  if ((savedRegisters() & vectorRegisters) != vectorRegisters) return false;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & avx2) != 0;
}

#else

bool hasAvx2() {
  return false;
}

#endif

}  // namespace stiltforge
