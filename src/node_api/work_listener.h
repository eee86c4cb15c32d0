#pragma once

#include <napi.h>

namespace stiltforge {

/// A function of the host that hears of a job while it is at work, where jobs run on the host's own
/// thread: nothing else of the host runs then. Elsewhere it is never called, and the host looks
/// when it likes. Implemented twice, as the host's memory: work_listener.cpp, and src/wasm.
class WorkListener {
 public:
  /// value: a function, or anything else for none.
  explicit WorkListener(const Napi::Value& value);

  /// To be called by the job. What the function throws is dropped.
  void tell(double done, double total) const;

 private:
  Napi::FunctionReference listener_;
};

}  // namespace stiltforge
