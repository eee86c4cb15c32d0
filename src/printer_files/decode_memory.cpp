#include "printer_files/decode_memory.h"

#include <new>
#include <utility>

#include "runtime/huge_pages.h"

namespace stiltforge::printer_files {

uint8_t* Buffer::reserve(std::size_t size) {
  if (size > size_) {
    bytes_.reset();
    size_ = 0;
    bytes_.reset(new uint8_t[size]);
    size_ = size;
    preferHugePages(bytes_.get(), size);
  }
  return bytes_.get();
}

void DecodeMemory::FreeDecompressor::operator()(libdeflate_decompressor* unused) const {
  libdeflate_free_decompressor(unused);
}

DecodeMemory::DecodeMemory() : decompressor(libdeflate_alloc_decompressor()) {
  if (!decompressor) throw std::bad_alloc();
}

std::unique_ptr<DecodeMemory> DecodeMemoryPool::take() {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    given_.wait(lock, [&] { return taken_ < most_; });
    ++taken_;
    if (!kept_.empty()) {
      std::unique_ptr<DecodeMemory> memory = std::move(kept_.back());
      kept_.pop_back();
      return memory;
    }
  }
  try {
    return std::make_unique<DecodeMemory>();
  } catch (...) {
    give(nullptr);
    throw;
  }
}

void DecodeMemoryPool::give(std::unique_ptr<DecodeMemory> memory) noexcept {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    --taken_;
    // There is room for all that can be taken.
    if (memory) kept_.push_back(std::move(memory));
  }
  given_.notify_one();
}

}  // namespace stiltforge::printer_files
