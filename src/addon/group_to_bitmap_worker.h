#pragma once

#include <napi.h>

#include <cstdint>
#include <memory>
#include <string>

#include "addon/job.h"
#include "support/group_images.h"

namespace stiltforge {

/// The job of one GroupToBitmap call. Its callback gets the images sample, ghost, angle, score,
/// scoreSupport, support, stroke and combined as Buffers of width * height RGBA pixels, then the
/// width and the height; or an Error when there is no such group.
class GroupToBitmapWorker : public Job {
 public:
  GroupToBitmapWorker(const Napi::Function& callback, std::shared_ptr<Environment> owner,
                      uint16_t layer, uint32_t group);

  std::string subject() const override;

 private:
  void work() override;
  void OnOK() override;

  uint16_t layerIndex = 0;
  uint32_t groupIndex = 0;
  GroupImages rendered;
};

}  // namespace stiltforge
