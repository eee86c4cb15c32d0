#pragma once

#include <napi.h>

#include <stdexcept>
#include <string>

namespace stiltforge {

/// The `code` properties of the Errors that are not part of the fixed messages.
namespace codes {
inline constexpr const char* modelOpen = "ERR_STILTFORGE_MODEL_OPEN";
inline constexpr const char* busy = "ERR_STILTFORGE_BUSY";
inline constexpr const char* closed = "ERR_STILTFORGE_CLOSED";
inline constexpr const char* parameter = "ERR_STILTFORGE_PARAMETER";
inline constexpr const char* slice = "ERR_STILTFORGE_SLICE";
inline constexpr const char* index = "ERR_STILTFORGE_INDEX";
inline constexpr const char* mesh = "ERR_STILTFORGE_MESH";
inline constexpr const char* file = "ERR_STILTFORGE_FILE";
inline constexpr const char* memory = "ERR_STILTFORGE_MEMORY";
}  // namespace codes

/// A plain script Error with a code.
inline Napi::Error refusal(Napi::Env env, const char* code, const std::string& message) {
  Napi::Error error = Napi::Error::New(env, message);
  error.Set("code", Napi::String::New(env, code));
  return error;
}

/// The same, thrown by a job; its callback gets the Error.
struct JobRefusal : std::runtime_error {
  JobRefusal(const char* errorCode, const std::string& message)
      : std::runtime_error(message), code(errorCode) {}
  const char* code;
};

}  // namespace stiltforge
