#include "addon/environment.h"

#include "addon/analysis_owner.h"
#include "node_api/pool_users.h"
#include "node_api/refusal.h"

namespace stiltforge {

namespace {

struct InstanceData {
  std::shared_ptr<Environment> environment;
};

// Node-API does not tell which thread an environment belongs to; Node's own module does.
std::string threadName(Napi::Env env, uint32_t id) {
  try {
    const Napi::Object process = env.Global().Get("process").As<Napi::Object>();
    const Napi::Function getBuiltinModule = process.Get("getBuiltinModule").As<Napi::Function>();
    const Napi::Object threads =
        getBuiltinModule.Call(process, {Napi::String::New(env, "node:worker_threads")})
            .As<Napi::Object>();
    if (threads.Get("isMainThread").ToBoolean()) return "the main thread";
    return "worker thread " + threads.Get("threadId").ToString().Utf8Value();
  } catch (const Napi::Error&) {
    return "environment " + std::to_string(id) + " (in order of loading)";
  }
}

}  // namespace

void Environment::open(Napi::Env env) {
  auto environment = std::make_shared<Environment>();
  environment->id = pool_users::enter();
  env.SetInstanceData(new InstanceData{environment});
  env.AddCleanupHook([environment] { environment->close(); });

  environment->name = threadName(env, environment->id);
  environment->memory = MemoryFunctions::of(env);
}

const std::shared_ptr<Environment>& Environment::of(Napi::Env env) {
  return env.GetInstanceData<InstanceData>()->environment;
}

void Environment::requireIdle(Napi::Env env, const char* function) const {
  if (jobs.running() == nullptr) return;
  std::string message = std::string(function) + " cannot run while " + jobs.running()->subject() +
                        " is being worked on";
  if (const std::size_t waiting = jobs.waitingCount(); waiting > 0) {
    message += " and " + std::to_string(waiting) + " more " +
               (waiting == 1 ? "job waits" : "jobs wait") + " behind it";
  }
  throw refusal(env, codes::busy, message + ". Call it in the last callback or later.");
}

void Environment::close() {
  closed = true;
  jobs.dropWaiting();
  {
    // A job that executes now stops between two stages; one that has yet to begin sees `closed`.
    const std::lock_guard<std::mutex> lock(executing);
  }
  AnalysisClaim::end(*this);
  memory = {};
  pool_users::leave();
}

}  // namespace stiltforge
