#include "printer_files/png_writer.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>

namespace stiltforge::printer_files {

namespace {

std::string bigEndian(uint32_t value) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
  return text;
}

const Bytef* bytesOf(const std::string& text) {
  return reinterpret_cast<const Bytef*>(text.data());
}

std::vector<uint8_t> packedRow(const TestPicture& picture, int y) {
  std::vector<uint8_t> row;
  int bits = 0;
  for (int x = 0; x < picture.width; ++x) {
    for (int channel = 0; channel < picture.channels(); ++channel) {
      const uint16_t sample = picture.sample(x, y, channel);
      for (int bit = picture.bitDepth - 1; bit >= 0; --bit, ++bits) {
        if (bits % 8 == 0) row.push_back(0);
        row.back() = static_cast<uint8_t>(row.back() | (sample >> bit & 1) << (7 - bits % 8));
      }
    }
  }
  return row;
}

int paeth(int a, int b, int c) {
  const int p = a + b - c;
  const int pa = std::abs(p - a);
  const int pb = std::abs(p - b);
  const int pc = std::abs(p - c);
  if (pa <= pb && pa <= pc) return a;
  return pb <= pc ? b : c;
}

std::string filtered(const std::vector<uint8_t>& row, const std::vector<uint8_t>& above, int filter,
                     std::size_t pixelBytes) {
  std::string text(1, static_cast<char>(filter));
  for (std::size_t i = 0; i < row.size(); ++i) {
    const int left = i >= pixelBytes ? row[i - pixelBytes] : 0;
    const int up = above[i];
    const int corner = i >= pixelBytes ? above[i - pixelBytes] : 0;
    const int predicted[] = {0, left, up, (left + up) / 2, paeth(left, up, corner)};
    text += static_cast<char>(row[i] - (filter < 5 ? predicted[filter] : 0));
  }
  return text;
}

std::string rowsOf(const TestPicture& picture, const PngForm& form) {
  const auto pixelBytes =
      static_cast<std::size_t>(std::max(1, picture.channels() * picture.bitDepth / 8));
  std::string rows;
  std::vector<uint8_t> above(packedRow(picture, 0).size(), 0);
  const auto count = std::min<std::size_t>(static_cast<std::size_t>(picture.height), form.rows);
  for (std::size_t y = 0; y < count; ++y) {
    std::vector<uint8_t> row = packedRow(picture, static_cast<int>(y));
    rows += filtered(row, above, form.filters[y % form.filters.size()], pixelBytes);
    above = std::move(row);
  }
  return rows + std::string(form.moreBytes, '\0');
}

std::string compressed(const std::string& rows, const PngForm& form) {
  uLongf size = compressBound(static_cast<uLong>(rows.size()));
  std::string packed(size, '\0');
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size, bytesOf(rows),
            static_cast<uLong>(rows.size()), form.level);
  packed.resize(size);
  if (form.hasWrongPixelChecksum) packed.back() = static_cast<char>(packed.back() ^ 1);
  return packed;
}

std::string extraChunks(const TestPicture& picture) {
  std::string text;
  if (!picture.palette.empty()) {
    text += chunk("PLTE", {picture.palette.begin(), picture.palette.end()});
  }
  if (!picture.transparency.empty()) {
    std::string content;
    for (const uint16_t value : picture.transparency) {
      if (picture.colourType != 3) content += static_cast<char>(value >> 8);
      content += static_cast<char>(value);
    }
    text += chunk("tRNS", content);
  }
  return text;
}

}  // namespace

int TestPicture::channels() const {
  return colourType == 2 ? 3 : colourType == 4 ? 2 : colourType == 6 ? 4 : 1;
}

uint16_t TestPicture::sample(int x, int y, int channel) const {
  const int at = (y * width + x) * channels() + channel;
  return samples[static_cast<std::size_t>(at)];
}

std::string chunk(const std::string& name, const std::string& content) {
  const std::string body = name + content;
  const auto checksum =
      static_cast<uint32_t>(crc32(0, bytesOf(body), static_cast<uInt>(body.size())));
  return bigEndian(static_cast<uint32_t>(content.size())) + body + bigEndian(checksum);
}

std::string pngHead(int width, int height, int bitDepth, int colourType, int interlace) {
  std::string header =
      bigEndian(static_cast<uint32_t>(width)) + bigEndian(static_cast<uint32_t>(height));
  for (const int value : {bitDepth, colourType, 0, 0, interlace}) {
    header += static_cast<char>(value);
  }
  return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header);
}

std::string png(const TestPicture& picture, const PngForm& form) {
  std::string file =
      pngHead(picture.width, picture.height, picture.bitDepth, picture.colourType, form.interlace) +
      extraChunks(picture);
  const std::string packed = compressed(rowsOf(picture, form), form);
  const std::size_t partBytes = form.partBytes > 0 ? form.partBytes : packed.size();
  for (std::size_t at = 0; at < packed.size(); at += partBytes) {
    file += chunk("IDAT", packed.substr(at, partBytes));
  }
  return file + chunk("IEND", "");
}

std::string greyPng(int width, int height, const std::vector<uint8_t>& grey, const PngForm& form) {
  TestPicture picture;
  picture.width = width;
  picture.height = height;
  picture.samples.assign(grey.begin(), grey.end());
  return png(picture, form);
}

std::string evenPng(int width, int height, uint8_t grey) {
  return greyPng(width, height,
                 std::vector<uint8_t>(
                     static_cast<std::size_t>(width) * static_cast<std::size_t>(height), grey));
}

}  // namespace stiltforge::printer_files
