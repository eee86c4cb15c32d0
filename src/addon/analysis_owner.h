#pragma once

#include <napi.h>

namespace stiltforge {

struct Environment;

/// The settings and the layer history exist once in the process, so one environment at a time may
/// work with them: the first that starts a model or analyses a slice holds them until it calls
/// CleanPointer or ends. All access goes through a claim.
class AnalysisClaim {
 public:
  /// Throws an Error that names the holder when another environment holds the state.
  AnalysisClaim(Napi::Env env, const Environment& environment);
  /// Gives the state back, unless it was held before or is to be kept.
  ~AnalysisClaim();

  AnalysisClaim(const AnalysisClaim&) = delete;
  AnalysisClaim& operator=(const AnalysisClaim&) = delete;

  bool heldBefore() const { return held; }
  /// The environment holds the state from now on.
  void keep() { kept = true; }
  /// The environment gives the state up when this claim ends.
  void giveUp() { held = kept = false; }

  /// The environment ends: if it holds the state, frees the model and gives the state up.
  static void end(const Environment& environment);

 private:
  bool held = false;
  bool kept = false;
};

}  // namespace stiltforge
