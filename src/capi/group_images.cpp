#include <cstddef>
#include <memory>
#include <string>

#include "capi/boundary.h"
#include "capi/handles.h"

static_assert(int{STILTFORGE_IMAGE_SAMPLE} == int{stiltforge::GroupImages::sample});
static_assert(int{STILTFORGE_IMAGE_COMBINED} == int{stiltforge::GroupImages::combined});
static_assert(int{STILTFORGE_IMAGE_COUNT} == int{stiltforge::GroupImages::imageCount});

namespace capi = stiltforge::capi;

namespace {

const stiltforge::GroupImages* imagesOf(const stiltforge_group_images* images) {
  return images && images->isOf(stiltforge_group_images::kind) ? &images->images : nullptr;
}

}  // namespace

stiltforge_status stiltforge_model_create_group_images(stiltforge_model* model, uint32_t layer,
                                                       uint32_t group,
                                                       stiltforge_group_images** images,
                                                       stiltforge_error* error) {
  return capi::guardedCreation(__func__, images, "images", error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing read(model, "model");
    const uint32_t layers = read->layerCount;
    if (layer >= layers) {
      throw capi::InvalidArgument("layer is " + std::to_string(layer) + "; the model has " +
                                  std::to_string(layers) + " layers, counted from 0");
    }
    const std::size_t groups = read->model.layers()[layer].groupEntries() - 1;
    if (group < 1 || group > groups) {
      throw capi::InvalidArgument("group is " + std::to_string(group) + "; layer " +
                                  std::to_string(layer) + " has " + std::to_string(groups) +
                                  " groups, counted from 1");
    }
    return std::make_unique<stiltforge_group_images>(read->model.renderGroup(layer, group));
  });
}

uint32_t stiltforge_group_images_width(const stiltforge_group_images* images) {
  return imagesOf(images) ? imagesOf(images)->width : 0;
}

uint32_t stiltforge_group_images_height(const stiltforge_group_images* images) {
  return imagesOf(images) ? imagesOf(images)->height : 0;
}

const uint8_t* stiltforge_group_images_pixels(const stiltforge_group_images* images,
                                              int32_t image) {
  if (!imagesOf(images) || image < 0 || image >= STILTFORGE_IMAGE_COUNT) return nullptr;
  return imagesOf(images)->images[static_cast<std::size_t>(image)].data();
}

void stiltforge_group_images_destroy(stiltforge_group_images* images) {
  capi::destroy(images);
}
