#pragma once

#include <napi.h>

#include <memory>
#include <optional>
#include <string>

#include "node_api/job_queue.h"

namespace stiltforge::binding {

/// Work of a promise, done on one of Node's worker threads. The host's memory and JavaScript are
/// out of its reach there: whatever it reads is copied before it starts, whatever it makes is
/// handed over when it is done.
class Job {
 public:
  explicit Job(Napi::Env env) : env_(env) {}
  virtual ~Job();
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  /// Queues the job and returns the promise that it settles. `owner`, the object that holds the
  /// queue and what the job uses, stays alive until then.
  static Napi::Promise add(std::unique_ptr<Job> job, JobQueue<Job>& queue,
                           const Napi::Object& owner);
  /// The same without a queue: the job starts at once, beside any others.
  static Napi::Promise startAtOnce(std::unique_ptr<Job> job);
  /// For the JobQueue.
  static bool start(std::unique_ptr<Job> job);

 protected:
  Napi::Env env() const { return env_; }

  /// Runs on a worker thread. What it throws becomes the promise's rejection, with the code of a
  /// JobRefusal.
  virtual void work() = 0;
  /// What the promise resolves to, asked for after work() on the environment's own thread, while
  /// the next job of the queue may be at work. Plain Node-API calls only: when the environment
  /// shuts down each of them fails, and so does this. May throw std::bad_alloc.
  virtual napi_status result(napi_env env, napi_value* value) = 0;
  /// The sentence of the rejection when memory runs out.
  virtual const char* withoutMemory() const = 0;

 private:
  struct Failure {
    std::string message;
    const char* code = nullptr;
  };

  Napi::Promise promise();
  static void run(napi_env env, void* data);
  static void complete(napi_env env, napi_status status, void* data);
  void settle(napi_env env);
  void reject(napi_env env);

  napi_env env_;
  napi_deferred deferred_ = nullptr;
  napi_async_work asyncWork_ = nullptr;
  JobQueue<Job>* queue_ = nullptr;
  Napi::ObjectReference owner_;  // of the queue
  std::optional<Failure> failure_;
};

}  // namespace stiltforge::binding
