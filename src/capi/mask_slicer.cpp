#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "capi/boundary.h"
#include "capi/filled_slices.h"
#include "capi/handles.h"
#include "capi/print_settings.h"
#include "capi/structure.h"
#include "slicing/slicing_error.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_mask_settings> =
    offsetof(stiltforge_mask_settings, threshold) + sizeof(uint32_t);

namespace {

constexpr uint32_t largestGrey = 255;

slicing::MaskSettings readMaskSettings(const stiltforge_mask_settings* masks,
                                       const PrintSettings& print) {
  const stiltforge_mask_settings given = readStructure(masks, "masks");
  const auto rest = [](uint32_t size, uint32_t whole, uint32_t begin) {
    return size == 0 && begin < whole ? whole - begin : size;
  };
  requireRange(given.threshold, "masks->threshold", 1, largestGrey);
  slicing::MaskSettings settings;
  settings.maskWidth = given.mask_width;
  settings.maskHeight = given.mask_height;
  settings.cropX = given.crop_x;
  settings.cropY = given.crop_y;
  settings.width = rest(given.width, given.mask_width, given.crop_x);
  settings.height = rest(given.height, given.mask_height, given.crop_y);
  settings.threshold = static_cast<uint8_t>(given.threshold);
  settings.channels = slicerSettings(print).channels;
  settings.channels.pixelSize = print.pixelSize;
  return settings;
}

// What the slicer refuses are the caller's settings; there is no mesh.
template <typename Body>
auto asArguments(Body&& body) {
  try {
    return body();
  } catch (const slicing::SlicingError& failure) {
    std::string message = failure.what();
    if (!message.empty() && message.back() == '.') message.pop_back();
    throw InvalidArgument(message);
  }
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_mask_settings_init(stiltforge_mask_settings* settings,
                                                stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    stiltforge_mask_settings filled{};
    filled.threshold = stiltforge::slicing::MaskSettings().threshold;
    capi::writeStructure(settings, filled, "settings");
  });
}

stiltforge_status stiltforge_mask_slicer_create(const stiltforge_mask_settings* masks,
                                                const stiltforge_print_settings* print,
                                                stiltforge_mask_slicer** slicer,
                                                stiltforge_error* error) {
  return capi::guardedCreation(__func__, slicer, "slicer", error, [&] {
    const stiltforge::PrintSettings settings = capi::readPrintSettings(print, "print");
    return capi::asArguments([&] {
      return std::make_unique<stiltforge_mask_slicer>(capi::readMaskSettings(masks, settings));
    });
  });
}

stiltforge_status stiltforge_mask_slicer_next(stiltforge_mask_slicer* slicer,
                                              const uint8_t* const* masks, size_t mask_size,
                                              uint32_t count, stiltforge_slice* const* slices,
                                              stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing cutter(slicer, "slicer");
    const std::size_t needed = cutter->slicer.maskBytes();
    if (mask_size != needed) {
      throw capi::InvalidArgument("mask_size is " + std::to_string(mask_size) + "; each mask has " +
                                  std::to_string(needed) + " bytes");
    }
    if (count > 0) capi::requireArgument(masks, "masks");
    std::vector<std::span<const uint8_t>> pictures;
    for (uint32_t i = 0; i < count; ++i) {
      capi::requireArgument(masks[i], ("masks[" + std::to_string(i) + "]").c_str());
      pictures.emplace_back(masks[i], mask_size);
    }
    capi::FilledSlices filled(slices, count);
    capi::asArguments([&] { cutter->slicer.next(pictures, filled.slices()); });
    filled.finish();
  });
}

void stiltforge_mask_slicer_destroy(stiltforge_mask_slicer* slicer) {
  capi::destroy(slicer);
}
