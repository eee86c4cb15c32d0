#include "printer_files/zip_pictures.h"

#include <libdeflate.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "printer_files/defect.h"
#include "printer_files/limits.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;
using files::grouped;
using files::inQuotes;

constexpr const char* theArchive = "the archive";

bool leadsOut(std::string_view name) {
  if (name.starts_with('/') || name.find('\\') != std::string_view::npos ||
      name.find(':') != std::string_view::npos) {
    return true;
  }
  for (std::size_t begin = 0; begin <= name.size();) {
    const std::size_t end = std::min(name.find('/', begin), name.size());
    if (name.substr(begin, end - begin) == "..") return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

PrintArchive::PrintArchive(std::unique_ptr<files::ByteSource> source)
    : source_(std::move(source)), archive_(*source_, {theArchive, "the entry", mostEntries}) {}

std::vector<std::string> PrintArchive::names() const {
  std::vector<std::string> names;
  for (const auto& entry : archive_.entries()) names.push_back(entry.name);
  return names;
}

std::optional<std::string> PrintArchive::text(const std::string& name) {
  const files::ZipArchive::Entry* const entry = archive_.find(name);
  if (entry == nullptr) return std::nullopt;
  const FileError tooLarge(
      archive_.describe(*entry) + " has more than " + files::counted(mostSettingsBytes, "byte"),
      files::copyAgain);
  if (entry->unpackedSize > mostSettingsBytes) throw tooLarge;
  std::string text;
  archive_.unpack(*entry, [&](std::span<const char> bytes) {
    text.append(bytes.begin(), bytes.end());
    if (text.size() > mostSettingsBytes) throw tooLarge;
  });
  return text;
}

std::span<const uint8_t> PrintArchive::read(std::size_t index, DecodeMemory& memory) {
  const files::ZipArchive::Entry& entry = archive_.entries()[index];
  if (entry.packedSize > mostPictureBytes || entry.unpackedSize > mostPictureBytes) {
    throw Defect{"has " + grouped(std::max(entry.packedSize, entry.unpackedSize)) +
                     " bytes; the limit is " + grouped(mostPictureBytes),
                 "Export the layers as 8-bit grey PNG"};
  }
  if (entry.packedSize > source_->size()) {
    throw Defect{"is cut off: it should have " + files::counted(entry.packedSize, "packed byte")};
  }
  std::uint64_t offset = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    offset = archive_.packedBytesAt(entry);
  }
  const auto packedSize = static_cast<std::size_t>(entry.packedSize);
  const auto size = static_cast<std::size_t>(entry.unpackedSize);
  const std::span<char> packed(reinterpret_cast<char*>(memory.packed.reserve(packedSize)),
                               packedSize);
  if (source_->read(offset, packed) != packedSize) throw Defect{"is cut off"};
  std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(packed.data()), packedSize);
  const Defect damaged{"is damaged: it can't be unpacked"};
  if (entry.isStored()) {
    if (size != packedSize) throw damaged;
  } else {
    if (size / mostDeflateRatio > packedSize) throw damaged;
    uint8_t* const unpacked = memory.picture.reserve(size);
    std::size_t count = 0;
    const libdeflate_result result = libdeflate_deflate_decompress(
        memory.decompressor.get(), bytes.data(), packedSize, unpacked, size, &count);
    if (result != LIBDEFLATE_SUCCESS || count != size) throw damaged;
    bytes = {unpacked, size};
  }
  if (libdeflate_crc32(0, bytes.data(), bytes.size()) != entry.checksum) {
    throw Defect{"is damaged: its checksum in the archive is wrong"};
  }
  return bytes;
}

ZipPictures::ZipPictures(std::unique_ptr<PrintArchive> archive,
                         const std::vector<std::size_t>& layers)
    : archive_(std::move(archive)), layers_(layers) {
  const std::vector<std::string> all = archive_->names();
  for (const std::size_t entry : layers) {
    if (leadsOut(all[entry])) {
      throw FileError("the entry " + inQuotes(all[entry]) + " leads out of the archive",
                      "Don't trust this file");
    }
    names_.push_back(all[entry]);
  }
}

std::span<const uint8_t> ZipPictures::read(uint32_t layer, DecodeMemory& memory) {
  return archive_->read(layers_[layer], memory);
}

}  // namespace stiltforge::printer_files
