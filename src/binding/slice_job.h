#pragma once

#include <napi.h>

#include <cstdint>
#include <functional>

#include "binding/job.h"
#include "node_api/host_memory.h"
#include "slicing/slice_info.h"

namespace stiltforge::binding {

/// Fills the pixels of one slice and promises { pixels, materialPixels, z }. The pixels are an
/// ArrayBuffer that the host can't reach before, so that it can't shrink, transfer or free it.
class SliceJob : public Job {
 public:
  /// recycled: undefined, or an ArrayBuffer whose memory is taken from the host and filled again.
  /// `fill` writes width * height * 4 bytes. Throws an Error that says what to do when the buffer
  /// does not fit or there is no memory for a new one.
  SliceJob(Napi::Env env, int width, int height, Napi::Value recycled,
           std::function<slicing::SliceInfo(uint8_t* rgba)> fill);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::function<slicing::SliceInfo(uint8_t* rgba)> fill_;
  HostBlock pixels_;
  slicing::SliceInfo info_;
};

}  // namespace stiltforge::binding
