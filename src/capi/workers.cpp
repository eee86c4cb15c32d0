#include "capi/boundary.h"
#include "capi/refusal.h"
#include "capi/worker_use.h"
#include "stiltforge/stiltforge.h"

namespace capi = stiltforge::capi;

namespace {

constexpr uint32_t mostWorkers = 1024;

}  // namespace

uint32_t stiltforge_worker_count(void) {
  return capi::workerCount();
}

stiltforge_status stiltforge_set_worker_count(uint32_t count, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireRange(count, "count", 1, mostWorkers);
    capi::setWorkerCount(count);
  });
}

stiltforge_status stiltforge_stop_workers(stiltforge_error* error) {
  return capi::guarded(__func__, error, [] { capi::stopWorkers(); });
}
