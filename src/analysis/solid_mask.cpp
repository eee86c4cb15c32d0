#include "analysis/solid_mask.h"

#include <atomic>

#if defined(__x86_64__) && defined(__GNUC__)
#define STILTFORGE_X86_VECTORS 1
#include <immintrin.h>
#elif defined(__aarch64__) && defined(__GNUC__)
#define STILTFORGE_NEON 1
#include <arm_neon.h>
#endif

namespace stiltforge {

namespace {

uint64_t plainMask(const uint32_t* pixels, std::size_t n) {
  uint64_t mask = 0;
  for (std::size_t k = 0; k < n; ++k) mask |= static_cast<uint64_t>((pixels[k] & 0xFF) != 0) << k;
  return mask;
}

void plainMasks(const uint32_t* row, std::size_t width, uint64_t* masks) {
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) *masks++ = plainMask(row + x, 64);
  if (x < width) *masks = plainMask(row + x, width - x);
}

#ifdef STILTFORGE_X86_VECTORS

void sse2Masks(const uint32_t* row, std::size_t width, uint64_t* masks) {
  const __m128i red = _mm_set1_epi32(0xFF);
  const __m128i zero = _mm_setzero_si128();
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t background = 0;
    for (int k = 0; k < 64; k += 4) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x + k));
      const __m128i empty = _mm_cmpeq_epi32(_mm_and_si128(v, red), zero);
      background |= static_cast<uint64_t>(_mm_movemask_ps(_mm_castsi128_ps(empty))) << k;
    }
    *masks++ = ~background;
  }
  if (x < width) *masks = plainMask(row + x, width - x);
}

__attribute__((target("avx2"))) void avx2Masks(const uint32_t* row, std::size_t width,
                                               uint64_t* masks) {
  const __m256i red = _mm256_set1_epi32(0xFF);
  const __m256i zero = _mm256_setzero_si256();
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t background = 0;
    for (int k = 0; k < 64; k += 8) {
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x + k));
      const __m256i empty = _mm256_cmpeq_epi32(_mm256_and_si256(v, red), zero);
      const auto bits = static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(empty)));
      background |= static_cast<uint64_t>(bits) << k;
    }
    *masks++ = ~background;
  }
  if (x < width) *masks = plainMask(row + x, width - x);
}

#endif

#ifdef STILTFORGE_NEON

void neonMasks(const uint32_t* row, std::size_t width, uint64_t* masks) {
  static const uint8_t weightOfLane[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  const uint8x8_t weights = vld1_u8(weightOfLane);
  const uint32x4_t red = vdupq_n_u32(0xFF);
  std::size_t x = 0;
  for (; x + 64 <= width; x += 64) {
    uint64_t mask = 0;
    for (int k = 0; k < 64; k += 8) {
      const uint32x4_t low = vtstq_u32(vld1q_u32(row + x + k), red);
      const uint32x4_t high = vtstq_u32(vld1q_u32(row + x + k + 4), red);
      const uint8x8_t solid = vmovn_u16(vcombine_u16(vmovn_u32(low), vmovn_u32(high)));
      mask |= static_cast<uint64_t>(vaddv_u8(vand_u8(solid, weights))) << k;
    }
    *masks++ = mask;
  }
  if (x < width) *masks = plainMask(row + x, width - x);
}

#endif

std::atomic<SolidMaskFunction> forced{nullptr};

}  // namespace

std::vector<SolidMaskVariant> solidMaskVariants() {
  std::vector<SolidMaskVariant> variants{{"plain", plainMasks}};
#ifdef STILTFORGE_X86_VECTORS
  variants.push_back({"sse2", sse2Masks});
  if (__builtin_cpu_supports("avx2")) variants.push_back({"avx2", avx2Masks});
#endif
#ifdef STILTFORGE_NEON
  variants.push_back({"neon", neonMasks});
#endif
  return variants;
}

void forceSolidMaskFunction(SolidMaskFunction function) {
  forced = function;
}

SolidMaskFunction solidMaskFunction() {
  static const SolidMaskFunction best = solidMaskVariants().back().function;
  const SolidMaskFunction chosen = forced;
  return chosen ? chosen : best;
}

}  // namespace stiltforge
