#include "binding/environment.h"

#include "node_api/pool_users.h"

namespace stiltforge::binding {

void Environment::open(Napi::Env env) {
  const Napi::Value clone = env.Global().Get("structuredClone");
  env.SetInstanceData(
      new Environment{MemoryFunctions::of(env), Napi::Persistent(clone.As<Napi::Function>())});
  pool_users::enter();
  // By then its jobs are done, and no further one starts.
  env.AddCleanupHook([] { pool_users::leave(); });
}

const Environment& Environment::of(Napi::Env env) {
  return *env.GetInstanceData<Environment>();
}

}  // namespace stiltforge::binding
