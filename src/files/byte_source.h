#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <span>
#include <string>

namespace stiltforge::files {

/// The bytes of a file, wherever they are.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  virtual std::uint64_t size() const = 0;
  /// Fills `target` from `offset` on, as far as there are bytes; how many there were. Any number of
  /// threads may read at once. Throws FileError when the file can't be read, Cancelled when the
  /// caller has asked for an end.
  std::size_t read(std::uint64_t offset, std::span<char> target);

  /// An end is asked for as soon as it is true. It has to outlive the source.
  void cancelWhen(const std::atomic<bool>* cancelled) { cancelled_ = cancelled; }
  /// Throws Cancelled when the caller has asked for an end.
  void requireGoingOn() const;

 protected:
  virtual std::size_t readAt(std::uint64_t offset, std::span<char> target) = 0;

 private:
  const std::atomic<bool>* cancelled_ = nullptr;
};

class MemorySource : public ByteSource {
 public:
  /// `bytes` have to outlive the source.
  explicit MemorySource(std::span<const char> bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }

 protected:
  std::size_t readAt(std::uint64_t offset, std::span<char> target) override;

 private:
  std::span<const char> bytes_;
};

class FileSource : public ByteSource {
 public:
  /// `kind` is what the file should be: "a mesh file". Throws FileError when there is no such file,
  /// it can't be read, or it is a folder, a device or a pipe.
  FileSource(const std::filesystem::path& path, const std::string& kind);
  std::uint64_t size() const override { return size_; }

 protected:
  std::size_t readAt(std::uint64_t offset, std::span<char> target) override;

 private:
  std::mutex mutex_;
  std::ifstream file_;
  std::uint64_t size_ = 0;
};

}  // namespace stiltforge::files
