#include "binding/scaffold.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "binding/array_buffer.h"
#include "binding/job.h"
#include "binding/options.h"
#include "binding/setting_conflict.h"
#include "binding/watch.h"
#include "node_api/host_memory.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"
#include "runtime/number_text.h"
#include "scaffold/scaffold.h"
#include "slicing/slicing_error.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::binding {

namespace {

using scaffold::Reason;
using scaffold::Scaffold;
using scaffold::Stand;

const char* nameOf(Stand stand) {
  switch (stand) {
    case Stand::plate:
      return "plate";
    case Stand::bridge:
      return "bridge";
    case Stand::part:
      return "part";
    case Stand::low:
      return "low";
  }
  return "";
}

const char* nameOf(Reason reason) {
  return reason == Reason::tooLow ? "tooLow" : "noWay";
}

std::string sentenceOf(const scaffold::SettingConflict& conflict) {
  return std::string("The option \"") + conflict.setting + "\" is " + numberText(conflict.value) +
         "; " + conflict.range + ".";
}

class ScaffoldJob : public Job {
 public:
  ScaffoldJob(Napi::Env env, std::vector<float> positions, std::vector<slicing::Vector> points,
              double plateZ, const scaffold::Settings& settings, std::shared_ptr<Watch> watch)
      : Job(env),
        positions_(std::move(positions)),
        points_(std::move(points)),
        plateZ_(plateZ),
        settings_(settings),
        watch_(std::move(watch)) {}

 protected:
  void work() override {
    try {
      auto part = slicing::TriangleMesh::fromSoup(positions_);
      positions_ = {};
      const double lift = part.bounds.min.z - plateZ_;
      if (const auto conflict = scaffold::findConflict(settings_, lift)) {
        throw JobRefusal(codes::parameter, sentenceOf(*conflict));
      }
      built_ = scaffold::build(
          std::move(part), points_, plateZ_, settings_,
          [this](std::size_t done, std::size_t total) { watch_->tell(done, total); },
          &watch_->cancelled);
    } catch (const slicing::SlicingError& error) {
      throw JobRefusal(codes::mesh, error.what());
    } catch (const scaffold::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", error.what());
    }
  }

  napi_status result(napi_env env, napi_value* value) override {
    ValueMaker make(env);
    *value = make.object();
    make.set(*value, make.string("positions"), positions(make));
    make.set(*value, make.string("rings"), rings(make));
    napi_value supports = make.array(built_.supports.size());
    for (std::size_t i = 0; i < built_.supports.size(); ++i) {
      const ValueScope scope(make);
      const scaffold::Support& from = built_.supports[i];
      napi_value support = make.object();
      make.set(support, make.string("point"), make.number(from.point));
      make.set(support, make.string("stand"), make.string(nameOf(from.stand)));
      setPlace(make, support, from);
      make.set(supports, static_cast<uint32_t>(i), support);
    }
    make.set(*value, make.string("supports"), supports);
    napi_value leftOut = make.array(built_.leftOut.size());
    for (std::size_t i = 0; i < built_.leftOut.size(); ++i) {
      const ValueScope scope(make);
      napi_value left = make.object();
      make.set(left, make.string("point"), make.number(built_.leftOut[i].point));
      make.set(left, make.string("reason"), make.string(nameOf(built_.leftOut[i].reason)));
      make.set(leftOut, static_cast<uint32_t>(i), left);
    }
    make.set(*value, make.string("leftOut"), leftOut);
    make.set(*value, make.string("braces"), braces(make));
    napi_value alone = make.array(built_.alone.size());
    for (std::size_t i = 0; i < built_.alone.size(); ++i) {
      const ValueScope scope(make);
      make.set(alone, static_cast<uint32_t>(i), make.number(built_.alone[i]));
    }
    make.set(*value, make.string("alone"), alone);
    make.set(*value, make.string("raftTriangles"),
             make.number(static_cast<double>(built_.raftTriangles)));
    return make.status();
  }

  const char* withoutMemory() const override {
    return "There is not enough memory to build the supports. Simplify the mesh first.";
  }

 private:
  // Where a support or a brace is among the triangles and the rings.
  template <class Piece>
  static void setPlace(ValueMaker& make, napi_value object, const Piece& piece) {
    const auto set = [&](const char* name, std::size_t value) {
      make.set(object, make.string(name), make.number(static_cast<double>(value)));
    };
    set("firstTriangle", piece.firstTriangle);
    set("triangles", piece.triangles);
    set("firstRing", piece.firstRing);
    set("rings", piece.rings);
  }

  napi_value braces(ValueMaker& make) {
    napi_value braces = make.array(built_.braces.size());
    for (std::size_t i = 0; i < built_.braces.size(); ++i) {
      const ValueScope scope(make);
      const scaffold::BuiltBrace& from = built_.braces[i];
      napi_value brace = make.object();
      make.set(brace, make.string("first"), make.number(from.first));
      make.set(brace, make.string("second"), make.number(from.second));
      setPlace(make, brace, from);
      make.set(braces, static_cast<uint32_t>(i), brace);
    }
    return braces;
  }

  napi_value positions(ValueMaker& make) {
    static_assert(sizeof(slicing::Triangle) == 9 * sizeof(float));
    napi_value array = numbers(make, napi_float32_array, sizeof(float), built_.triangles);
    built_.triangles = {};
    return array;
  }

