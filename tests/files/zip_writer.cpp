#include "files/zip_writer.h"

#include <zlib.h>

namespace stiltforge::files {

namespace {

std::string littleEndian(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

std::string deflated(const std::string& content) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  std::string result(deflateBound(&stream, content.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  deflate(&stream, Z_FINISH);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

}  // namespace

std::string zipArchive(const std::vector<ZipEntry>& entries) {
  std::string archive;
  std::string directory;
  for (const ZipEntry& entry : entries) {
    const std::string data = entry.isDeflated ? deflated(entry.content) : entry.content;
    const auto* content = reinterpret_cast<const Bytef*>(entry.content.data());
    const std::uint64_t checksum = entry.checksum >= 0
                                       ? static_cast<std::uint64_t>(entry.checksum)
                                       : crc32(0, content, static_cast<uInt>(entry.content.size()));
    const std::uint64_t unpacked = entry.unpackedSize >= 0
                                       ? static_cast<std::uint64_t>(entry.unpackedSize)
                                       : entry.content.size();
    const int method = entry.method >= 0 ? entry.method : (entry.isDeflated ? 8 : 0);
    const std::string common = littleEndian(20, 2) + littleEndian(entry.flags, 2) +
                               littleEndian(static_cast<std::uint64_t>(method), 2) +
                               littleEndian(0, 4) + littleEndian(checksum, 4) +
                               littleEndian(data.size(), 4) + littleEndian(unpacked, 4) +
                               littleEndian(entry.name.size(), 2) + littleEndian(0, 2);
    directory += "PK\1\2" + littleEndian(20, 2) + common + std::string(2 + 2 + 2 + 4, '\0') +
                 littleEndian(archive.size(), 4) + entry.name;
    archive += "PK\3\4" + common + entry.name + data;
  }
  const std::string count = littleEndian(entries.size(), 2);
  return archive + directory + "PK\5\6" + littleEndian(0, 4) + count + count +
         littleEndian(directory.size(), 4) + littleEndian(archive.size(), 4) + littleEndian(0, 2);
}

}  // namespace stiltforge::files
