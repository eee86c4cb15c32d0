#include "binding/options.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "runtime/number_text.h"

namespace stiltforge::binding {

namespace {

std::string quoted(const std::string& name) {
  return "\"" + name + "\"";
}

uint32_t toWhole(Napi::Env env, const char* name, double value) {
  if (!(value >= 0 && value <= 4294967295.0) || value != std::floor(value)) {
    throw Napi::RangeError::New(env, "The option " + quoted(name) + " is " + numberText(value) +
                                         "; it must be a whole number from 0 to 4294967295.");
  }
  return static_cast<uint32_t>(value);
}

}  // namespace

std::optional<std::string> findStranger(const Napi::Object& options,
                                        std::initializer_list<const char*> known) {
  const Napi::Array names = options.GetPropertyNames();
  for (uint32_t i = 0; i < names.Length(); ++i) {
    const std::string name = names.Get(i).ToString();
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    std::string list;
    for (const char* candidate : known) list += (list.empty() ? "" : ", ") + std::string(candidate);
    return "There is no option " + quoted(name) + "; the options are " + list + ".";
  }
  return std::nullopt;
}

Options::Options(const Napi::CallbackInfo& info, std::size_t index,
                 std::initializer_list<const char*> known) {
  if (!info[index].IsObject()) {
    throw Napi::TypeError::New(info.Env(), std::string("The ") + (index == 0 ? "first" : "second") +
                                               " argument must be an object with options.");
  }
  object_ = info[index].As<Napi::Object>();
  if (const auto stranger = findStranger(object_, known)) {
    throw Napi::TypeError::New(info.Env(), *stranger);
  }
}

Options Options::optional(const Napi::CallbackInfo& info,
                          std::initializer_list<const char*> known) {
  if (info[1].IsUndefined()) return Options(Napi::Object::New(info.Env()));
  return Options(info, 1, known);
}

std::optional<double> Options::optionalNumber(const char* name) const {
  const Napi::Value value = object_.Get(name);
  if (value.IsUndefined()) return std::nullopt;
  if (!value.IsNumber()) {
    throw Napi::TypeError::New(object_.Env(), "The option " + quoted(name) + " must be a number.");
  }
  return value.As<Napi::Number>().DoubleValue();
}

double Options::number(const char* name) const {
  const std::optional<double> value = optionalNumber(name);
  if (!value) {
    throw Napi::TypeError::New(object_.Env(),
                               "The option " + quoted(name) + " is missing; it must be a number.");
  }
  return *value;
}

uint32_t Options::whole(const char* name) const {
  return toWhole(object_.Env(), name, number(name));
}

std::optional<uint32_t> Options::optionalWhole(const char* name) const {
  const std::optional<double> value = optionalNumber(name);
  if (!value) return std::nullopt;
  return toWhole(object_.Env(), name, *value);
}

bool Options::flag(const char* name) const {
  const Napi::Value value = object_.Get(name);
  if (value.IsUndefined()) return false;
  if (!value.IsBoolean()) {
    throw Napi::TypeError::New(object_.Env(),
                               "The option " + quoted(name) + " must be true or false.");
  }
  return value.As<Napi::Boolean>();
}

Napi::TypedArray Options::floats(const char* name) const {
  const Napi::Value value = object_.Get(name);
  if (!value.IsTypedArray() ||
      value.As<Napi::TypedArray>().TypedArrayType() != napi_float32_array) {
    throw Napi::TypeError::New(object_.Env(),
                               "The option " + quoted(name) + " must be a Float32Array.");
  }
  return value.As<Napi::TypedArray>();
}

slicing::ChannelSettings Options::channels() const {
  slicing::ChannelSettings settings;
  settings.layerHeight = number("layerHeight");
  settings.criticalAngle = optionalNumber("criticalAngle").value_or(settings.criticalAngle);
  settings.inset = optionalNumber("inset").value_or(settings.inset);
  settings.fullOverhang = optionalNumber("fullOverhang");
  return settings;
}

}  // namespace stiltforge::binding
