#include "binding/cancelled.h"

namespace stiltforge::binding {

Cancelled cancelledBy(Napi::Env env, const Napi::Value& signal) {
  auto cancelled = std::make_shared<std::atomic<bool>>(false);
  if (signal.IsUndefined()) return cancelled;
  const Napi::Value listen =
      signal.IsObject() ? signal.As<Napi::Object>().Get("addEventListener") : env.Undefined();
  if (!listen.IsFunction()) {
    throw Napi::TypeError::New(env, "The option \"signal\" must be an AbortSignal.");
  }
  *cancelled = signal.As<Napi::Object>().Get("aborted").ToBoolean();
  listen.As<Napi::Function>().Call(
      signal,
      {Napi::String::New(env, "abort"),
       Napi::Function::New(env, [cancelled](const Napi::CallbackInfo&) { *cancelled = true; })});
  return cancelled;
}

}  // namespace stiltforge::binding
