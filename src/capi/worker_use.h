#pragma once

#include <cstdint>

namespace stiltforge::capi {

/// Keeps the worker pool as it is while it lives. Any thread, any number at once.
class WorkerUse {
 public:
  WorkerUse();
  ~WorkerUse();
  WorkerUse(const WorkerUse&) = delete;
  WorkerUse& operator=(const WorkerUse&) = delete;
};

uint32_t workerCount();
/// Both throw a Refusal, STILTFORGE_BUSY, while there is a WorkerUse.
void setWorkerCount(uint32_t count);
void stopWorkers();

}  // namespace stiltforge::capi
