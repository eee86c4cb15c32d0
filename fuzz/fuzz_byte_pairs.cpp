// Pairs with stretches of any length come back as they were, however they are read.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "analysis/byte_pairs.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  std::vector<uint8_t> packed;
  std::vector<uint8_t> first;
  std::vector<uint8_t> second;
  std::size_t start = 0;
  while (input.remaining_bytes() > 4 && first.size() < (1u << 18)) {
    const auto length = input.ConsumeBool() ? input.ConsumeIntegral<uint16_t>()
                                            : input.ConsumeIntegralInRange<uint16_t>(0, 6);
    first.insert(first.end(), length, input.ConsumeIntegral<uint8_t>());
    second.insert(second.end(), length, input.ConsumeIntegral<uint8_t>());
    if (!input.ConsumeBool()) continue;
    stiltforge::packPairs(first.data() + start, second.data() + start, first.size() - start,
                          packed);
    start = first.size();
  }
  stiltforge::packPairs(first.data() + start, second.data() + start, first.size() - start, packed);
  packed.shrink_to_fit();

  stiltforge::PairReader reader(packed);
  uint32_t state = static_cast<uint32_t>(size) * 2654435761u + 1;
  for (std::size_t i = 0; i < first.size();) {
    state = state * 1664525u + 1013904223u;
    const std::size_t n = std::min<std::size_t>(first.size() - i, (state >> 8) % 5000);
    std::vector<uint8_t> blue(n);
    std::vector<uint8_t> green(n);
    reader.read(blue.data(), green.data(), n);
    require(
        std::equal(blue.begin(), blue.end(), first.begin() + static_cast<std::ptrdiff_t>(i)) &&
            std::equal(green.begin(), green.end(), second.begin() + static_cast<std::ptrdiff_t>(i)),
        "the pairs came back changed");
    i += n;
  }
  return 0;
}
