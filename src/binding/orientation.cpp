#include "binding/orientation.h"

#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "binding/array_buffer.h"
#include "binding/job.h"
#include "binding/options.h"
#include "binding/print_settings.h"
#include "binding/watch.h"
#include "node_api/host_memory.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"
#include "orient/search.h"
#include "print/setting_ranges.h"
#include "print/turn.h"
#include "runtime/number_text.h"
#include "slicing/slicing_error.h"

namespace stiltforge::binding {

namespace {

using orient::Measures;
using orient::Orientation;

// No search needs more, and each costs a slicing of the mesh.
constexpr uint32_t mostDirections = 100000;
constexpr uint32_t mostListed = 1000;
constexpr uint32_t mostAtOnce = 1000;
constexpr double mostWeight = 1e6;

const char* nameOf(orient::Origin origin) {
  switch (origin) {
    case orient::Origin::asItIs:
      return "asItIs";
    case orient::Origin::flatSide:
      return "flatSide";
    case orient::Origin::spread:
      return "spread";
    case orient::Origin::nearby:
      return "nearby";
  }
  return "";
}

class SearchJob : public Job {
 public:
  SearchJob(Napi::Env env, std::vector<float> positions, const orient::SearchSettings& settings,
            std::shared_ptr<Watch> watch)
      : Job(env), positions_(std::move(positions)), settings_(settings), watch_(std::move(watch)) {}

 protected:
  void work() override {
    try {
      found_ = orient::search(
          positions_, settings_,
          [this](std::size_t done, std::size_t total) { watch_->tell(done, total); },
          &watch_->cancelled);
    } catch (const slicing::SlicingError& error) {
      throw JobRefusal(codes::mesh, error.what());
    } catch (const orient::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", error.what());
    }
    positions_ = {};
  }

  napi_status result(napi_env env, napi_value* value) override {
    ValueMaker make(env);
    *value = make.object();
    if (found_.asItIs) make.set(*value, make.string("asItIs"), toValue(make, *found_.asItIs));
    napi_value best = make.array(found_.best.size());
    for (std::size_t i = 0; i < found_.best.size(); ++i) {
      const ValueScope scope(make);
      make.set(best, static_cast<uint32_t>(i), toValue(make, found_.best[i]));
    }
    make.set(*value, make.string("best"), best);
    setNumber(make, *value, "tried", static_cast<double>(found_.tried));
    setNumber(make, *value, "pixelSize", found_.pixelSize);
    setNumber(make, *value, "layerHeight", found_.layerHeight);
    return make.status();
  }

  const char* withoutMemory() const override {
    return "There is not enough memory to try orientations of the mesh. Simplify it first.";
  }

 private:
  static void setNumber(ValueMaker& make, napi_value object, const char* name, double value) {
    make.set(object, make.string(name), make.number(value));
  }

  static napi_value toValue(ValueMaker& make, const Orientation& orientation) {
    const Measures& m = orientation.measures;
    napi_value measures = make.object();
    setNumber(make, measures, "points", m.points);
    setNumber(make, measures, "overhang", m.overhang);
    setNumber(make, measures, "islands", m.islands);
    setNumber(make, measures, "height", m.height);
    setNumber(make, measures, "cups", m.cups);
    setNumber(make, measures, "marks", m.marks);
    napi_value supports = make.array(orientation.supports.size());
    for (std::size_t i = 0; i < orientation.supports.size(); ++i) {
      const ValueScope scope(make);
      const orient::Support& at = orientation.supports[i];
      napi_value support = make.object();
      setNumber(make, support, "x", at.x);
      setNumber(make, support, "y", at.y);
      setNumber(make, support, "z", at.z);
      make.set(support, make.string("kind"), make.string(at.isIsland ? "island" : "overhang"));
      make.set(supports, static_cast<uint32_t>(i), support);
    }
    napi_value turn = make.array(3);
    make.set(turn, 0U, make.number(orientation.turn.x));
    make.set(turn, 1U, make.number(orientation.turn.y));
    make.set(turn, 2U, make.number(orientation.turn.z));
    napi_value object = make.object();
    make.set(object, make.string("turn"), turn);
    make.set(object, make.string("origin"), make.string(nameOf(orientation.origin)));
    make.set(object, make.string("measures"), measures);
    make.set(object, make.string("supports"), supports);
    setNumber(make, object, "cost", orientation.cost);
    return object;
  }

