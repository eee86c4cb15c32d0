#include "node_api/pool_users.h"

#include <mutex>

#include "runtime/worker_pool.h"

namespace stiltforge::pool_users {

namespace {

std::mutex mutex;
unsigned present = 0;
unsigned everEntered = 0;

}  // namespace

unsigned enter() {
  const std::lock_guard<std::mutex> lock(mutex);
  ++present;
  return ++everEntered;
}

void leave() {
  const std::lock_guard<std::mutex> lock(mutex);
  if (--present == 0) workers::shutdown();
}

}  // namespace stiltforge::pool_users
