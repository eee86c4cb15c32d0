#include "support/sample_record.h"

#include <algorithm>
#include <cstddef>

#include "analysis/byte_pairs.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr std::size_t spansPerPart = std::size_t{1} << 12;

template <typename T>
void appendTo(std::vector<T>& all, const std::vector<T>& part) {
  all.insert(all.end(), part.begin(), part.end());
}

}  // namespace

std::unique_ptr<SampleRecord> recordOverhang(const Layer& layer,
                                             const std::vector<OverhangSpan>& overhang) {
  auto record = std::make_unique<SampleRecord>();
  record->rows.reserve(overhang.size());
  for (const OverhangSpan& span : overhang) record->rows.push_back({span.y, span.begin, span.end});

  std::vector<std::vector<uint8_t>> parts(overhang.size() / spansPerPart + 1);
  workers::parallelFor(parts.size(), [&](std::size_t p) {
    const std::size_t end = std::min(overhang.size(), (p + 1) * spansPerPart);
    for (std::size_t s = p * spansPerPart; s < end; ++s) {
      const OverhangSpan& span = overhang[s];
      packPairs(layer.blue.data() + span.firstPixel, layer.green.data() + span.firstPixel,
                span.length(), parts[p]);
    }
  });
  for (const std::vector<uint8_t>& part : parts) appendTo(record->packed, part);
  record->packed.shrink_to_fit();
  return record;
}

}  // namespace stiltforge