  std::vector<float> positions_;
  orient::SearchSettings settings_;
  std::shared_ptr<Watch> watch_;
  orient::SearchResult found_;
};

Napi::Error outOfRange(Napi::Env env, const char* name, double value, const std::string& range) {
  return Napi::RangeError::New(
      env, std::string("The option \"") + name + "\" is " + numberText(value) + "; " + range + ".");
}

PrintSettings checkedPrint(Napi::Env env, const Options& options) {
  const PrintSettings print = readPrint(options);
  if (const auto conflict = findConflict(print)) {
    throw outOfRange(env, conflict->setting, conflict->value, conflict->range);
  }
  return print;
}

/// Three finite numbers.
slicing::Vector readVector(Napi::Env env, const Napi::Value& value, const std::string& what) {
  std::array<double, 3> numbers{};
  bool isVector = value.IsArray() && value.As<Napi::Array>().Length() == 3;
  for (uint32_t i = 0; isVector && i < 3; ++i) {
    const Napi::Value number = value.As<Napi::Array>().Get(i);
    isVector = number.IsNumber() && std::isfinite(number.As<Napi::Number>().DoubleValue());
    if (isVector) numbers.at(i) = number.As<Napi::Number>().DoubleValue();
  }
  if (!isVector) throw Napi::TypeError::New(env, what + " must be an array of three numbers.");
  return {numbers[0], numbers[1], numbers[2]};
}

orient::SearchSettings readSettings(Napi::Env env, const Options& options,
                                    const Napi::Object& object) {
  orient::SearchSettings settings;
  settings.print = checkedPrint(env, options);
  const auto weight = [&](const char* name, double& target) {
    target = options.optionalNumber(name).value_or(target);
    if (target >= 0 && target <= mostWeight) return;
    throw outOfRange(env, name, target, "it must be from 0 to 1,000,000");
  };
  weight("pointsWeight", settings.weights.points);
  weight("overhangWeight", settings.weights.overhang);
  weight("islandsWeight", settings.weights.islands);
  weight("heightWeight", settings.weights.height);
  weight("cupsWeight", settings.weights.cups);
  weight("marksWeight", settings.weights.marks);
  const Napi::Value side = object.Get("keepClean");
  if (!side.IsUndefined()) {
    const slicing::Vector v = readVector(env, side, "The option \"keepClean\"");
    const double length = std::sqrt(dot(v, v));
    if (!(length > 0 && std::isfinite(length))) {
      throw Napi::RangeError::New(
          env, "The option \"keepClean\" has no direction; its numbers must not all be 0.");
    }
    settings.keepClean = v;
  }
  const auto count = [&](const char* name, uint32_t& target, uint32_t least, uint32_t most) {
    target = options.optionalWhole(name).value_or(target);
    if (target >= least && target <= most) return;
    throw outOfRange(env, name, target,
                     "it must be from " + std::to_string(least) + " to " + std::to_string(most));
  };
  count("directions", settings.spread, 1, mostDirections);
  count("listed", settings.listed, 1, mostListed);
  count("atOnce", settings.atOnce, 1, mostAtOnce);
  const Napi::Value confirm = object.Get("confirm");
  if (!confirm.IsUndefined() && !confirm.IsBoolean()) {
    throw Napi::TypeError::New(env, "The option \"confirm\" must be true or false.");
  }
  settings.confirm = confirm.IsUndefined() || confirm.ToBoolean();
  return settings;
}

}  // namespace

Napi::Value startOrientation(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const Options options(
      info, {"positions",      "layerHeight",   "pixelSize",      "screenWidth",   "screenHeight",
             "lift",           "criticalAngle", "inset",          "supportArea",   "minimumHeight",
             "minimumSpacing", "pointsWeight",  "overhangWeight", "islandsWeight", "heightWeight",
             "cupsWeight",     "marksWeight",   "keepClean",      "directions",    "listed",
             "confirm",        "atOnce",        "listener"});
  const orient::SearchSettings settings = readSettings(env, options, info[0].As<Napi::Object>());
  auto watch = std::make_shared<Watch>(info[0].As<Napi::Object>());
  // Last, so that no getter can take the memory away between the check and the copy.
  const Napi::TypedArray given = options.floats("positions");
  std::unique_ptr<SearchJob> job;
  try {
    const HostBytes host = HostBytes::ofView(given);
    const std::span<const float> numbers = host.as<float>();
    std::vector<float> positions(numbers.begin(), numbers.end());
    job = std::make_unique<SearchJob>(env, std::move(positions), settings, watch);
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "There is not enough memory for a copy of the mesh. Simplify it first.");
  }
  return watched(env, watch, Job::startAtOnce(std::move(job)));
}

Napi::Value turnMesh(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const slicing::Vector degrees = readVector(env, info[1], "The turn");
  if (!info[0].IsTypedArray() ||
      info[0].As<Napi::TypedArray>().TypedArrayType() != napi_float32_array) {
    throw Napi::TypeError::New(env, "The positions must be a Float32Array.");
  }
  const auto positions = info[0].As<Napi::TypedArray>();
  if (positions.ElementLength() % 3 != 0) {
    throw Napi::RangeError::New(env, "The positions must be three numbers a corner; there are " +
                                         std::to_string(positions.ElementLength()) + ".");
  }
  const std::size_t bytes = positions.ByteLength();
  const char* const withoutMemory =
      "There is not enough memory for the turned mesh. Simplify it first.";
  Napi::ArrayBuffer buffer = newArrayBuffer(env, bytes, withoutMemory);
  try {
    const std::vector<float> result =
        turned(HostBytes::ofView(positions).as<float>(), {degrees.x, degrees.y, degrees.z});
    if (copyToHost(env, buffer, result.data(), bytes) != napi_ok) throw Napi::Error::New(env);
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory, withoutMemory);
  }
  napi_value array = nullptr;
  if (napi_create_typedarray(env, napi_float32_array, positions.ElementLength(), buffer, 0,
                             &array) != napi_ok) {
    throw Napi::Error::New(env);
  }
  return {env, array};
}

}  // namespace stiltforge::binding
