#include "addon/init_analyse_slice.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/parameters.h"
#include "addon/process_model.h"
#include "node_api/refusal.h"

namespace stiltforge {

namespace {

struct SliceSize {
  uint16_t width;
  uint16_t height;

  std::size_t pixels() const { return std::size_t{width} * height; }
  std::string text() const { return std::to_string(width) + " x " + std::to_string(height); }
};

// Pixels are counted in signed 32-bit numbers.
void requireCountable(Napi::Env env, const SliceSize& size) {
  constexpr std::size_t most = std::numeric_limits<int32_t>::max();
  if (size.pixels() <= most) return;
  throw refusal(env, codes::parameter,
                "A slice of " + size.text() +
                    " pixels is too large: width times height may be at most " +
                    std::to_string(most) + ".");
}

// Reserves the memory so that its lack shows before anything is changed; it is cleared by the first
// job, off the main thread.
Plane<uint32_t> reserveTopPixels(Napi::Env env, const SliceSize& size) {
  try {
    return Plane<uint32_t>(size.pixels());
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "Not enough memory for slices of " + size.text() +
                      " pixels: the top-pixel buffer alone needs " +
                      std::to_string(size.pixels() * 4) +
                      " bytes. Use a smaller image, or needBuffer false.");
  }
}

// Reserves the memory of the spread table; it is filled by the first job, too.
void prepareGhostSpread(Napi::Env env, float radius) {
  try {
    processModel().model.prepareGhostSpread(radius);
  } catch (const std::bad_alloc&) {
    std::ostringstream message;
    message << "Not enough memory for the spread table of ghostRadius " << radius << ".";
    throw refusal(env, codes::memory, message.str());
  } catch (const std::length_error& e) {
    throw refusal(env, codes::parameter, e.what());
  }
}

// One InitAnalyseSlice call: what it has read, and how that takes effect. Reading runs the host's
// getters, which may call the module, so whether the state may be changed is asked again when it
// is.
class ModelStart {
 public:
  ModelStart(Napi::Env napiEnv, Environment& owner) : env(napiEnv), environment(owner) {
    const AnalysisClaim claim(env, environment);
    environment.jobs.requireIdle(env, "InitAnalyseSlice");
  }

  void read(const Napi::Object& parameters) {
    readOrStorePart(parameters, sliceReads(), [] {});
    const ModelParameters read = pending.applied({});
    size = {read.width, read.height};
    requireCountable(env, size);
    if (read.needBuffer) topPixels = reserveTopPixels(env, size);
    readOrStorePart(parameters, analysisReads(), [this] { startModel(); });
  }

  void commit() {
    AnalysisClaim claim(env, environment);
    environment.jobs.requireIdle(env, "InitAnalyseSlice");
    prepareGhostSpread(env, pending.applied({}).settings.ghostRadius);
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
      environment.jobs.requireIdle(env, "InitAnalyseSlice");
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
  SliceSize size{0, 0};
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
