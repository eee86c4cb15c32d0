#include "binding/watch.h"

namespace stiltforge::binding {

Watch::Watch(const Napi::Object& options) : listener(options.Get("listener")) {}

void Watch::tell(std::size_t nowDone, std::size_t nowTotal) {
  total = nowTotal;
  done = nowDone;
  listener.tell(static_cast<double>(nowDone), static_cast<double>(nowTotal));
}

Napi::Object watched(Napi::Env env, const std::shared_ptr<Watch>& watch,
                     const Napi::Promise& result) {
  Napi::Object object = Napi::Object::New(env);
  object.Set("progress", Napi::Function::New(
                             env,
                             [watch](const Napi::CallbackInfo& call) {
                               Napi::Array progress = Napi::Array::New(call.Env(), 2);
                               progress.Set(0U, static_cast<double>(watch->done));
                               progress.Set(1U, static_cast<double>(watch->total));
                               return progress;
                             },
                             "progress"));
  object.Set("cancel",
             Napi::Function::New(
                 env, [watch](const Napi::CallbackInfo&) { watch->cancelled = true; }, "cancel"));
  object.Set("result", result);
  return object;
}

}  // namespace stiltforge::binding
