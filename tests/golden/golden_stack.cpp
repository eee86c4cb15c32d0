#include "golden/golden_stack.h"

#include <zlib.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace stiltforge::golden {
namespace {

using nlohmann::ordered_json;

std::vector<uint8_t> readGzip(const std::string& path) {
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(path.c_str(), "rb"), gzclose);
  if (file == nullptr) throw std::runtime_error("cannot open " + path);
  std::vector<uint8_t> bytes;
  std::array<uint8_t, 65536> block;
  int got = 0;
  while ((got = gzread(file.get(), block.data(), block.size())) > 0) {
    bytes.insert(bytes.end(), block.begin(), block.begin() + got);
  }
  if (got < 0) throw std::runtime_error(path + " is not a whole gzip file");
  return bytes;
}

uint32_t littleEndian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
         uint32_t{bytes[3]} << 24;
}

reference::Stack readStack(const std::string& path) {
  constexpr size_t headerSize = 24;
  const std::vector<uint8_t> bytes = readGzip(path);
  if (bytes.size() < headerSize || std::memcmp(bytes.data(), "SLICES01", 8) != 0) {
    throw std::runtime_error(path + " does not start with SLICES01");
  }
  reference::Stack stack;
  stack.width = static_cast<uint16_t>(littleEndian(&bytes[8]));
  stack.height = static_cast<uint16_t>(littleEndian(&bytes[12]));
  const size_t count = littleEndian(&bytes[16]);
  const size_t jsonSize = littleEndian(&bytes[20]);
  const size_t sliceSize = size_t{4} * stack.width * stack.height;
  if (bytes.size() != headerSize + jsonSize + count * sliceSize) {
    throw std::runtime_error(path + " does not have the length that its header states");
  }
  auto at = bytes.begin() + headerSize;
  const auto jsonEnd = at + static_cast<std::ptrdiff_t>(jsonSize);
  const ordered_json parameters = ordered_json::parse(at, jsonEnd);
  for (const auto& [key, value] : parameters.items()) {
    stack.parameters[key] =
        value.is_boolean() ? (value.get<bool>() ? 1.0 : 0.0) : value.get<double>();
  }
  at = jsonEnd;
  for (size_t i = 0; i < count; ++i) {
    stack.slices.emplace_back(at, at + static_cast<std::ptrdiff_t>(sliceSize));
    at += static_cast<std::ptrdiff_t>(sliceSize);
  }
  return stack;
}

}  // namespace

const std::vector<std::string>& stackNames() {
  static const std::vector<std::string> names = {
      "01-growing-cone", "02-islands-merge", "03-noise",         "04-corners",
      "05-moving-rings", "06-big-island",    "07-ties",          "08-no-support",
      "09-ghost-limit",  "10-no-relaxation", "11-empty-layers",  "12-one-row",
      "13-one-column",   "14-full-frame",    "15-zero-strength", "16-many-regions",
  };
  return names;
}

GoldenStack load(const std::string& name) {
  const std::string path = std::string(STILTFORGE_GOLDEN_DIR) + "/" + name;
  GoldenStack golden;
  golden.stack = readStack(path + ".stack.gz");
  const std::vector<uint8_t> text = readGzip(path + ".jsonl.gz");
  std::istringstream lines(std::string(text.begin(), text.end()));
  for (std::string line; std::getline(lines, line);) {
    const ordered_json entry = ordered_json::parse(line);
    if (entry.contains("layer")) {
      golden.slices.push_back({entry.at("layer"), entry.at("supportCount"), entry.at("pixelBuffer"),
                               entry.at("topPixelBuffer"), entry.at("supportedPixels")});
    } else {
      golden.groups.push_back({entry.at("layerIndex"), entry.at("groupIndex"), entry.at("width"),
                               entry.at("height"), entry.at("images")});
    }
  }
  return golden;
}

std::string digest(const void* bytes, size_t size) {
  uint64_t hash = 0xcbf29ce484222325u;
  const auto* p = static_cast<const uint8_t*>(bytes);
  for (size_t i = 0; i < size; ++i) hash = (hash ^ p[i]) * 0x100000001b3u;
  std::string text(16, '0');
  for (size_t i = 16; i-- > 0; hash >>= 4) text[i] = "0123456789abcdef"[hash & 15];
  return text;
}

std::string digest(const std::vector<uint8_t>& bytes) {
  return digest(bytes.data(), bytes.size());
}

std::string digest(const std::vector<uint32_t>& pixels) {
  std::vector<uint8_t> bytes;
  bytes.reserve(pixels.size() * 4);
  for (const uint32_t pixel : pixels) {
    for (int shift = 0; shift < 32; shift += 8) {
      bytes.push_back(static_cast<uint8_t>(pixel >> shift));
    }
  }
  return digest(bytes);
}

}  // namespace stiltforge::golden
