#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "addon/job.h"
#include "analysis/plane.h"
#include "analysis/slice.h"
#include "node_api/slice_result.h"

namespace stiltforge {

/// The job of one AnalyseSlice call: finds the runs of the slice, hands them to the process's model
/// and makes the result object of the layer that comes out.
class SliceWorker : public Job {
 public:
  /// `pixels`: RGBA bytes of a slice of the model's size, read here and no more. They are copied
  /// where results carry buffers, since the background comes back as it was sent.
  SliceWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
              uint16_t echoedIndex, const uint8_t* pixels);

  std::string subject() const override;

 private:
  void work() override;
  void OnOK() override;

  uint16_t layerIndex = 0;  // echoed in the result, no part of the analysis
  Slice slice;
  std::optional<SliceResultBuffers> buffers;
  Plane<uint32_t> picture;  // the slice as it was sent, for results with buffers
  LayerResult layer;
  uint16_t width = 0;
  uint16_t height = 0;
};

}  // namespace stiltforge
