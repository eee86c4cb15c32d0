#include "binding/job.h"

#include <exception>
#include <new>
#include <utility>

namespace stiltforge::binding {

namespace {

// The completion runs during the environment's shutdown too, where every call into JavaScript fails
// and the C++ wrapper would abort on the failure of reporting that failure. Plain calls just say
// so.
bool reject(napi_env env, napi_deferred deferred, const std::string& message) {
  napi_value text;
  napi_value error;
  return napi_create_string_utf8(env, message.data(), message.size(), &text) == napi_ok &&
         napi_create_error(env, nullptr, text, &error) == napi_ok &&
         napi_reject_deferred(env, deferred, error) == napi_ok;
}

}  // namespace

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

void Job::start(std::unique_ptr<Job> job, std::function<void()> ended) {
  job->ended_ = std::move(ended);
  if (napi_queue_async_work(job->env_, job->asyncWork_) == napi_ok) {
    // complete() takes it back.
    static_cast<void>(job.release());
  } else if (reject(job->env_, job->deferred_, "The work could not be started on a thread.")) {
    job->ended_();
  }
}

void Job::run(napi_env, void* data) {
  Job& job = *static_cast<Job*>(data);
  try {
    job.work();
  } catch (const std::bad_alloc&) {
    job.error_ = job.withoutMemory();
  } catch (const std::exception& failure) {
    job.error_ = failure.what();
  }
}

void Job::complete(napi_env env, napi_status status, void* data) {
  const std::unique_ptr<Job> job(static_cast<Job*>(data));
  if (status == napi_ok && job->settle(env)) job->ended_();
}

bool Job::settle(napi_env env) {
  if (!error_.empty()) return reject(env, deferred_, error_);
  napi_value value;
  return result(env, &value) == napi_ok && napi_resolve_deferred(env, deferred_, value) == napi_ok;
}

}  // namespace stiltforge::binding
