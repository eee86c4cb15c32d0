#pragma once

#include <napi.h>

#include <memory>
#include <string>

namespace stiltforge {

struct Environment;

/// Asynchronous work on the analysis state, run by the JobQueue of its environment: one at a time,
/// in the order of the calls.
class Job : public Napi::AsyncWorker {
 public:
  Job(const Napi::Function& callback, std::shared_ptr<Environment> owner);
  ~Job() override;

  /// For the JobQueue.
  static bool start(std::unique_ptr<Job> job);

  /// What it works on, as the subject of a sentence: "the slice with layerIndex 7".
  virtual std::string subject() const = 0;

 protected:
  /// Runs on a worker thread. What it throws reaches the callback as an Error.
  virtual void work() = 0;
  /// Lets the next job start. Called on the main thread when nothing of the shared state is read
  /// any more and before the callback, so that the callback of the last job finds the module idle.
  void finished();
  /// Ends the job with the Error that tells of missing memory. Called on the main thread.
  void endWithoutMemory();

  /// Calls the callback with the Error, and with the worker's receiver, an empty object, as `this`.
  void OnError(const Napi::Error& error) override;

  const std::shared_ptr<Environment> environment;

 private:
  void Execute() final;
  void OnWorkComplete(Napi::Env env, napi_status status) final;
  std::string memoryMessage() const;

  const char* errorCode = nullptr;  // of the Error that the callback gets, where it has one
};

}  // namespace stiltforge
