#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "capi/refusal.h"

namespace stiltforge::capi {

/// What every handle begins with: what it is, so that a host that mixes handles up gets an error,
/// and who uses it.
class Handle {
 public:
  /// Four characters that tell the kinds of handle apart.
  explicit Handle(uint32_t kind) : kind_(kind) {}
  ~Handle() { kind_ = 0; }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  bool isOf(uint32_t kind) const { return kind_ == kind; }

  /// False when others use it in a way that excludes this one.
  bool beginReading();
  bool beginWriting();
  /// A use that excludes no other.
  void keep();
  /// The ends of these. True when the host has destroyed the handle meanwhile and nobody is left:
  /// then the caller frees it.
  bool endReading();
  bool endWriting();
  bool letGo();
  /// Of the host. True when nobody uses it: then the caller frees it.
  bool abandon();

 private:
  bool isFree() const { return isAbandoned_ && readers_ + keepers_ == 0 && !hasWriter_; }

  std::atomic<uint32_t> kind_;
  std::mutex mutex_;
  int readers_ = 0;
  int keepers_ = 0;
  bool hasWriter_ = false;
  bool isAbandoned_ = false;
};

/// Throws InvalidArgument unless it is a handle of that kind.
template <typename T>
void requireHandle(const T* handle, const char* name) {
  requireArgument(handle, name);
  if (!handle->isOf(T::kind)) {
    throw InvalidArgument(std::string(name) + " is no handle of that kind, or destroyed");
  }
}

[[noreturn]] void refuseBusy(const char* name);

/// Use of a handle for reading, beside other readers. Throws a Refusal.
template <typename T>
class Reading {
 public:
  Reading(const T* handle, const char* name) : handle_(const_cast<T*>(handle)) {
    requireHandle(handle, name);
    if (!handle_->beginReading()) refuseBusy(name);
  }
  ~Reading() {
    if (handle_->endReading()) delete handle_;
  }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
  const T* operator->() const { return handle_; }
  const T& operator*() const { return *handle_; }

 private:
  T* handle_;
};

/// Use of a handle by nobody else. Throws a Refusal.
template <typename T>
class Writing {
 public:
  Writing(T* handle, const char* name) : handle_(handle) {
    requireHandle(handle, name);
    if (!handle_->beginWriting()) refuseBusy(name);
  }
  ~Writing() {
    if (handle_->endWriting()) delete handle_;
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;
  T* operator->() const { return handle_; }
  T& operator*() const { return *handle_; }

 private:
  T* handle_;
};

/// Keeps the memory of a handle that the host's callback may destroy.
template <typename T>
class Keeping {
 public:
  Keeping(T* handle, const char* name) : handle_(handle) {
    requireHandle(handle, name);
    handle_->keep();
  }
  ~Keeping() {
    if (handle_->letGo()) delete handle_;
  }
  Keeping(const Keeping&) = delete;
  Keeping& operator=(const Keeping&) = delete;

 private:
  T* handle_;
};

template <typename T>
void destroy(T* handle) noexcept {
  if (handle && handle->isOf(T::kind) && handle->abandon()) delete handle;
}

}  // namespace stiltforge::capi
