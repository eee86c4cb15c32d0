#include "support/nearest_site.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace stiltforge {

namespace {

// Squared distances below this are exact in single precision.
constexpr float exactSquares = 16777216.0f;
constexpr int32_t beforeEverything = -1;

// The last column at which the left parabola is lower than the right one, or equal with the lower
// index. The quotient of these integers in double precision truncates exactly.
template <typename P>
int32_t lastColumnOf(const P& left, const P& right) {
  const int64_t tie = left.site < right.site ? 0 : 1;
  const int64_t numerator = right.constant - left.constant - tie;
  if (numerator < 0) return beforeEverything;
  const int64_t denominator = 2 * (right.apex - left.apex);
  const double quotient = static_cast<double>(numerator) / static_cast<double>(denominator);
  return static_cast<int32_t>(std::min(quotient, 65536.0));
}

}  // namespace

NearestSite::NearestSite(const std::vector<Site>& sites) : sites_(sites), byColumn_(sites.size()) {
  std::iota(byColumn_.begin(), byColumn_.end(), 0);
  std::sort(byColumn_.begin(), byColumn_.end(), [&](uint32_t a, uint32_t b) {
    return sites[a].x != sites[b].x ? sites[a].x < sites[b].x : a < b;
  });
  envelope_.reserve(sites.size());
}

void NearestSite::buildEnvelope(uint16_t y) {
  envelope_.clear();
  for (const uint32_t site : byColumn_) {
    const int64_t x = sites_[site].x;
    const int64_t dy = int64_t{y} - sites_[site].y;
    const Parabola next{x, x * x + dy * dy, site, std::numeric_limits<int32_t>::max()};
    if (!envelope_.empty() && envelope_.back().apex == x) {
      // Same column, so the order by index has put the lower index first.
      if (envelope_.back().constant <= next.constant) continue;
      envelope_.pop_back();
    }
    int32_t boundary = beforeEverything;
    while (!envelope_.empty()) {
      boundary = lastColumnOf(envelope_.back(), next);
      const int32_t begin =
          envelope_.size() > 1 ? envelope_[envelope_.size() - 2].last : beforeEverything;
      if (boundary > begin) break;
      envelope_.pop_back();
    }
    if (!envelope_.empty()) envelope_.back().last = boundary;
    envelope_.push_back(next);
  }
}

void NearestSite::assignOneByOne(const SampleRow& row, const uint16_t* x, uint32_t begin,
                                 uint32_t end, std::vector<SiteInterval>& intervals) const {
  for (uint32_t s = begin; s < end; ++s) {
    uint32_t best = 0;
    float bestDistance = std::numeric_limits<float>::infinity();
    for (uint32_t i = 0; i < sites_.size(); ++i) {
      const float distance = squaredDistance(x[s], row.y, sites_[i]);
      if (distance < bestDistance) {
        bestDistance = distance;
        best = i;
      }
    }
    intervals.push_back({s, s + 1, best});
  }
}

void NearestSite::assignRow(const SampleRow& row, const uint16_t* x,
                            std::vector<SiteInterval>& intervals) {
  buildEnvelope(row.y);
  uint32_t begin = row.begin;
  for (const Parabola& parabola : envelope_) {
    if (begin == row.end) break;
    if (x[begin] > parabola.last) continue;
    const uint32_t end =
        parabola.last > std::numeric_limits<uint16_t>::max()
            ? row.end
            : static_cast<uint32_t>(
                  std::upper_bound(x + begin, x + row.end, static_cast<uint16_t>(parabola.last)) -
                  x);
    const Site site = sites_[parabola.site];
    const float farthest =
        std::max(squaredDistance(x[begin], row.y, site), squaredDistance(x[end - 1], row.y, site));
    if (farthest < exactSquares) {
      intervals.push_back({begin, end, parabola.site});
    } else {
      assignOneByOne(row, x, begin, end, intervals);
    }
    begin = end;
  }
}

}  // namespace stiltforge
