#pragma once

#include <node_api.h>

namespace stiltforge {

/// Whether the environment still runs script. One that shuts down completes its jobs all the same.
inline bool canRunScript(napi_env env) {
  napi_handle_scope scope;
  if (napi_open_handle_scope(env, &scope) != napi_ok) return false;
  napi_value global;
  bool found = false;
  const bool can = napi_get_global(env, &global) == napi_ok &&
                   napi_has_named_property(env, global, "Object", &found) == napi_ok;
  napi_close_handle_scope(env, scope);
  return can;
}

}  // namespace stiltforge
