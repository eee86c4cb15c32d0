#pragma once

#include <napi.h>

#include <memory>

#include "slicing/addon/job_queue.h"
#include "slicing/mask_slicer.h"

namespace stiltforge::slicing {

/// The JavaScript class MaskSlicer; see module.cpp for what it offers.
class MaskSlicerObject : public Napi::ObjectWrap<MaskSlicerObject> {
 public:
  static Napi::Function define(Napi::Env env);

  explicit MaskSlicerObject(const Napi::CallbackInfo& info);

 private:
  Napi::Value next(const Napi::CallbackInfo& info);

  std::unique_ptr<MaskSlicer> slicer_;
  JobQueue queue_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace stiltforge::slicing
