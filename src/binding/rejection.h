#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// The promise that `start` makes, or one rejected by what it throws: callers of a function that
/// promises look for errors in one place.
template <class Start>
Napi::Promise rejectOnError(Napi::Env env, Start&& start) {
  try {
    return start();
  } catch (const Napi::Error& error) {
    const Napi::Promise::Deferred deferred(env);
    deferred.Reject(error.Value());
    return deferred.Promise();
  }
}

}  // namespace stiltforge::binding
