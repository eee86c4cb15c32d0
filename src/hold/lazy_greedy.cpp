#include "hold/lazy_greedy.h"

#include <cstdint>
#include <queue>
#include <utility>

namespace stiltforge::hold {

void takeGreedily(std::size_t candidates, const std::function<double(std::size_t)>& worthOf,
                  const std::function<bool()>& isEnough,
                  const std::function<void(std::size_t)>& take) {
  using Bound = std::pair<double, int64_t>;  // worth, and the negative number of the candidate
  std::priority_queue<Bound> bounds;
  const auto offer = [&](std::size_t candidate, double worth) {
    if (worth > 0) bounds.push({worth, -static_cast<int64_t>(candidate)});
  };
  for (std::size_t i = 0; i < candidates; ++i) offer(i, worthOf(i));
  while (!bounds.empty() && !isEnough()) {
    const auto [bound, number] = bounds.top();
    bounds.pop();
    const auto candidate = static_cast<std::size_t>(-number);
    const double worth = worthOf(candidate);
    if (worth < bound) {
      offer(candidate, worth);
    } else {
      take(candidate);
    }
  }
}

}  // namespace stiltforge::hold
