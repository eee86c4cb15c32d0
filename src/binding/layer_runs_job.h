#pragma once

#include <napi.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/layer.h"
#include "binding/job.h"
#include "binding/shared_slicer.h"

namespace stiltforge::binding {

/// Slices some layers and promises their runs with the regions that the runs belong to, an array of
/// LabelledRuns; packages/stiltforge/src/sliced_layer.ts declares them.
class LayerRunsJob : public Job {
 public:
  /// Layers [first, first + count) of the slicer, at least one.
  LayerRunsJob(Napi::Env env, std::shared_ptr<SharedSlicer> slicer, uint32_t first, uint32_t count);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<SharedSlicer> slicer_;
  uint32_t first_;
  std::vector<Layer> layers_;
};

}  // namespace stiltforge::binding
