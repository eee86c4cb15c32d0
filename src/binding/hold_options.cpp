#include "binding/hold_options.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>

#include "binding/options.h"
#include "node_api/refusal.h"
#include "print/hold_settings.h"
#include "runtime/number_text.h"

namespace stiltforge::binding {

namespace {

// What no printer comes near; in mm, mm2 and degrees. Squares and quotients of them are finite.
constexpr double least = 1e-6;
constexpr double longest = 1e6;
constexpr double mostArea = 1e24;

class HoldOptions {
 public:
  // `known`: every option that may be there, so that a misspelt one does not go unnoticed.
  HoldOptions(const Napi::Value& options, const char* what,
              std::initializer_list<const char*> known)
      : env_(options.Env()), what_(what) {
    if (options.IsUndefined()) return;
    if (!options.IsObject()) {
      throw refusal(env_, codes::parameter,
                    std::string("The options of ") + what + " are no object.");
    }
    object_ = options.As<Napi::Object>();
    if (const auto stranger = findStranger(object_, known)) {
      throw refusal(env_, codes::parameter,
                    std::string("The options of ") + what + ": " + *stranger);
    }
  }

  // Ends included.
  double number(const char* name, std::optional<double> fallback, double lowest, double highest,
                const char* unit) const {
    const Napi::Value value = get(name);
    if (value.IsUndefined() && fallback) return *fallback;
    const double given = value.IsNumber() ? value.As<Napi::Number>().DoubleValue() : NAN;
    if (given >= lowest && given <= highest) return given;
    const std::string isWhat = value.IsUndefined() ? "missing"
                               : value.IsNumber()  ? numberText(given)
                                                   : "no number";
    const std::string range = "from " + numberText(lowest) + " to " + numberText(highest);
    throw refusal(env_, codes::parameter,
                  std::string("The option ") + name + " of " + what_ + " is " + isWhat +
                      "; it must be a number of " + unit + " " + range + ".");
  }

  Napi::Value get(const char* name) const {
    return object_.IsEmpty() ? env_.Undefined() : object_.Get(name);
  }

 private:
  Napi::Env env_;
  const char* what_;
  Napi::Object object_;
};

HoldOptions finishOptions(const Napi::Value& options) {
  return {options, "finishing", {"supportArea", "spacing", "judge", "signal"}};
}

}  // namespace

hold::SurveySettings readSurveySettings(const Napi::Value& options) {
  const HoldOptions given(options, "the survey",
                          {"pixelSize", "layerHeight", "firstLayerHeight", "minimumHeight",
                           "supportArea", "criticalAngle"});
  PrintSettings print;
  print.pixelSize = given.number("pixelSize", std::nullopt, least, longest, "mm");
  print.layerHeight = given.number("layerHeight", std::nullopt, least, longest, "mm");
  print.minimumHeight = given.number("minimumHeight", print.minimumHeight, 0, longest, "mm");
  print.supportArea = given.number("supportArea", print.supportArea, least, mostArea, "mm2");
  print.criticalAngle = given.number("criticalAngle", print.criticalAngle, least, 90, "degrees");
  if (!given.get("firstLayerHeight").IsUndefined()) {
    print.firstLayerHeight = given.number("firstLayerHeight", std::nullopt, least, longest, "mm");
  }
  const hold::SurveySettings settings = surveySettings(print);
  try {
    const hold::Survey usable(settings);
  } catch (const std::invalid_argument& unusable) {
    throw refusal(
        options.Env(), codes::parameter,
        std::string("The options of the survey can't be used together: ") + unusable.what() + ".");
  }
  return settings;
}

hold::JudgeSettings readJudgeSettings(const Napi::Value& options, hold::JudgeSettings settings) {
  const HoldOptions given(options, "the judge", {"nearReach", "farReach", "spacing"});
  settings.nearReach = given.number("nearReach", settings.nearReach, 0, longest, "mm");
  settings.farReach = given.number("farReach", settings.farReach, 0, longest, "mm");
  settings.spacing = given.number("spacing", settings.spacing, 0, longest, "mm");
  return settings;
}

hold::FinishSettings readFinishSettings(const Napi::Value& options) {
  const HoldOptions given = finishOptions(options);
  PrintSettings print;
  print.supportArea = given.number("supportArea", print.supportArea, least, mostArea, "mm2");
  hold::FinishSettings settings = finishSettings(print);
  settings.spacing = given.number("spacing", settings.spacing, 0, longest, "mm");
  return settings;
}

hold::JudgeSettings readFinishJudgeSettings(const Napi::Value& options) {
  const HoldOptions given = finishOptions(options);
  hold::JudgeSettings fallback;
  // Who asks for points side by side is not told that they are.
  fallback.spacing = std::min(fallback.spacing, readFinishSettings(options).spacing);
  return readJudgeSettings(given.get("judge"), fallback);
}

Cancelled readCancelled(const Napi::Value& options) {
  return cancelledBy(options.Env(), finishOptions(options).get("signal"));
}

}  // namespace stiltforge::binding
