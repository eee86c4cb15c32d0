#pragma once

#include <cstdint>
#include <vector>

namespace stiltforge {

/// A pixel position.
struct Site {
  uint16_t x = 0;
  uint16_t y = 0;
};

/// Samples [begin, end) of one row, all nearest to the same site.
struct SiteInterval {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t site = 0;
};

/// The samples of one row: positions [begin, end) of a list in which x ascends.
struct SampleRow {
  uint16_t y = 0;
  uint32_t begin = 0;
  uint32_t end = 0;
};

/// Assigns samples to their nearest site by squared Euclidean distance; ties go to the lower index.
///
/// Along a row the distances to all sites differ from each other by linear functions of x, so the
/// nearest sites form a lower envelope (P. Felzenszwalb, D. Huttenlocher, "Distance transforms of
/// sampled functions", 2012) whose bounds are computed in integers; a row is cut into few intervals
/// instead of comparing every sample with every site. Beyond 4096 pixels, where squares exceed what
/// single precision holds exactly, samples are compared one by one in single precision.
class NearestSite {
 public:
  /// `sites` must outlive the object and not be empty.
  explicit NearestSite(const std::vector<Site>& sites);

  /// Appends the intervals of one row, left to right.
  void assignRow(const SampleRow& row, const uint16_t* x, std::vector<SiteInterval>& intervals);

  /// (x - site.x)^2 + (y - site.y)^2 in single precision, the definition of distance here.
  static float squaredDistance(int x, int y, Site site) {
    const auto dx = static_cast<float>(x - site.x);
    const auto dy = static_cast<float>(y - site.y);
    return dx * dx + dy * dy;
  }

 private:
  struct Parabola {
    int64_t apex;      // x of the site
    int64_t constant;  // apex^2 + dy^2
    uint32_t site;
    int32_t last;  // last column at which it wins over its right neighbour
  };

  void buildEnvelope(uint16_t y);
  void assignOneByOne(const SampleRow& row, const uint16_t* x, uint32_t begin, uint32_t end,
                      std::vector<SiteInterval>& intervals) const;

  const std::vector<Site>& sites_;
  std::vector<uint32_t> byColumn_;
  std::vector<Parabola> envelope_;
};

}  // namespace stiltforge
