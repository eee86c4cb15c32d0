#include "binding/job_queue.h"

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace stiltforge::binding {

struct JobQueue::Job {
  Job(JobQueue& q, Napi::Object ownerObject, Napi::ArrayBuffer pixelBuffer, Napi::Value inputValue,
      std::function<slicing::SliceInfo()> function)
      : queue(q), env(ownerObject.Env()), work(std::move(function)) {
    Napi::Object kept = Napi::Object::New(env);
    kept["owner"] = ownerObject;
    kept["pixels"] = pixelBuffer;
    kept["input"] = inputValue;
    alive = Napi::Persistent(kept);
  }
  ~Job() {
    if (asyncWork != nullptr) napi_delete_async_work(env, asyncWork);
  }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  JobQueue& queue;
  Napi::Env env;
  std::function<slicing::SliceInfo()> work;
  Napi::ObjectReference alive;
  napi_deferred deferred = nullptr;
  napi_async_work asyncWork = nullptr;
  slicing::SliceInfo info;
  std::string error;
};

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

bool setNumber(napi_env env, napi_value object, const char* name, double value) {
  napi_value number;
  return napi_create_double(env, value, &number) == napi_ok &&
         napi_set_named_property(env, object, name, number) == napi_ok;
}

bool resolve(napi_env env, napi_deferred deferred, napi_value kept,
             const slicing::SliceInfo& info) {
  napi_value pixels;
  napi_value result;
  return napi_get_named_property(env, kept, "pixels", &pixels) == napi_ok &&
         napi_create_object(env, &result) == napi_ok &&
         napi_set_named_property(env, result, "pixels", pixels) == napi_ok &&
         setNumber(env, result, "materialPixels", static_cast<double>(info.materialPixels)) &&
         setNumber(env, result, "z", info.z) &&
         napi_resolve_deferred(env, deferred, result) == napi_ok;
}

}  // namespace

JobQueue::JobQueue() = default;
JobQueue::~JobQueue() = default;

Napi::Promise JobQueue::add(Napi::Object owner, Napi::ArrayBuffer pixels, Napi::Value input,
                            std::function<slicing::SliceInfo()> work) {
  const Napi::Env env = owner.Env();
  auto job = std::make_unique<Job>(*this, owner, pixels, input, std::move(work));
  napi_value name;
  napi_value promise;
  if (napi_create_string_utf8(env, "stiltforge:slice", NAPI_AUTO_LENGTH, &name) != napi_ok ||
      napi_create_async_work(env, nullptr, name, run, complete, job.get(), &job->asyncWork) !=
          napi_ok ||
      napi_create_promise(env, &job->deferred, &promise) != napi_ok) {
    throw Napi::Error::New(env);
  }
  waiting_.push_back(std::move(job));
  if (!running_) startNext();
  return {env, promise};
}

void JobQueue::startNext() {
  while (!running_ && !waiting_.empty()) {
    std::unique_ptr<Job> job = std::move(waiting_.front());
    waiting_.pop_front();
    if (napi_queue_async_work(job->env, job->asyncWork) == napi_ok) {
      running_ = true;
      // complete() takes it back.
      static_cast<void>(job.release());
    } else {
      reject(job->env, job->deferred, "The slice could not be started on a worker thread.");
    }
  }
}

void JobQueue::run(napi_env, void* data) {
  Job& job = *static_cast<Job*>(data);
  try {
    job.info = job.work();
  } catch (const std::bad_alloc&) {
    job.error = "There is not enough memory to compute the slice.";
  } catch (const std::exception& failure) {
    job.error = failure.what();
  }
}

void JobQueue::complete(napi_env env, napi_status status, void* data) {
  const std::unique_ptr<Job> job(static_cast<Job*>(data));
  job->queue.running_ = false;
  if (status != napi_ok) return;
  napi_value kept;
  const bool settled = napi_get_reference_value(env, job->alive, &kept) == napi_ok &&
                       (job->error.empty() ? resolve(env, job->deferred, kept, job->info)
                                           : reject(env, job->deferred, job->error));
  // Nobody is left to wait for the rest when the environment shuts down.
  if (settled) job->queue.startNext();
}

}  // namespace stiltforge::binding
