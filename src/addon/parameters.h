#pragma once

#include <napi.h>

#include <span>
#include <vector>

#include "model/parameters.h"

namespace stiltforge {

/// A key that InitAnalyseSlice reads.
struct ParameterRead {
  const char* name;
  /// supportStrength is read twice: of the first value only the type matters.
  bool isStored = true;
};

/// The keys in the order in which they are read and stored: those before the history is emptied,
/// and those after.
std::span<const ParameterRead> sliceReads();
std::span<const ParameterRead> analysisReads();

/// Throws the Error of the first of the 28 keys that the object lacks.
void requireAllKeys(const Napi::Object& parameters);

/// Values that were read from the host and wait to be stored, so that a call which is refused
/// leaves the parameters alone.
class PendingParameters {
 public:
  /// Reads the keys in order. A value of the wrong type throws; those before it are kept.
  void read(const Napi::Object& parameters, std::span<const ParameterRead> reads);
  /// The parameters with the values that were read.
  ModelParameters applied(ModelParameters parameters) const;

 private:
  struct Pending {
    const Parameter* parameter;
    double value;
  };
  std::vector<Pending> pending;
};

}  // namespace stiltforge
