#pragma once

#include <libdeflate.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace stiltforge::printer_files {

/// Bytes that a byte of deflated data unpacks to at most, by the format itself.
inline constexpr std::size_t mostDeflateRatio = 1032;

/// Memory that only ever grows and whose content is lost when it does.
class Buffer {
 public:
  /// At least `size` bytes of any content. Throws std::bad_alloc.
  uint8_t* reserve(std::size_t size);

 private:
  std::unique_ptr<uint8_t[]> bytes_;
  std::size_t size_ = 0;
};

/// What a thread needs to decode a layer, kept for the next one: fresh memory costs a page fault
/// for every few rows.
struct DecodeMemory {
  struct FreeDecompressor {
    void operator()(libdeflate_decompressor* unused) const;
  };

  DecodeMemory();

  std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor;
  Buffer packed;   // as the file has it
  Buffer picture;  // unpacked from its archive
  Buffer joined;   // the parts of a PNG's pixels
  Buffer rows;     // the pixels, unpacked
  std::vector<uint8_t> zeros;
  std::vector<uint8_t> grey;
};

/// Memory for several threads, as many as it was made for; who comes when all is taken waits.
class DecodeMemoryPool {
 public:
  explicit DecodeMemoryPool(std::size_t most) : most_(most) { kept_.reserve(most); }

  /// Gives the memory back when it goes.
  class Loan {
   public:
    explicit Loan(DecodeMemoryPool& pool) : pool_(pool), memory_(pool.take()) {}
    ~Loan() { pool_.give(std::move(memory_)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    DecodeMemory& operator*() const { return *memory_; }

   private:
    DecodeMemoryPool& pool_;
    std::unique_ptr<DecodeMemory> memory_;
  };

 private:
  std::unique_ptr<DecodeMemory> take();
  void give(std::unique_ptr<DecodeMemory> memory) noexcept;

  const std::size_t most_;
  std::size_t taken_ = 0;
  std::mutex mutex_;
  std::condition_variable given_;
  std::vector<std::unique_ptr<DecodeMemory>> kept_;
};

}  // namespace stiltforge::printer_files
