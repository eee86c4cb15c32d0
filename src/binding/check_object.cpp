#include "binding/check_object.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "binding/options.h"
#include "binding/rejection.h"
#include "binding/shared_slicer.h"
#include "binding/slicer_calls.h"
#include "check/sentences.h"
#include "node_api/host_memory.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"
#include "runtime/worker_pool.h"

namespace stiltforge::binding {

namespace {

using check::CheckReport;
using check::CheckSettings;
using check::Finding;
using check::PrintCheck;
using check::SupportPoint;

// After which a job ends, so that a host can show progress and stop.
constexpr double secondsPerJob = 0.1;

class AddJob : public Job {
 public:
  AddJob(Napi::Env env, std::shared_ptr<PrintCheck> print, std::shared_ptr<SharedSlicer> slicer,
         uint32_t first)
      : Job(env), check_(std::move(print)), slicer_(std::move(slicer)), first_(first) {}

 protected:
  void work() override {
    const auto start = std::chrono::steady_clock::now();
    const uint32_t layers = slicer_->slicer.layerCount();
    const auto atOnce = 2 * static_cast<uint32_t>(workers::count());
    std::vector<Slice> slices;
    do {
      const uint32_t next = first_ + added_;
      slices.resize(std::min(atOnce, layers - next));
      {
        const std::lock_guard<std::mutex> lock(slicer_->mutex);
        slicer_->slicer.slice(next, slices);
      }
      for (const Slice& slice : slices) check_->add(slice.material, slice.width);
      added_ += static_cast<uint32_t>(slices.size());
    } while (first_ + added_ < layers &&
             std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() <
                 secondsPerJob);
  }

  napi_status result(napi_env env, napi_value* value) override {
    return napi_create_uint32(env, added_, value);
  }

  const char* withoutMemory() const override {
    return "There is not enough memory to check the layers. Free memory and try again.";
  }

 private:
  std::shared_ptr<PrintCheck> check_;
  std::shared_ptr<SharedSlicer> slicer_;
  uint32_t first_;
  uint32_t added_ = 0;
};

class FinishJob : public Job {
 public:
  FinishJob(Napi::Env env, std::shared_ptr<PrintCheck> print)
      : Job(env), check_(std::move(print)) {}

 protected:
  void work() override { report_ = check_->finish(); }

  napi_status result(napi_env env, napi_value* value) override {
    ValueMaker make(env);
    *value = make.object();
    const auto set = [&](napi_value object, const char* name, napi_value field) {
      make.set(object, make.string(name), field);
    };
    set(*value, "layers", make.number(report_.layers));
    set(*value, "volume", make.number(report_.volume));
    napi_value counts = make.object();
    for (std::size_t i = 0; i < check::severities; ++i) {
      set(counts, nameOf(static_cast<check::Severity>(i)), make.number(report_.counts.at(i)));
    }
    set(*value, "counts", counts);
    napi_value findings = make.array(report_.findings.size());
    for (std::size_t i = 0; i < report_.findings.size(); ++i) {
      const ValueScope scope(make);
      const Finding& finding = report_.findings[i];
      const check::Extent& extent = finding.extent;
      const check::Sentences sentences = describe(finding);
      napi_value object = make.object();
      set(object, "kind", make.string(nameOf(finding.kind)));
      set(object, "severity", make.string(nameOf(finding.severity)));
      set(object, "what", make.string(sentences.what));
      set(object, "remedy", make.string(sentences.remedy));
      set(object, "firstLayer", make.number(extent.firstLayer));
      set(object, "lastLayer", make.number(extent.lastLayer));
      if (extent.pixels > 0) {
        set(object, "left", make.number(uint32_t{extent.left}));
        set(object, "right", make.number(uint32_t{extent.right}));
        set(object, "top", make.number(uint32_t{extent.top}));
        set(object, "bottom", make.number(uint32_t{extent.bottom}));
        set(object, "layer", make.number(extent.piece.layer));
        set(object, "column", make.number(uint32_t{extent.piece.x}));
        set(object, "row", make.number(uint32_t{extent.piece.y}));
      }
      set(object, "count", make.number(finding.count));
      set(object, "volume", make.number(finding.volume));
      set(object, "area", make.number(finding.area));
      if (finding.kind == check::Kind::island) {
        set(object, "takenIn", make.number(finding.takenIn));
      }
      make.set(findings, static_cast<uint32_t>(i), object);
    }
    set(*value, "findings", findings);
    return make.status();
  }

