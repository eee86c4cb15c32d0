#pragma once

#include <napi.h>

#include "node_api/result_buffer.h"

namespace stiltforge::binding {

/// What is kept for each environment that has loaded the module: functions of its own, as they were
/// before a host could replace them.
struct Environment {
  /// Creates the record of `env`, which ends with it.
  static void open(Napi::Env env);
  static const Environment& of(Napi::Env env);

  MemoryFunctions memory;
  Napi::FunctionReference structuredClone;
};

}  // namespace stiltforge::binding
