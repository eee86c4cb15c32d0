#pragma once

#include <napi.h>

namespace stiltforge::binding {

// readMesh(source, options?) => Promise<Mesh>; packages/stiltforge/src/slicing.ts declares it.
// Refused arguments reject the promise.
Napi::Value readMesh(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
