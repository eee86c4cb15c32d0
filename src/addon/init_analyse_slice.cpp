#include "addon/init_analyse_slice.h"

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/parameters.h"
#include "addon/process_model.h"
#include "node_api/model_limits.h"

namespace stiltforge {

namespace {

// One InitAnalyseSlice call: what it has read, and how that takes effect. Reading runs the host's
// getters, which may call the module, so whether the state may be changed is asked again when it
// is.
class ModelStart {
 public:
  ModelStart(Napi::Env napiEnv, Environment& owner) : env(napiEnv), environment(owner) {
    const AnalysisClaim claim(env, environment);
    environment.requireIdle(env, "InitAnalyseSlice");
  }

  void read(const Napi::Object& parameters) {
    readOrStorePart(parameters, sliceReads(), [] {});
    const ModelParameters read = pending.applied({});
    size = {read.width, read.height};
    requireCountable(env, size);
    if (read.needBuffer) topPixels = reserveMarkers(env, size);
    readOrStorePart(parameters, analysisReads(), [this] { startModel(); });
  }

  void commit() {
    AnalysisClaim claim(env, environment);
    environment.requireIdle(env, "InitAnalyseSlice");
    const float radius = pending.applied({}).settings.ghostRadius;
    reserveGhostSpread(env, radius, [&] { processModel().model.prepareGhostSpread(radius); });
    startModel();
    store();
    claim.keep();
  }

 private:
  // A value of the wrong type ends the call but does not undo it: what was read before it counts.
  template <typename Before>
  void readOrStorePart(const Napi::Object& parameters, std::span<const ParameterRead> part,
                       Before before) {
    try {
      pending.read(parameters, part);
    } catch (const Napi::Error&) {
      const AnalysisClaim claim(env, environment);
      environment.requireIdle(env, "InitAnalyseSlice");
      before();
      store();
      throw;
    }
  }

  void startModel() { processModel().start(size.pixels(), std::move(topPixels)); }

  void store() {
    processModel().store(pending.applied(processModel().parameters));
    processModel().openedBy = environment.id;
  }

  Napi::Env env;
  Environment& environment;
  PendingParameters pending;
  SliceSize size;
  Plane<uint32_t> topPixels;
};

}  // namespace

Napi::Value InitAnalyseSlice(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  if (info.Length() == 0) throw Napi::Error::New(env, "Expected exactly 5 argument");
  if (!info[0].IsObject()) throw Napi::Error::New(env, "Expected an Object as 0 argument");
  const auto parameters = info[0].As<Napi::Object>();
  requireAllKeys(parameters);

  const std::shared_ptr<Environment> environment = Environment::of(env);
  ModelStart start(env, *environment);
  start.read(parameters);
  start.commit();
  return env.Undefined();
}

}  // namespace stiltforge
