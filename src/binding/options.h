#pragma once

#include <napi.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

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

  /// The second argument, which may be left out.
  static Options optional(const Napi::CallbackInfo& info, std::initializer_list<const char*> known);

  Napi::Value get(const char* name) const { return object_.Get(name); }
  double number(const char* name) const;
  std::optional<double> optionalNumber(const char* name) const;
  uint32_t whole(const char* name) const;
  std::optional<uint32_t> optionalWhole(const char* name) const;
  bool flag(const char* name) const;                ///< false unless set
  Napi::TypedArray floats(const char* name) const;  ///< a Float32Array

  /// layerHeight, criticalAngle, fullOverhang and inset; not the pixel size.
  slicing::ChannelSettings channels() const;

 private:
  explicit Options(Napi::Object object) : object_(object) {}

  Napi::Object object_;
};

/// What is wrong with a property that is none of the options that are known, if there is one.
std::optional<std::string> findStranger(const Napi::Object& options,
                                        std::initializer_list<const char*> known);

}  // namespace stiltforge::binding
