#pragma once

#include <napi.h>

#include <optional>

namespace stiltforge::binding {

/// { setting, value, range } of a conflict; undefined without one.
template <class Conflict>
Napi::Value conflictValue(Napi::Env env, const std::optional<Conflict>& conflict) {
  if (!conflict) return env.Undefined();
  Napi::Object result = Napi::Object::New(env);
  result.Set("setting", conflict->setting);
  result.Set("value", conflict->value);
  result.Set("range", conflict->range);
  return result;
}

}  // namespace stiltforge::binding
