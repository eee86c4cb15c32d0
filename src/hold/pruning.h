#pragma once

#include <atomic>
#include <functional>

#include "hold/finished.h"
#include "hold/kept_points.h"

namespace stiltforge::hold {

/// Drops the points without which enough is held, the least loss first: of those that are not
/// pinned the ones that mayGo(point). Throws Cancelled soon after the flag was raised.
void dropNeedless(KeptPoints& kept, const std::function<bool(const FinishedPoint&)>& mayGo,
                  const std::atomic<bool>* cancelled);

}  // namespace stiltforge::hold