  napi_value rings(ValueMaker& make) {
    static_assert(sizeof(scaffold::Ring) == 4 * sizeof(double));
    napi_value array = numbers(make, napi_float64_array, sizeof(double), built_.rings);
    built_.rings = {};
    return array;
  }

  // The numbers that elements consist of, each of `size` bytes.
  template <class Element>
  static napi_value numbers(ValueMaker& make, napi_typedarray_type type, std::size_t size,
                            const std::vector<Element>& elements) {
    const std::size_t bytes = elements.size() * sizeof(Element);
    napi_value buffer = nullptr;
    napi_value array = nullptr;
    if (make.status() == napi_ok) make.check(newArrayBuffer(make.env(), bytes, &buffer));
    if (make.status() == napi_ok) {
      make.check(copyToHost(make.env(), buffer, elements.data(), bytes));
    }
    if (make.status() != napi_ok) return nullptr;
    make.check(napi_create_typedarray(make.env(), type, bytes / size, buffer, 0, &array));
    return array;
  }

  std::vector<float> positions_;
  std::vector<slicing::Vector> points_;
  double plateZ_;
  scaffold::Settings settings_;
  std::shared_ptr<Watch> watch_;
  Scaffold built_;
};

scaffold::Settings readSettings(const Options& options) {
  scaffold::Settings settings;
  const auto read = [&](const char* name, double& target) {
    target = options.optionalNumber(name).value_or(target);
  };
  read("tipDiameter", settings.tipDiameter);
  read("tipLength", settings.tipLength);
  read("penetration", settings.penetration);
  read("pillarDiameter", settings.pillarDiameter);
  read("footDiameter", settings.footDiameter);
  read("footHeight", settings.footHeight);
  read("clearance", settings.clearance);
  read("raftThickness", settings.raftThickness);
  read("braceDiameter", settings.braceDiameter);
  read("braceReach", settings.braceReach);
  return settings;
}

std::vector<slicing::Vector> readPoints(Napi::Env env, const Napi::Value& value) {
  if (!value.IsTypedArray() ||
      value.As<Napi::TypedArray>().TypedArrayType() != napi_float64_array) {
    throw Napi::TypeError::New(env, "The option \"points\" must be a Float64Array.");
  }
  const HostBytes host = HostBytes::ofView(value);
  const std::span<const double> given = host.as<double>();
  if (given.size() % 3 != 0) {
    throw Napi::RangeError::New(env,
                                "The option \"points\" must have three numbers a point; it has " +
                                    std::to_string(given.size()) + ".");
  }
  std::vector<slicing::Vector> points;
  points.reserve(given.size() / 3);
  for (std::size_t i = 0; i < given.size(); i += 3) {
    const std::span<const double> at = given.subspan(i, 3);
    if (!std::isfinite(at[0]) || !std::isfinite(at[1]) || !std::isfinite(at[2])) {
      throw Napi::RangeError::New(env, "Point " + std::to_string(i / 3) +
                                           " (counted from 0) is no place; its coordinates must be "
                                           "finite numbers.");
    }
    points.push_back({at[0], at[1], at[2]});
  }
  return points;
}

}  // namespace

Napi::Value startScaffold(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const Options options(info,
                        {"positions", "points", "plateZ", "layerHeight", "tipDiameter", "tipLength",
                         "penetration", "pillarDiameter", "footDiameter", "footHeight", "clearance",
                         "raftThickness", "braceDiameter", "braceReach", "listener"});
  scaffold::Settings settings = readSettings(options);
  settings.layerHeight = options.number("layerHeight");
  // The lift is known when the mesh has been looked at.
  constexpr double anyLift = std::numeric_limits<double>::infinity();
  if (const auto conflict = scaffold::findConflict(settings, anyLift)) {
    throw Napi::RangeError::New(env, sentenceOf(*conflict));
  }
  const double plateZ = options.number("plateZ");
  if (!std::isfinite(plateZ)) {
    throw Napi::RangeError::New(env, "The option \"plateZ\" must be a finite number.");
  }
  const auto given = info[0].As<Napi::Object>();
  auto watch = std::make_shared<Watch>(given);
  std::unique_ptr<ScaffoldJob> job;
  try {
    std::vector<slicing::Vector> points = readPoints(env, given.Get("points"));
    // Last, so that no getter can take the memory away between the check and the copy.
    const HostBytes host = HostBytes::ofView(options.floats("positions"));
    const std::span<const float> floats = host.as<float>();
    std::vector<float> positions(floats.begin(), floats.end());
    job = std::make_unique<ScaffoldJob>(env, std::move(positions), std::move(points), plateZ,
                                        settings, watch);
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "There is not enough memory for a copy of the mesh. Simplify it first.");
  }
  return watched(env, watch, Job::startAtOnce(std::move(job)));
}

Napi::Value findScaffoldConflict(const Napi::CallbackInfo& info) {
  const Options options(
      info, {"tipDiameter", "tipLength", "penetration", "pillarDiameter", "footDiameter",
             "footHeight", "clearance", "raftThickness", "braceDiameter", "braceReach"});
  const double lift = info[1].IsNumber() ? info[1].As<Napi::Number>().DoubleValue() : 0;
  return conflictValue(info.Env(), scaffold::findConflict(readSettings(options), lift));
}

}  // namespace stiltforge::binding
