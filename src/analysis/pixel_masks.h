#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace stiltforge {

/// Reads a row of RGBA pixels: bit k of solid[i] is set when pixel 64 * i + k carries material (red
/// byte not 0), and bit k of overhang[i] when besides its blue byte is below 255. Writes
/// ceil(width / 64) words each; bits beyond the width are 0.
using PixelMaskFunction = void (*)(const uint8_t* rgba, std::size_t width, uint64_t* solid,
                                   uint64_t* overhang);

/// The fastest variant that this processor runs, chosen once.
PixelMaskFunction pixelMaskFunction();

struct PixelMaskVariant {
  const char* name;
  PixelMaskFunction function;
};
/// Every variant that this processor runs, the plain one first; for tests and benchmarks.
std::vector<PixelMaskVariant> pixelMaskVariants();
/// Makes pixelMaskFunction() answer this variant; null restores the choice by processor.
void forcePixelMaskFunction(PixelMaskFunction function);

}  // namespace stiltforge
