#include "binding/job.h"

#include <exception>
#include <new>
#include <utility>

#include "node_api/refusal.h"
#include "node_api/script_access.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

Job::~Job() {
  if (asyncWork_ != nullptr) napi_delete_async_work(env_, asyncWork_);
}

Napi::Promise Job::promise() {
  napi_value name;
  napi_value promise;
  if (napi_create_string_utf8(env_, "stiltforge", NAPI_AUTO_LENGTH, &name) != napi_ok ||
      napi_create_async_work(env_, nullptr, name, run, complete, this, &asyncWork_) != napi_ok ||
      napi_create_promise(env_, &deferred_, &promise) != napi_ok) {
    throw Napi::Error::New(env_);
  }
  return {env_, promise};
}

Napi::Promise Job::add(std::unique_ptr<Job> job, JobQueue<Job>& queue, const Napi::Object& owner) {
  Napi::Promise promise = job->promise();
  job->queue_ = &queue;
  job->owner_ = Napi::Persistent(owner);
  queue.add(std::move(job));
  return promise;
}

Napi::Promise Job::startAtOnce(std::unique_ptr<Job> job) {
  Napi::Promise promise = job->promise();
  start(std::move(job));
  return promise;
}

bool Job::start(std::unique_ptr<Job> job) {
  if (napi_queue_async_work(job->env_, job->asyncWork_) == napi_ok) {
    // complete() takes it back.
    static_cast<void>(job.release());
    return true;
  }
  if (canRunScript(job->env_)) {
    job->failure_ = {"The work could not be started on a thread."};
    job->reject(job->env_);
  }
  return false;
}

void Job::run(napi_env, void* data) {
  Job& job = *static_cast<Job*>(data);
  try {
    job.work();
  } catch (const std::bad_alloc&) {
    job.failure_ = {job.withoutMemory(), codes::memory};
  } catch (const JobRefusal& refused) {
    job.failure_ = {refused.what(), refused.code};
  } catch (const std::exception& failure) {
    job.failure_ = {failure.what()};
  }
}

void Job::complete(napi_env env, napi_status status, void* data) {
  const std::unique_ptr<Job> job(static_cast<Job*>(data));
  // The completion runs during the environment's shutdown, too; no further job may start then.
  if (status != napi_ok || !canRunScript(env)) return;
  // Before the promise is settled: the next job need not wait for its result.
  if (job->queue_ != nullptr) job->queue_->finished(job.get());
  job->settle(env);
}

void Job::settle(napi_env env) {
  if (failure_) {
    reject(env);
    return;
  }
  try {
    napi_value value = nullptr;
    if (result(env, &value) == napi_ok) {
      napi_resolve_deferred(env, deferred_, value);
      return;
    }
    bool isPending = false;
    napi_value exception = nullptr;
    if (napi_is_exception_pending(env, &isPending) == napi_ok && isPending &&
        napi_get_and_clear_last_exception(env, &exception) == napi_ok) {
      napi_reject_deferred(env, deferred_, exception);
    }
  } catch (const std::bad_alloc&) {
    failure_ = {withoutMemory(), codes::memory};
    reject(env);
  }
}

void Job::reject(napi_env env) {
  ValueMaker make(env);
  const napi_value message = make.string(failure_->message);
  const napi_value code = failure_->code ? make.string(failure_->code) : nullptr;
  napi_value error = nullptr;
  if (make.status() == napi_ok && make.check(napi_create_error(env, code, message, &error))) {
    napi_reject_deferred(env, deferred_, error);
  }
}

}  // namespace stiltforge::binding
