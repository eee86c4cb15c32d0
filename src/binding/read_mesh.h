#pragma once

#include <napi.h>

namespace stiltforge::binding {

// readMesh(source, options?) => Promise<Mesh>; packages/cli/src/slicer.ts declares it. Refused
// arguments reject the promise.
Napi::Value readMesh(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
