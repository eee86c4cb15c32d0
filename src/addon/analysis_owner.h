#pragma once

#include <napi.h>

#include <mutex>

namespace stiltforge {

struct Environment;

/// The five functions share one model in the process, so one environment at a time may work with
/// it: the first that starts a model or analyses a slice owns it until it calls CleanPointer or
/// ends. Other environments are kept out while a claim lives, and make theirs after it, so claims
/// are held for one call of a function at most.
class AnalysisClaim {
 public:
  /// Throws an Error that names the owner when that is another environment.
  AnalysisClaim(Napi::Env env, const Environment& environment);

  AnalysisClaim(const AnalysisClaim&) = delete;
  AnalysisClaim& operator=(const AnalysisClaim&) = delete;

  /// Whether the environment is the owner.
  bool isOwner() const;
  /// The environment is the owner from now on.
  void keep();
  /// Nobody is the owner any more.
  void giveUp();

  /// The environment ends: if it is the owner, frees the model and gives it up.
  static void end(const Environment& environment);

 private:
  // Recursive, since a call may run the host's script, which may call the module.
  const std::lock_guard<std::recursive_mutex> lock_;
  const Environment& environment_;
};

}  // namespace stiltforge
