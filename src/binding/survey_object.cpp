#include "binding/survey_object.h"

#include <cstdint>
#include <exception>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "analysis/run_extraction.h"
#include "binding/hold_jobs.h"
#include "binding/hold_options.h"
#include "binding/host_runs.h"
#include "binding/host_slices.h"
#include "binding/slicer_calls.h"
#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

using Points = std::vector<hold::SupportPoint>;

Points readPoints(const Napi::Value& value) {
  const Napi::Env env = value.Env();
  if (!value.IsArray()) {
    throw refusal(env, codes::parameter, "The points of a slice are no array.");
  }
  const auto array = value.As<Napi::Array>();
  Points points;
  for (uint32_t i = 0; i < array.Length(); ++i) {
    const Napi::HandleScope scope(env);
    const Napi::Value item = array.Get(i);
    const std::string which = "point " + std::to_string(i) + " of a slice";
    if (!item.IsObject()) {
      throw refusal(env, codes::parameter,
                    "P" + which.substr(1) + " is no object with x and y, pixels of the slice.");
    }
    const auto object = item.As<Napi::Object>();
    const auto coordinate = [&](const char* name) {
      return static_cast<uint16_t>(wholeNumber(object.Get(name), codes::parameter,
                                               std::string(name) + " of " + which, 0, 65535));
    };
    const uint16_t x = coordinate("x");
    const uint16_t y = coordinate("y");
    points.push_back({x, y, object.Get("isIsland").ToBoolean()});
  }
  return points;
}

Napi::Error withoutMemory(Napi::Env env, const SliceSize& size) {
  return refusal(
      env, codes::memory,
      "Not enough memory to take the slice of " + sizeText(size.width, size.height) + " in.");
}

}  // namespace

Napi::Function SurveyObject::define(Napi::Env env) {
  return DefineClass(env, "Survey",
                     {InstanceMethod("addPixels", &SurveyObject::addPixels),
                      InstanceMethod("addRuns", &SurveyObject::addRuns),
                      InstanceMethod("addSlicer", &SurveyObject::addSlicer),
                      InstanceMethod("judge", &SurveyObject::judge),
                      InstanceMethod("finish", &SurveyObject::finish)});
}

SurveyObject::SurveyObject(const Napi::CallbackInfo& info) : Napi::ObjectWrap<SurveyObject>(info) {
  const auto side = [&](std::size_t argument, const char* what) {
    return static_cast<uint16_t>(wholeNumber(info[argument], codes::parameter, what, 1, 65535));
  };
  size_ = {side(0, "The width of the slices"), side(1, "The height of the slices")};
  requireCountable(info.Env(), size_);
  state_ = std::make_shared<State>(State{hold::SurveyedPart(readSurveySettings(info[2])), {}});
}

std::function<hold::SurveyedPart&()> SurveyObject::source() const {
  return [state = state_]() -> hold::SurveyedPart& {
    if (!state->failure) return state->part;
    throw JobRefusal(codes::closed, "An earlier layer failed (" + *state->failure +
                                        "), so what lies above it would be wrong. Create a new "
                                        "survey.");
  };
}

Napi::Promise SurveyObject::queueLayers(const Napi::CallbackInfo& info,
                                        std::function<void(hold::SurveyedPart&)> add) {
  const auto addOrFail = [state = state_, add = std::move(add)](hold::SurveyedPart& part) {
    if (part.isEnded()) {
      throw JobRefusal(codes::closed,
                       "The points of this survey were judged or finished, so no layer may follow. "
                       "Create a new survey.");
    }
    try {
      add(part);
    } catch (const std::bad_alloc&) {
      state->failure = "there was not enough memory";
      throw;
    } catch (const std::exception& failure) {
      state->failure = failure.what();
      throw;
    }
  };
  return Job::add(std::make_unique<SurveyJob>(info.Env(), source(), addOrFail), queue_,
                  info.This().As<Napi::Object>());
}

Napi::Promise SurveyObject::queueSlice(const Napi::CallbackInfo& info,
                                       const std::function<Slice()>& take) {
  try {
    // First what may run a getter of the host, which may take memory away.
    Points points = readPoints(info[1]);
    auto layer = std::make_shared<hold::SurveyedLayer>();
    layer->slice = take();
    layer->findings.points = std::move(points);
    return queueLayers(
        info, [layer](hold::SurveyedPart& part) { part.add(layer->slice, layer->findings); });
  } catch (const std::bad_alloc&) {
    throw withoutMemory(info.Env(), size_);
  }
}

Napi::Value SurveyObject::addPixels(const Napi::CallbackInfo& info) {
  return queueSlice(info, [&] {
    const HostBytes pixels = pixelsOf(info[0], size_);
    return sliceOfPixels(pixels.as<uint8_t>().data(), size_.width, size_.height, nullptr);
  });
}

Napi::Value SurveyObject::addRuns(const Napi::CallbackInfo& info) {
  return queueSlice(info, [&] { return readRuns(info[0], size_.width, size_.height); });
}

Napi::Value SurveyObject::addSlicer(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const std::shared_ptr<SharedSlicer> slicer = sharedSlicerOf(info[0]);
  if (!slicer) {
    throw refusal(env, codes::slice,
                  "The layers must come from a Slicer or a LayerSlicer of the same binary.");
  }
  requireSameSize(env, slicer->slicer.width(), slicer->slicer.height(), size_);
  const uint32_t first = wholeNumber(info[1], codes::index, "The first layer of the slicer", 0,
                                     slicer->slicer.layerCount() - 1.0);
  if (!info[2].IsArray()) {
    throw refusal(env, codes::parameter, "The points of the layers are no array of arrays.");
  }
  const auto lists = info[2].As<Napi::Array>();
  if (lists.Length() > slicer->slicer.layerCount() - first) {
    throw refusal(env, codes::index, "There are points of more layers than the slicer has.");
  }
  try {
    std::vector<Points> points;
    for (uint32_t i = 0; i < lists.Length(); ++i) points.push_back(readPoints(lists.Get(i)));
    return queueLayers(info, [slicer, first, points = std::move(points)](hold::SurveyedPart& part) {
      std::vector<Slice> slices(points.size());
      {
        const std::lock_guard<std::mutex> lock(slicer->mutex);
        slicer->slicer.slice(first, slices);
      }
      for (std::size_t i = 0; i < slices.size(); ++i) {
        hold::LayerFindings findings;
        findings.points = points[i];
        part.add(slices[i], findings);
      }
    });
  } catch (const std::bad_alloc&) {
    throw withoutMemory(env, size_);
  }
}

Napi::Value SurveyObject::judge(const Napi::CallbackInfo& info) {
  return Job::add(std::make_unique<JudgeJob>(info.Env(), source(), readJudgeSettings(info[0])),
                  queue_, info.This().As<Napi::Object>());
}

Napi::Value SurveyObject::finish(const Napi::CallbackInfo& info) {
  return Job::add(
      std::make_unique<FinishJob>(info.Env(), source(), readFinishSettings(info[0]),
                                  readFinishJudgeSettings(info[0]), readCancelled(info[0])),
      queue_, info.This().As<Napi::Object>());
}

}  // namespace stiltforge::binding
