#include "binding/model_parameters.h"

#include <cmath>
#include <sstream>
#include <variant>

#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

[[noreturn]] void refuse(Napi::Env env, const Parameter& parameter, const char* kind) {
  std::ostringstream message;
  message << "The parameter " << parameter.name << " must be " << kind;
  if (!std::holds_alternative<bool ModelParameters::*>(parameter.target)) {
    message.precision(10);
    message << " from " << parameter.least << " to " << parameter.most;
  }
  message << ".";
  throw refusal(env, codes::parameter, message.str());
}

double readFlag(const Parameter& parameter, const Napi::Value& value) {
  if (!value.IsBoolean()) refuse(value.Env(), parameter, "true or false");
  return value.As<Napi::Boolean>().Value() ? 1 : 0;
}

double readNumber(const Parameter& parameter, const Napi::Value& value) {
  const bool isWhole = std::holds_alternative<uint16_t ModelParameters::*>(parameter.target) ||
                       std::holds_alternative<uint32_t ModelParameters::*>(parameter.target);
  const double number = value.IsNumber() ? value.As<Napi::Number>().DoubleValue() : NAN;
  const bool isInRange = number >= parameter.least && number <= parameter.most;
  if (!isInRange || (isWhole && number != std::floor(number))) {
    refuse(value.Env(), parameter, isWhole ? "a whole number" : "a number");
  }
  return number;
}

}  // namespace

ModelParameters readParameters(const Napi::Value& parameters) {
  if (!parameters.IsObject()) {
    throw refusal(parameters.Env(), codes::parameter,
                  "The first argument must be an object with the 28 parameters of a model.");
  }
  const auto object = parameters.As<Napi::Object>();
  ModelParameters read;
  for (const Parameter& parameter : parameterTable()) {
    const Napi::Value value = object.Get(parameter.name);
    const bool isFlag = std::holds_alternative<bool ModelParameters::*>(parameter.target);
    storeParameter(read, parameter,
                   isFlag ? readFlag(parameter, value) : readNumber(parameter, value));
  }
  return read;
}

}  // namespace stiltforge::binding
