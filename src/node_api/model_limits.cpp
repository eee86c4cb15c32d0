#include "node_api/model_limits.h"

#include <algorithm>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

#include "node_api/refusal.h"

namespace stiltforge {

namespace {

std::string text(const SliceSize& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

}  // namespace

void requireCountable(Napi::Env env, const SliceSize& size) {
  // Pixels are counted in signed 32-bit numbers, and a slice's bytes, a few a pixel, by addresses.
  constexpr std::size_t most = std::min<std::size_t>(std::numeric_limits<int32_t>::max(),
                                                     std::numeric_limits<std::size_t>::max() / 16);
  if (size.pixels() <= most) return;
  throw refusal(env, codes::parameter,
                "A slice of " + text(size) +
                    " pixels is too large: width times height may be at most " +
                    std::to_string(most) + ".");
}

Plane<uint32_t> reserveMarkers(Napi::Env env, const SliceSize& size) {
  try {
    return Plane<uint32_t>(size.pixels());
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "Not enough memory for slices of " + text(size) +
                      " pixels: the top-pixel buffer alone needs " +
                      std::to_string(size.pixels() * 4) +
                      " bytes. Use a smaller image, or needBuffer false.");
  }
}

void reserveGhostSpread(Napi::Env env, float radius, const std::function<void()>& reserve) {
  try {
    reserve();
  } catch (const std::bad_alloc&) {
    std::ostringstream message;
    message << "Not enough memory for the spread table of ghostRadius " << radius << ".";
    throw refusal(env, codes::memory, message.str());
  } catch (const std::length_error& tooLarge) {
    throw refusal(env, codes::parameter, tooLarge.what());
  }
}

}  // namespace stiltforge
