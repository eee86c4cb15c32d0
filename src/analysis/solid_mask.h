#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace stiltforge {

/// Bit k of masks[i] is set when pixel 64 * i + k of the row carries material (red byte not 0).
/// Writes ceil(width / 64) words; bits beyond the width are 0.
using SolidMaskFunction = void (*)(const uint32_t* row, std::size_t width, uint64_t* masks);

/// The fastest variant that this processor runs, chosen once.
SolidMaskFunction solidMaskFunction();

struct SolidMaskVariant {
  const char* name;
  SolidMaskFunction function;
};
/// Every variant that this processor runs, the plain one first; for tests and benchmarks.
std::vector<SolidMaskVariant> solidMaskVariants();
/// Makes solidMaskFunction() answer this variant; null restores the choice by processor.
void forceSolidMaskFunction(SolidMaskFunction function);

}  // namespace stiltforge
