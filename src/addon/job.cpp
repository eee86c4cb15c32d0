#include "addon/job.h"

#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>

#include "addon/environment.h"
#include "model/model.h"
#include "node_api/refusal.h"
#include "node_api/script_access.h"

namespace stiltforge {

Job::Job(const Napi::Function& callback, std::shared_ptr<Environment> owner)
    : Napi::AsyncWorker(callback), environment(std::move(owner)) {}

Job::~Job() {
  finished();
}

bool Job::start(std::unique_ptr<Job> job) {
  try {
    job->Queue();
  } catch (const Napi::Error&) {
    // The host accepts no work any more, which means that it is going down: no callback either.
    return false;
  }
  // AsyncWorker deletes it when it completes.
  static_cast<void>(job.release());
  return true;
}

void Job::finished() {
  environment->jobs.finished(this);
}

void Job::Execute() {
  std::lock_guard<std::mutex> lock(environment->executing);
  if (environment->closed) throw AnalysisCancelled();
  try {
    work();
  } catch (const std::bad_alloc&) {
    errorCode = codes::memory;
    throw std::runtime_error(memoryMessage());
  } catch (const JobRefusal& refused) {
    errorCode = refused.code;
    throw;
  }
}

void Job::endWithoutMemory() {
  errorCode = codes::memory;
  OnError(Napi::Error::New(Env(), memoryMessage()));
}

std::string Job::memoryMessage() const {
  return "Not enough memory for " + subject() +
         ". Use smaller slices, or free memory and start the model again.";
}

void Job::OnError(const Napi::Error& error) {
  finished();
  Napi::Object object = error.Value();
  if (errorCode) object.Set("code", Napi::String::New(Env(), errorCode));
  Callback().Call(Receiver().Value(), {object});
}

void Job::OnWorkComplete(Napi::Env env, napi_status status) {
  // A worker thread that is being terminated first waits for its running job, and would then wait
  // for every further job that it starts.
  if (!canRunScript(env)) environment->jobs.dropWaiting();
  if (environment->closed) {
    Destroy();
  } else {
    Napi::AsyncWorker::OnWorkComplete(env, status);
  }
}

}  // namespace stiltforge
