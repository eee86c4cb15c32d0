#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// (options) => { result, progress(), cancel() }: starts a search for orientations of a mesh, see
/// src/orient. result is a promise, progress() gives [done, total].
Napi::Value startOrientation(const Napi::CallbackInfo& info);

/// (positions, [x, y, z]) => the positions turned by so many degrees about x, then y, then z.
Napi::Value turnMesh(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
