#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace stiltforge {

/// Diagnostics for instrumenting analysis code: named stopwatches that print to standard output, a
/// yielding wait, and pixel values as text. No analysis path calls them. One thread at a time.
class Console {
 public:
  static inline std::map<std::string, std::chrono::system_clock::time_point> timeMap;
  static inline std::map<std::string, double> timeMapTotal;  ///< seconds, fed by timeStep()
  /// Overhead in seconds that is taken off every measured interval.
  static inline double _timeSpendForOneTimeClassic = 0.0;

  /// Waits by yielding the processor, at least once, on the wall clock.
  static void sleep(double milliseconds);

  /// "r1 g0 b255 a128" for a pixel whose bytes from low to high are 1, 0, 255, 128.
  static std::string color(uint32_t pixel);
  /// "0x" and lower-case digits without leading zeros.
  static std::string hex(uint32_t value);

  /// Starts, or restarts, the stopwatch of that name.
  static void time(const std::string& name);
  /// Adds the time since the start to the stopwatch's total; the start stays.
  static void timeStep(const std::string& name);
  /// Prints "name: time unit" with the total, or without steps the time since the start, forgets
  /// the stopwatch and returns what it printed. Units: "ms"; "ns", which counts microseconds;
  /// anything else is seconds. An unknown name prints "name: none" first and measures from the
  /// clock's epoch.
  static double timeEnd(const std::string& name, const std::string& unit);
};

}  // namespace stiltforge
