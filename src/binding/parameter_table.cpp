#include "binding/parameter_table.h"

#include <cstdint>
#include <variant>

#include "model/parameters.h"

namespace stiltforge::binding {

namespace {

const char* kindOf(const ParameterTarget& target) {
  if (std::holds_alternative<bool ModelParameters::*>(target)) return "flag";
  const bool isWhole = std::holds_alternative<uint16_t ModelParameters::*>(target) ||
                       std::holds_alternative<uint32_t ModelParameters::*>(target);
  return isWhole ? "integer" : "number";
}

Napi::Value defaultOf(Napi::Env env, const Parameter& parameter) {
  if (std::holds_alternative<uint16_t ModelParameters::*>(parameter.target)) return env.Undefined();
  const double value = storedParameter({}, parameter);
  if (std::holds_alternative<bool ModelParameters::*>(parameter.target)) {
    return Napi::Boolean::New(env, value != 0);
  }
  return Napi::Number::New(env, value);
}

}  // namespace

Napi::Array parameterTable(Napi::Env env) {
  Napi::Array rows = Napi::Array::New(env);
  for (const Parameter& parameter : stiltforge::parameterTable()) {
    Napi::Object row = Napi::Object::New(env);
    row.Set("name", parameter.name);
    row.Set("kind", kindOf(parameter.target));
    row.Set("least", parameter.least);
    row.Set("most", parameter.most);
    row.Set("default", defaultOf(env, parameter));
    row.Set("unit", parameter.unit);
    row.Set("summary", parameter.summary);
    rows.Set(rows.Length(), row);
  }
  return rows;
}

}  // namespace stiltforge::binding
