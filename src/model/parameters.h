#pragma once

#include <cstdint>
#include <span>
#include <variant>

#include "analysis/settings.h"

namespace stiltforge {

/// All that a host says of a model: the size and what is wanted of it, and how it is analysed.
struct ModelParameters {
  uint16_t width = 0;       ///< pixels of every slice, to 65535
  uint16_t height = 0;      ///< pixels of every slice, to 65535
  uint32_t numLayer = 0;    ///< slices of the model; told back to the host, used for nothing else
  bool needBuffer = false;  ///< results carry pixels
  bool addSupport = true;   ///< supports are placed
  Settings settings;
};

/// Where a parameter is kept. The type says how a host's number is taken: unsigned integers wrap, a
/// signed one is truncated from single precision.
using ParameterTarget =
    std::variant<uint16_t ModelParameters::*, uint32_t ModelParameters::*, bool ModelParameters::*,
                 int32_t Settings::*, float Settings::*>;

/// One of the 28 parameters. This table is what the doors, the types and the documents are made
/// from or checked against.
struct Parameter {
  const char* name;
  /// The key that the five functions name when this one is missing.
  const char* namedWhenMissing;
  ParameterTarget target;
  /// Range of good sense for numbers, ends included; the promise API refuses what lies outside.
  double least;
  double most;
  const char* unit;     ///< "pixels", "layers", "area", "factor", "weight", "count", "blue", "flag"
  const char* summary;  ///< one sentence without a full stop
};

/// The 28 parameters, in the order in which the five functions look for their keys.
std::span<const Parameter> parameterTable();

/// The row of that name, or null.
const Parameter* findParameter(const char* name);

/// Stores a host's number, converted as the target's type says; a flag is true unless it is 0.
void storeParameter(ModelParameters& parameters, const Parameter& parameter, double value);
/// The stored value, as a number.
double storedParameter(const ModelParameters& parameters, const Parameter& parameter);

}  // namespace stiltforge
