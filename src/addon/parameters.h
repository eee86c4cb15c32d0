#pragma once

#include <napi.h>

#include <cstdint>
#include <variant>
#include <vector>

namespace stiltforge {

/// A setting of the analysis, by the type that it is stored in. The type says how the host's value
/// is converted: unsigned integers wrap, a signed one is truncated from a float.
using SettingTarget = std::variant<uint16_t*, uint32_t*, int32_t*, bool*, float*>;

struct Setting {
  const char* key;
  SettingTarget target;
};

/// The settings in the order in which they are read and stored: those that are stored before the
/// history is emptied, and those after.
const std::vector<Setting>& sliceSettings();
const std::vector<Setting>& analysisSettings();

/// Throws the Error of the first of the 28 keys that the object lacks.
void requireAllKeys(const Napi::Object& parameters);

/// Values that were read from the host and wait to be stored, so that a call which is refused
/// leaves the settings alone.
class PendingSettings {
 public:
  /// Reads the settings in order. A value of the wrong type throws; those before it are kept.
  void read(const Napi::Object& parameters, const std::vector<Setting>& settings);
  /// What a setting will hold once the values are stored.
  template <typename T>
  T valueOf(T* target) const {
    for (const Pending& p : pending) {
      if (p.target == SettingTarget(target)) return static_cast<T>(p.value);
    }
    return *target;
  }
  void store() const;

 private:
  struct Pending {
    SettingTarget target;
    double value;  // in the range of the target's type
  };
  std::vector<Pending> pending;
};

}  // namespace stiltforge
