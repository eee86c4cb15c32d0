#include "binding/print_settings.h"

#include <variant>

#include "binding/options.h"
#include "binding/setting_conflict.h"
#include "model/parameters.h"
#include "print/analysis_parameters.h"
#include "print/print_settings.h"
#include "print/setting_ranges.h"

namespace stiltforge::binding {

namespace {

PrintSettings readSettings(const Napi::CallbackInfo& info) {
  const Options options(
      info, {"layerHeight", "pixelSize", "screenWidth", "screenHeight", "lift", "criticalAngle",
             "inset", "supportArea", "minimumHeight", "minimumSpacing"});
  return readPrint(options);
}

uint32_t countOf(Napi::Env env, const Napi::Object& slices, const char* name) {
  const Napi::Value value = slices.Get(name);
  if (!value.IsNumber()) {
    throw Napi::TypeError::New(env, std::string("The slices' ") + name + " must be a number.");
  }
  return value.As<Napi::Number>().Uint32Value();
}

}  // namespace

PrintSettings readPrint(const Options& options) {
  PrintSettings print;
  const auto read = [&](const char* name, double& target) {
    target = options.optionalNumber(name).value_or(target);
  };
  read("layerHeight", print.layerHeight);
  read("pixelSize", print.pixelSize);
  print.screenWidth = options.optionalWhole("screenWidth").value_or(print.screenWidth);
  print.screenHeight = options.optionalWhole("screenHeight").value_or(print.screenHeight);
  read("lift", print.lift);
  read("criticalAngle", print.criticalAngle);
  read("inset", print.inset);
  read("supportArea", print.supportArea);
  read("minimumHeight", print.minimumHeight);
  print.minimumSpacing = options.optionalNumber("minimumSpacing");
  return print;
}

Napi::Value analysisParameters(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const PrintSettings print = readSettings(info);
  if (!info[1].IsObject()) {
    throw Napi::TypeError::New(env, "The second argument must be an object with the slices' size.");
  }
  const auto slices = info[1].As<Napi::Object>();
  Napi::Object parameters = Napi::Object::New(env);
  for (const auto& [name, value] :
       analysisParameters(print, countOf(env, slices, "width"), countOf(env, slices, "height"),
                          countOf(env, slices, "layerCount"))) {
    const bool isFlag =
        std::holds_alternative<bool ModelParameters::*>(findParameter(name)->target);
    if (isFlag) {
      parameters.Set(name, Napi::Boolean::New(env, value != 0));
    } else {
      parameters.Set(name, Napi::Number::New(env, value));
    }
  }
  return parameters;
}

Napi::Value findSettingConflict(const Napi::CallbackInfo& info) {
  return conflictValue(info.Env(), findConflict(readSettings(info)));
}

}  // namespace stiltforge::binding
