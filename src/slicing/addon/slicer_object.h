#pragma once

#include <napi.h>

#include <memory>

#include "slicing/addon/job_queue.h"
#include "slicing/slicer.h"

namespace stiltforge::slicing {

/// The JavaScript class Slicer; see module.cpp for what it offers.
class SlicerObject : public Napi::ObjectWrap<SlicerObject> {
 public:
  static Napi::Function define(Napi::Env env);

  explicit SlicerObject(const Napi::CallbackInfo& info);
  void Finalize(Napi::BasicEnv env) override;

 private:
  Napi::Value slice(const Napi::CallbackInfo& info);
  int64_t meshBytes() const;

  std::unique_ptr<Slicer> slicer_;
  JobQueue queue_;
};

}  // namespace stiltforge::slicing
