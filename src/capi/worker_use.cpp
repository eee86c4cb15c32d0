#include "capi/worker_use.h"

#include <mutex>

#include "capi/refusal.h"
#include "runtime/worker_pool.h"

namespace stiltforge::capi {

namespace {

std::mutex mutex;
int uses = 0;

void requireIdle() {
  if (uses == 0) return;
  throw Refusal(STILTFORGE_BUSY,
                "calls that use the worker threads are running; call it when they are done");
}

}  // namespace

WorkerUse::WorkerUse() {
  const std::lock_guard<std::mutex> lock(mutex);
  ++uses;
}

WorkerUse::~WorkerUse() {
  const std::lock_guard<std::mutex> lock(mutex);
  --uses;
}

uint32_t workerCount() {
  const std::lock_guard<std::mutex> lock(mutex);
  return static_cast<uint32_t>(workers::count());
}

void setWorkerCount(uint32_t count) {
  const std::lock_guard<std::mutex> lock(mutex);
  requireIdle();
  workers::setCount(static_cast<int>(count));
}

void stopWorkers() {
  const std::lock_guard<std::mutex> lock(mutex);
  requireIdle();
  workers::shutdown();
}

}  // namespace stiltforge::capi
