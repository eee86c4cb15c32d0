#include "capi/watched_work.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <future>
#include <mutex>
#include <system_error>

#include "capi/cancel_token.h"
#include "capi/refusal.h"

namespace stiltforge::capi {

namespace {

constexpr std::chrono::milliseconds interval(100);

// What the work and the thread of the call know of each other.
class Watched {
 public:
  Watched(const HostWatch& watch, const DefaultFloats& floats, const std::atomic<bool>* token)
      : watch_(watch), floats_(floats), token_(token) {}

  const std::atomic<bool>* cancelled() const { return &cancelled_; }

  // Both by the work.
  void note(std::size_t done, std::size_t total) {
    passTokenOn();
    const std::lock_guard<std::mutex> lock(mutex_);
    done_ = done;
    total_ = total;
  }

  // The others by the thread of the call.
  void passTokenOn() {
    if (token_ && *token_) cancelled_ = true;
  }

  bool isEndedByHost() const { return isEndedByHost_; }

  // How far the work is, if that is news. What it calls all of its steps may be only what it knows.
  void tell() {
    uint64_t done = 0;
    uint64_t total = 0;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      done = done_;
      total = total_;
    }
    if (done != told_ && done < total) tell(done, total);
  }

  void tellEnd() {
    const uint64_t total = std::max<uint64_t>(1, total_);
    tell(total, total);
  }

 private:
  void tell(uint64_t done, uint64_t total) {
    told_ = done;
    const HostFloats restored(floats_);
    if (watch_.onProgress(watch_.context, done, total) == 0) return;
    isEndedByHost_ = true;
    cancelled_ = true;
  }

  const HostWatch& watch_;
  const DefaultFloats& floats_;
  const std::atomic<bool>* token_;
  std::atomic<bool> cancelled_{false};
  bool isEndedByHost_ = false;
  uint64_t told_ = 0;
  std::mutex mutex_;
  std::size_t done_ = 0;
  std::size_t total_ = 0;
};

void doBeside(Watched& watched, const Work& work) {
  const Progress note = [&](std::size_t done, std::size_t total) { watched.note(done, total); };
  std::future<void> ended;
  try {
    ended = std::async(std::launch::async, [&] { work(note, watched.cancelled()); });
  } catch (const std::system_error&) {
    // No thread is to be had: the host is told at the end.
    work(note, watched.cancelled());
    return;
  }
  while (ended.wait_for(interval) == std::future_status::timeout) {
    watched.passTokenOn();
    if (!watched.isEndedByHost()) watched.tell();
  }
  ended.get();
}

}  // namespace

void doWatched(const HostWatch& watch, const DefaultFloats& floats, const Work& work) {
  const std::atomic<bool>* const token = flagOf(watch.cancel);
  Watched watched(watch, floats, token);
  try {
    if (watch.onProgress) {
      doBeside(watched, work);
    } else {
      work({}, token);
    }
  } catch (...) {
    if (!watched.isEndedByHost()) {
      if (token && *token) throw Refusal(STILTFORGE_CANCELLED, "cancelled by its token");
      throw;
    }
  }
  if (watch.onProgress && !watched.isEndedByHost()) watched.tellEnd();
  if (watched.isEndedByHost()) throw Refusal(STILTFORGE_CANCELLED, "ended by its callback");
}

}  // namespace stiltforge::capi
