#pragma once

#include <napi.h>

#include <cstddef>
#include <string>

namespace stiltforge::binding {

/// A zero-filled ArrayBuffer that nobody else has. Throws an Error with `withoutMemory` when there
/// is no memory for it, where the function of Node-API would end the process.
Napi::ArrayBuffer newArrayBuffer(Napi::Env env, std::size_t bytes,
                                 const std::string& withoutMemory);

/// The same by plain Node-API calls, as the end of a job needs it. Throws std::bad_alloc.
napi_status newArrayBuffer(napi_env env, std::size_t bytes, napi_value* buffer);

/// The memory of a host's ArrayBuffer in one that nobody else has: the host's own is detached, so
/// it can neither be freed nor shrink. Throws the exception of structuredClone for a buffer that
/// can't be transferred.
Napi::ArrayBuffer takeArrayBuffer(Napi::Env env, Napi::ArrayBuffer given);

}  // namespace stiltforge::binding