  const char* withoutMemory() const override {
    return "There is not enough memory for the findings. Free memory and try again.";
  }

 private:
  std::shared_ptr<PrintCheck> check_;
  CheckReport report_;
};

CheckSettings readSettings(const Options& options) {
  CheckSettings settings;
  settings.pixelWidth = options.number("pixelWidth");
  settings.pixelHeight = options.number("pixelHeight");
  settings.layerHeight = options.number("layerHeight");
  settings.firstLayerHeight = options.optionalNumber("firstLayerHeight");
  settings.screenWidth = options.whole("screenWidth");
  settings.screenHeight = options.whole("screenHeight");
  settings.cropX = options.optionalWhole("cropX").value_or(0);
  settings.cropY = options.optionalWhole("cropY").value_or(0);
  settings.liftedLayers = options.optionalWhole("liftedLayers").value_or(0);
  const auto read = [&](const char* name, double& target) {
    target = options.optionalNumber(name).value_or(target);
  };
  read("criticalAngle", settings.criticalAngle);
  read("nearReach", settings.nearReach);
  read("farReach", settings.farReach);
  read("islandHeight", settings.islandHeight);
  return settings;
}

std::vector<SupportPoint> readPoints(const Napi::Value& value) {
  std::vector<SupportPoint> points;
  if (value.IsUndefined()) return points;
  if (!value.IsTypedArray() || value.As<Napi::TypedArray>().TypedArrayType() != napi_uint32_array) {
    throw Napi::TypeError::New(value.Env(), "The points must be a Uint32Array.");
  }
  const HostBytes host = HostBytes::ofView(value);
  const std::span<const uint32_t> numbers = host.as<uint32_t>();
  if (numbers.size() % 3 != 0) {
    throw Napi::RangeError::New(value.Env(), "The points must be three numbers each.");
  }
  const auto pixel = [](uint32_t number) {
    return static_cast<uint16_t>(std::min<uint32_t>(number, 65535));
  };
  for (std::size_t i = 0; i < numbers.size(); i += 3) {
    points.push_back({numbers[i], pixel(numbers[i + 1]), pixel(numbers[i + 2])});
  }
  return points;
}

}  // namespace

Napi::Function CheckObject::define(Napi::Env env) {
  return DefineClass(
      env, "PrintCheck",
      {InstanceMethod("add", &CheckObject::add), InstanceMethod("finish", &CheckObject::finish)});
}

CheckObject::CheckObject(const Napi::CallbackInfo& info) : Napi::ObjectWrap<CheckObject>(info) {
  const Napi::Env env = info.Env();
  const Options options(info, {"pixelWidth", "pixelHeight", "layerHeight", "firstLayerHeight",
                               "screenWidth", "screenHeight", "cropX", "cropY", "liftedLayers",
                               "criticalAngle", "nearReach", "farReach", "islandHeight"});
  const CheckSettings settings = readSettings(options);
  try {
    check_ = std::make_shared<PrintCheck>(settings, readPoints(info[1]));
  } catch (const std::invalid_argument& error) {
    throw Napi::RangeError::New(env,
                                std::string("The print can't be checked: ") + error.what() + ".");
  } catch (const std::bad_alloc&) {
    throw refusal(env, codes::memory,
                  "There is not enough memory for the points. Free memory and try again.");
  }
}

Napi::Value CheckObject::add(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    std::shared_ptr<SharedSlicer> slicer = sharedSlicerOf(info[0]);
    if (!slicer) {
      throw Napi::TypeError::New(env, "The layers must come from a slicer of the same binary.");
    }
    if (isFinished_) {
      throw refusal(env, codes::closed, "The check has ended. Create a new one.");
    }
    const double first = info[1].IsNumber() ? info[1].As<Napi::Number>().DoubleValue() : -1;
    if (!(first >= 0 && first < slicer->slicer.layerCount()) || first != std::floor(first)) {
      throw refusal(env, codes::index, "The slicer has no such layer.");
    }
    return Job::add(
        std::make_unique<AddJob>(env, check_, std::move(slicer), static_cast<uint32_t>(first)),
        queue_, info.This().As<Napi::Object>());
  });
}

Napi::Value CheckObject::finish(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    if (isFinished_) {
      throw refusal(env, codes::closed, "The check has ended. Create a new one.");
    }
    isFinished_ = true;
    return Job::add(std::make_unique<FinishJob>(env, check_), queue_,
                    info.This().As<Napi::Object>());
  });
}

}  // namespace stiltforge::binding
