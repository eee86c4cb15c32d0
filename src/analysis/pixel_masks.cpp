#include "analysis/pixel_masks.h"

#include <atomic>

#include "runtime/vector_units.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define STILTFORGE_X86_VECTORS 1
#include <immintrin.h>
#elif defined(__aarch64__) && defined(__GNUC__)
#define STILTFORGE_NEON 1
#include <arm_neon.h>
#endif

namespace stiltforge {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t blueByte = 2;

// The masks of up to 64 pixels.
void plainMask(const uint8_t* rgba, std::size_t n, uint64_t* solid, uint64_t* overhang) {
  uint64_t solidBits = 0;
  uint64_t unsupportedBits = 0;
  for (std::size_t k = 0; k < n; ++k) {
    solidBits |= static_cast<uint64_t>(rgba[bytesPerPixel * k] != 0) << k;
    unsupportedBits |= static_cast<uint64_t>(rgba[bytesPerPixel * k + blueByte] != 255) << k;
  }
  *solid = solidBits;
  *overhang = solidBits & unsupportedBits;
}

void plainMasks(const uint8_t* rgba, std::size_t width, uint64_t* solid, uint64_t* overhang) {
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) plainMask(rgba + bytesPerPixel * x, 64, solid++, overhang++);
  if (x < width) plainMask(rgba + bytesPerPixel * x, width - x, solid, overhang);
}

#ifdef STILTFORGE_X86_VECTORS

void sse2Masks(const uint8_t* rgba, std::size_t width, uint64_t* solid, uint64_t* overhang) {
  const __m128i red = _mm_set1_epi32(0xFF);
  const __m128i blue = _mm_set1_epi32(0xFF0000);
  const __m128i zero = _mm_setzero_si128();
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t background = 0;
    uint64_t supported = 0;
    for (std::size_t k = 0; k < 64; k += 4) {
      const __m128i v =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(rgba + bytesPerPixel * (x + k)));
      const __m128i empty = _mm_cmpeq_epi32(_mm_and_si128(v, red), zero);
      const __m128i full = _mm_cmpeq_epi32(_mm_and_si128(v, blue), blue);
      background |= static_cast<uint64_t>(_mm_movemask_ps(_mm_castsi128_ps(empty))) << k;
      supported |= static_cast<uint64_t>(_mm_movemask_ps(_mm_castsi128_ps(full))) << k;
    }
    *solid++ = ~background;
    *overhang++ = ~(background | supported);
  }
  if (x < width) plainMask(rgba + bytesPerPixel * x, width - x, solid, overhang);
}

__attribute__((target("avx2"))) void avx2Masks(const uint8_t* rgba, std::size_t width,
                                               uint64_t* solid, uint64_t* overhang) {
  const __m256i red = _mm256_set1_epi32(0xFF);
  const __m256i blue = _mm256_set1_epi32(0xFF0000);
  const __m256i zero = _mm256_setzero_si256();
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t background = 0;
    uint64_t supported = 0;
    for (std::size_t k = 0; k < 64; k += 8) {
      const __m256i v =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rgba + bytesPerPixel * (x + k)));
      const __m256i empty = _mm256_cmpeq_epi32(_mm256_and_si256(v, red), zero);
      const __m256i full = _mm256_cmpeq_epi32(_mm256_and_si256(v, blue), blue);
      background |= uint64_t{static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(empty)))}
                    << k;
      supported |= uint64_t{static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(full)))}
                   << k;
    }
    *solid++ = ~background;
    *overhang++ = ~(background | supported);
  }
  if (x < width) plainMask(rgba + bytesPerPixel * x, width - x, solid, overhang);
}

#endif

#ifdef STILTFORGE_NEON

void neonMasks(const uint8_t* rgba, std::size_t width, uint64_t* solid, uint64_t* overhang) {
  static const uint8_t weightOfLane[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  const uint8x8_t weights = vld1_u8(weightOfLane);
  const uint8x8_t full = vdup_n_u8(255);
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t material = 0;
    uint64_t supported = 0;
    for (std::size_t k = 0; k < 64; k += 8) {
      const uint8x8x4_t v = vld4_u8(rgba + bytesPerPixel * (x + k));
      const uint8x8_t isSolid = vtst_u8(v.val[0], v.val[0]);
      const uint8x8_t isSupported = vceq_u8(v.val[blueByte], full);
      material |= static_cast<uint64_t>(vaddv_u8(vand_u8(isSolid, weights))) << k;
      supported |= static_cast<uint64_t>(vaddv_u8(vand_u8(isSupported, weights))) << k;
    }
    *solid++ = material;
    *overhang++ = material & ~supported;
  }
  if (x < width) plainMask(rgba + bytesPerPixel * x, width - x, solid, overhang);
}

#endif

std::atomic<PixelMaskFunction> forced{nullptr};

}  // namespace

std::vector<PixelMaskVariant> pixelMaskVariants() {
  std::vector<PixelMaskVariant> variants{{"plain", plainMasks}};
#ifdef STILTFORGE_X86_VECTORS
  variants.push_back({"sse2", sse2Masks});
  if (hasAvx2()) variants.push_back({"avx2", avx2Masks});
#endif
#ifdef STILTFORGE_NEON
  variants.push_back({"neon", neonMasks});
#endif
  return variants;
}

void forcePixelMaskFunction(PixelMaskFunction function) {
  forced = function;
}

PixelMaskFunction pixelMaskFunction() {
  static const PixelMaskFunction best = pixelMaskVariants().back().function;
  const PixelMaskFunction chosen = forced;
  return chosen ? chosen : best;
}

}  // namespace stiltforge
