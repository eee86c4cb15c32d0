#pragma once

#include <napi.h>

#include <atomic>
#include <cstddef>
#include <memory>

#include "node_api/work_listener.h"

namespace stiltforge::binding {

/// What a job and the host that watches it share.
struct Watch {
  /// Listens by the option "listener", see WorkListener.
  explicit Watch(const Napi::Object& options);

  /// To be called by the job.
  void tell(std::size_t done, std::size_t total);

  std::atomic<std::size_t> done{0};
  std::atomic<std::size_t> total{0};
  std::atomic<bool> cancelled{false};
  WorkListener listener;
};

/// { result, progress, cancel }: the promise of the job, a function that gives how much of it is
/// done and all of it, and one that ends it.
Napi::Object watched(Napi::Env env, const std::shared_ptr<Watch>& watch,
                     const Napi::Promise& result);

}  // namespace stiltforge::binding
