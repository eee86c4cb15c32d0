#include "files/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "files/file_error.h"

namespace stiltforge::files {

namespace {

constexpr const char* checkPath = "Check the path and its permissions";

FileError unreadable(const std::string& reason) {
  return {"the file can't be read (" + reason + ")", checkPath};
}

// JavaScript, like many a program, keeps names as text, in which U+FFFD stands for each byte that
// is none.
FileError missing(const std::filesystem::path& path) {
  const bool isGarbled = path.u8string().find(u8"\uFFFD") != std::u8string::npos;
  return {"there is no such file",
          isGarbled ? "Rename it if its name, or that of a folder above it, is not valid UTF-8"
                    : "Check the path"};
}

void requireRegularFile(const std::filesystem::path& path, const std::string& kind) {
  using std::filesystem::file_type;
  std::error_code failure;
  const auto status = std::filesystem::status(path, failure);
  switch (status.type()) {
    case file_type::regular:
      return;
    case file_type::not_found:
      throw missing(path);
    case file_type::directory:
      throw FileError("this is a folder", "Name " + kind + " in it");
    case file_type::block:
    case file_type::character:
      throw FileError("this is a device, not a file", "Name " + kind);
    case file_type::fifo:
    case file_type::socket:
      throw FileError("this is a pipe, which can be read only once", "Save it as a file first");
    default:
      throw unreadable(failure ? failure.message() : "it is of an unknown kind");
  }
}

}  // namespace

std::size_t ByteSource::read(std::uint64_t offset, std::span<char> target) {
  requireGoingOn();
  return readAt(offset, target);
}

void ByteSource::requireGoingOn() const {
  if (cancelled_ != nullptr && cancelled_->load(std::memory_order_relaxed)) throw Cancelled();
}

std::size_t MemorySource::readAt(std::uint64_t offset, std::span<char> target) {
  if (offset >= bytes_.size()) return 0;
  const auto start = static_cast<std::size_t>(offset);
  const std::size_t count = std::min(target.size(), bytes_.size() - start);
  if (count > 0) std::memcpy(target.data(), bytes_.data() + start, count);
  return count;
}

FileSource::FileSource(const std::filesystem::path& path, const std::string& kind) {
#ifdef __EMSCRIPTEN__
  throw FileError("a module in WebAssembly opens no files", "Give the bytes of the file instead");
#endif
  requireRegularFile(path, kind);
  // Everyone who reads here does so in large pieces.
  file_.rdbuf()->pubsetbuf(nullptr, 0);
  errno = 0;
  file_.open(path, std::ios::binary);
  if (!file_) throw unreadable(errno != 0 ? std::generic_category().message(errno) : "no reason");
  std::error_code failure;
  size_ = std::filesystem::file_size(path, failure);
  if (failure) throw unreadable(failure.message());
}

std::size_t FileSource::readAt(std::uint64_t offset, std::span<char> target) {
  if (offset >= size_) return 0;
  const auto wanted =
      static_cast<std::size_t>(std::min<std::uint64_t>(target.size(), size_ - offset));
  const std::lock_guard<std::mutex> lock(mutex_);
  file_.clear();
  errno = 0;
  file_.seekg(static_cast<std::streamoff>(offset));
  file_.read(target.data(), static_cast<std::streamsize>(wanted));
  if (file_.bad()) throw unreadable(std::generic_category().message(errno));
  // Fewer when someone has made the file shorter since.
  return static_cast<std::size_t>(file_.gcount());
}

}  // namespace stiltforge::files
