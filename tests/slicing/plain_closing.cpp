#include "slicing/plain_closing.h"

#include <algorithm>
#include <tuple>

namespace stiltforge::slicing {

std::vector<Segment> plainClosing(std::vector<OpenEnd> ends) {
  std::sort(ends.begin(), ends.end(), [](const OpenEnd& a, const OpenEnd& b) {
    return std::tie(a.at.x, a.at.y) < std::tie(b.at.x, b.at.y);
  });
  std::vector<std::tuple<double, std::size_t, std::size_t>> pairs;
  for (std::size_t end = 0; end < ends.size(); ++end) {
    for (std::size_t start = 0; start < ends.size(); ++start) {
      if (ends[end].surplus <= 0 || ends[start].surplus >= 0) continue;
      const double dx = ends[start].at.x - ends[end].at.x;
      const double dy = ends[start].at.y - ends[end].at.y;
      pairs.emplace_back(dx * dx + dy * dy, end, start);
    }
  }
  std::sort(pairs.begin(), pairs.end());
  std::vector<Segment> segments;
  for (const auto& [squaredDistance, end, start] : pairs) {
    for (; ends[end].surplus > 0 && ends[start].surplus < 0; --ends[end].surplus) {
      segments.push_back({ends[end].at, ends[start].at});
      ++ends[start].surplus;
    }
  }
  return segments;
}

}  // namespace stiltforge::slicing
