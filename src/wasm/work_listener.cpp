// Jobs of a module in WebAssembly run on the host's own thread.

#include "node_api/work_listener.h"

#include <array>

namespace stiltforge {

WorkListener::WorkListener(const Napi::Value& value) {
  if (value.IsFunction()) listener_ = Napi::Persistent(value.As<Napi::Function>());
}

void WorkListener::tell(double done, double total) const {
  if (listener_.IsEmpty()) return;
  const Napi::Env env = listener_.Env();
  const Napi::HandleScope scope(env);
  napi_value listener = nullptr;
  napi_value receiver = nullptr;
  std::array<napi_value, 2> words{};
  const bool isCalled =
      napi_get_reference_value(env, listener_, &listener) == napi_ok &&
      napi_get_undefined(env, &receiver) == napi_ok &&
      napi_create_double(env, done, words.data()) == napi_ok &&
      napi_create_double(env, total, &words[1]) == napi_ok &&
      napi_call_function(env, receiver, listener, words.size(), words.data(), nullptr) == napi_ok;
  napi_value dropped = nullptr;
  if (!isCalled) napi_get_and_clear_last_exception(env, &dropped);
}

}  // namespace stiltforge
