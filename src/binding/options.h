#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "slicing/channel_falloff.h"

namespace stiltforge::binding {

/// The options object of a call. Throws a TypeError that names the option and what it must
/// be.
class Options {
 public:
  /// `known`: every option that may be there, so that a misspelt one does not go unnoticed.
  Options(const Napi::CallbackInfo& info, std::initializer_list<const char*> known)
      : Options(info, 0, known) {}
  /// Likewise, as the argument of this index.
  Options(const Napi::CallbackInfo& info, std::size_t index,
          std::initializer_list<const char*> known);

  double number(const char* name) const;
  std::optional<double> optionalNumber(const char* name) const;
  uint32_t whole(const char* name) const;
  std::optional<uint32_t> optionalWhole(const char* name) const;
  bool flag(const char* name) const;                ///< false unless set
  Napi::TypedArray floats(const char* name) const;  ///< a Float32Array

  /// layerHeight, criticalAngle, fullOverhang and inset; not the pixel size.
  slicing::ChannelSettings channels() const;

 private:
  Napi::Object object_;
};

}  // namespace stiltforge::binding
