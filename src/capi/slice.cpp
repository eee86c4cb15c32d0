#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include "analysis/run_extraction.h"
#include "analysis/slice_from_runs.h"
#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/slice_size.h"
#include "capi/structure.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_slice_info> = offsetof(stiltforge_slice_info,
                                                                         overhang_pixels) +
                                                                sizeof(uint64_t);

namespace {

HostRuns hostRuns(const stiltforge_runs& runs, uint32_t height, const std::string& name) {
  requireArgument(runs.row_start, (name + ".row_start").c_str());
  if (runs.run_count != runs.row_start[height]) {
    throw InvalidArgument(name + ".run_count is " + std::to_string(runs.run_count) + ", but its " +
                          "row_start ends with " + std::to_string(runs.row_start[height]));
  }
  if (runs.run_count > 0) {
    requireArgument(runs.begin, (name + ".begin").c_str());
    requireArgument(runs.end, (name + ".end").c_str());
  }
  return {{runs.row_start, std::size_t{height} + 1},
          {runs.begin, runs.run_count},
          {runs.end, runs.run_count}};
}

HostOverhang hostOverhang(const stiltforge_overhang& overhang, uint32_t height) {
  if (overhang.pixel_count > 0) {
    requireArgument(overhang.blue, "overhang->blue");
    requireArgument(overhang.green, "overhang->green");
  }
  return {hostRuns(overhang.runs, height, "overhang->runs"),
          {overhang.blue, overhang.pixel_count},
          {overhang.green, overhang.pixel_count}};
}

void requireCapacity(std::size_t capacity, const char* name, std::size_t needed) {
  if (capacity >= needed) return;
  throw InvalidArgument(std::string(name) + " is " + std::to_string(capacity) + "; " +
                        std::to_string(needed) + " entries are needed");
}

void copyRuns(const RunRows& rows, uint32_t height, uint32_t* rowStart, uint16_t* begin,
              uint16_t* end, std::size_t capacity) {
  requireArgument(rowStart, "row_start");
  requireCapacity(capacity, "run_capacity", rows.runCount());
  if (rows.runCount() > 0) {
    requireArgument(begin, "begin");
    requireArgument(end, "end");
  }
  for (std::size_t y = 0; y <= height; ++y) rowStart[y] = rows.rowStart(y);
  for (std::size_t i = 0; i < rows.runCount(); ++i) {
    begin[i] = rows[i].begin;
    end[i] = rows[i].end;
  }
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_slice_create(stiltforge_slice** slice, stiltforge_error* error) {
  return capi::guardedCreation(__func__, slice, "slice", error,
                               [] { return std::make_unique<stiltforge_slice>(); });
}

stiltforge_status stiltforge_slice_set_rgba(stiltforge_slice* slice, const uint8_t* rgba,
                                            size_t byte_count, uint32_t width, uint32_t height,
                                            stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing filled(slice, "slice");
    capi::requireArgument(rgba, "rgba");
    capi::requireSliceSize(width, height);
    const std::size_t needed = std::size_t{4} * width * height;
    if (byte_count != needed) {
      throw capi::InvalidArgument("byte_count is " + std::to_string(byte_count) + "; " +
                                  std::to_string(width) + " x " + std::to_string(height) +
                                  " pixels have " + std::to_string(needed));
    }
    filled->slice = stiltforge::sliceOfPixels(rgba, static_cast<uint16_t>(width),
                                              static_cast<uint16_t>(height));
  });
}

stiltforge_status stiltforge_slice_set_runs(stiltforge_slice* slice, uint32_t width,
                                            uint32_t height, const stiltforge_runs* material,
                                            const stiltforge_overhang* overhang,
                                            stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing filled(slice, "slice");
    capi::requireSliceSize(width, height);
    capi::requireArgument(material, "material");
    const stiltforge::HostRuns rows = capi::hostRuns(*material, height, "material");
    const auto w = static_cast<uint16_t>(width);
    const auto h = static_cast<uint16_t>(height);
    if (overhang) {
      const stiltforge::HostOverhang hanging = capi::hostOverhang(*overhang, height);
      filled->slice = stiltforge::sliceFromRuns(w, h, rows, &hanging);
    } else {
      filled->slice = stiltforge::sliceFromRuns(w, h, rows);
    }
  });
}

stiltforge_status stiltforge_slice_get_info(const stiltforge_slice* slice,
                                            stiltforge_slice_info* info, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading read(slice, "slice");
    stiltforge_slice_info filled{};
    filled.width = read->slice.width;
    filled.height = read->slice.height;
    filled.material_runs = read->slice.material.runCount();
    filled.overhang_runs = read->slice.overhang.runCount();
    filled.material_pixels = read->slice.material.pixelCount();
    filled.overhang_pixels = read->slice.blue.size();
    capi::writeStructure(info, filled, "info");
  });
}

stiltforge_status stiltforge_slice_copy_material(const stiltforge_slice* slice, uint32_t* row_start,
                                                 uint16_t* begin, uint16_t* end,
                                                 size_t run_capacity, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading read(slice, "slice");
    capi::copyRuns(read->slice.material, read->slice.height, row_start, begin, end, run_capacity);
  });
}

stiltforge_status stiltforge_slice_copy_overhang(const stiltforge_slice* slice, uint32_t* row_start,
                                                 uint16_t* begin, uint16_t* end,
                                                 size_t run_capacity, uint8_t* blue, uint8_t* green,
                                                 size_t pixel_capacity, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading read(slice, "slice");
    const stiltforge::Slice& source = read->slice;
    capi::requireCapacity(pixel_capacity, "pixel_capacity", source.blue.size());
    if (!source.blue.empty()) {
      capi::requireArgument(blue, "blue");
      capi::requireArgument(green, "green");
    }
    capi::copyRuns(source.overhang, source.height, row_start, begin, end, run_capacity);
    std::copy(source.blue.begin(), source.blue.end(), blue);
    std::copy(source.green.begin(), source.green.end(), green);
  });
}

void stiltforge_slice_destroy(stiltforge_slice* slice) {
  capi::destroy(slice);
}
