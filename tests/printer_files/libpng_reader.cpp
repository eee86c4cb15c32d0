#include "printer_files/libpng_reader.h"

#include <png.h>

#include <csetjmp>
#include <cstring>

namespace stiltforge::printer_files {

namespace {

struct Rest {
  const std::string& file;
  std::size_t at = 0;
};

void readBytes(png_structp reader, png_bytep target, std::size_t size) {
  Rest& rest = *static_cast<Rest*>(png_get_io_ptr(reader));
  if (rest.file.size() - rest.at < size) png_error(reader, "cut off");
  std::memcpy(target, rest.file.data() + rest.at, size);
  rest.at += size;
}

void ignoreWarning(png_structp, png_const_charp) {}

}  // namespace

std::vector<uint16_t> libpngSamples(const std::string& file) {
  png_structp reader =
      png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignoreWarning);
  png_infop info = png_create_info_struct(reader);
  std::vector<uint16_t> samples;
  std::vector<uint8_t> bytes;
  std::vector<png_bytep> rows;
  Rest rest{file};
  if (setjmp(png_jmpbuf(reader)) == 0) {
    png_set_read_fn(reader, &rest, readBytes);
    png_read_info(reader, info);
    png_set_packing(reader);
    png_read_update_info(reader, info);
    const std::size_t height = png_get_image_height(reader, info);
    const std::size_t rowBytes = png_get_rowbytes(reader, info);
    bytes.resize(height * rowBytes);
    for (std::size_t y = 0; y < height; ++y) rows.push_back(bytes.data() + y * rowBytes);
    png_read_image(reader, rows.data());
    png_read_end(reader, info);
    const std::size_t step = png_get_bit_depth(reader, info) == 16 ? 2 : 1;
    for (std::size_t i = 0; i < bytes.size(); i += step) {
      const int high = step == 2 ? bytes[i] << 8 : 0;
      samples.push_back(static_cast<uint16_t>(high | bytes[i + step - 1]));
    }
  } else {
    samples.clear();
  }
  png_destroy_read_struct(&reader, &info, nullptr);
  return samples;
}

}  // namespace stiltforge::printer_files
