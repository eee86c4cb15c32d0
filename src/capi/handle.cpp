#include "capi/handle.h"

namespace stiltforge::capi {

bool Handle::beginReading() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (hasWriter_) return false;
  ++readers_;
  return true;
}

bool Handle::beginWriting() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (hasWriter_ || readers_ > 0) return false;
  hasWriter_ = true;
  return true;
}

void Handle::keep() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++keepers_;
}

bool Handle::endReading() {
  const std::lock_guard<std::mutex> lock(mutex_);
  --readers_;
  return isFree();
}

bool Handle::endWriting() {
  const std::lock_guard<std::mutex> lock(mutex_);
  hasWriter_ = false;
  return isFree();
}

bool Handle::letGo() {
  const std::lock_guard<std::mutex> lock(mutex_);
  --keepers_;
  return isFree();
}

bool Handle::abandon() {
  const std::lock_guard<std::mutex> lock(mutex_);
  isAbandoned_ = true;
  return isFree();
}

void refuseBusy(const char* name) {
  throw Refusal(STILTFORGE_BUSY, std::string("another call is using ") + name +
                                     "; calls on one handle come one after the other");
}

}  // namespace stiltforge::capi
