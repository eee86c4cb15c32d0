#pragma once

#include <napi.h>

#include <atomic>
#include <memory>

namespace stiltforge::binding {

/// Set once a host wants an end.
using Cancelled = std::shared_ptr<std::atomic<bool>>;

/// Follows an AbortSignal, the option "signal", from now on; undefined stands for none. Throws a
/// TypeError when it is something else.
Cancelled cancelledBy(Napi::Env env, const Napi::Value& signal);

}  // namespace stiltforge::binding
