#pragma once

#include <cstddef>
#include <functional>

namespace stiltforge::hold {

/// Takes the candidate of the highest worth, of equal ones the first, again and again until none is
/// worth more than 0 or isEnough(). candidates: how many there are, called by their numbers. No
/// candidate is taken twice.
///
/// What a candidate is worth only falls as others are taken, so that an earlier figure is a bound
/// and few are reckoned again (M. Minoux, "Accelerated greedy algorithms for maximizing submodular
/// set functions", 1978).
void takeGreedily(std::size_t candidates, const std::function<double(std::size_t)>& worthOf,
                  const std::function<bool()>& isEnough,
                  const std::function<void(std::size_t)>& take);

}  // namespace stiltforge::hold
