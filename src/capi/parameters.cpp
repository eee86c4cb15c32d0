#include "model/parameters.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <variant>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/model_step.h"
#include "capi/print_settings.h"
#include "capi/slice_size.h"
#include "capi/structure.h"
#include "print/analysis_parameters.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_parameter_info> =
    offsetof(stiltforge_parameter_info, kind) + sizeof(int32_t);

namespace {

int32_t kindOf(const Parameter& parameter) {
  if (std::holds_alternative<bool ModelParameters::*>(parameter.target)) return STILTFORGE_FLAG;
  const bool isWhole = std::holds_alternative<uint16_t ModelParameters::*>(parameter.target) ||
                       std::holds_alternative<uint32_t ModelParameters::*>(parameter.target);
  return isWhole ? STILTFORGE_WHOLE : STILTFORGE_NUMBER;
}

std::string shown(const char* name) {
  constexpr std::size_t longest = 60;
  std::string text;
  for (; *name && text.size() < longest; ++name) {
    text += *name >= ' ' && *name <= '~' ? *name : '?';
  }
  return '"' + text + (*name ? "...\"" : "\"");
}

const Parameter& parameterOf(const char* name) {
  requireArgument(name, "name");
  const Parameter* const parameter = findParameter(name);
  if (!parameter) {
    throw InvalidArgument("there is no parameter " + shown(name) +
                          "; stiltforge_get_parameter_info() lists them");
  }
  return *parameter;
}

// As few digits as tell the number apart, in any locale.
std::string numberText(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

void requireValue(const Parameter& parameter, double value) {
  const int32_t kind = kindOf(parameter);
  const bool isInRange = value >= parameter.least && value <= parameter.most;
  if (isInRange && (kind == STILTFORGE_NUMBER || value == std::floor(value))) return;
  throw InvalidArgument(std::string(parameter.name) + " is " + numberText(value) + ", not a " +
                        (kind == STILTFORGE_NUMBER ? "number" : "whole number") + " from " +
                        numberText(parameter.least) + " to " + numberText(parameter.most));
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

size_t stiltforge_parameter_count(void) {
  return stiltforge::parameterTable().size();
}

stiltforge_status stiltforge_get_parameter_info(size_t index, stiltforge_parameter_info* info,
                                                stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const auto table = stiltforge::parameterTable();
    capi::requireRange(index, "index", 0, table.size() - 1);
    const stiltforge::Parameter& parameter = table[index];
    stiltforge_parameter_info filled{};
    filled.name = parameter.name;
    filled.unit = parameter.unit;
    filled.summary = parameter.summary;
    filled.least = parameter.least;
    filled.most = parameter.most;
    filled.default_value = storedParameter({}, parameter);
    filled.kind = capi::kindOf(parameter);
    capi::writeStructure(info, filled, "info");
  });
}

stiltforge_status stiltforge_parameters_create(stiltforge_parameters** parameters,
                                               stiltforge_error* error) {
  return capi::guardedCreation(__func__, parameters, "parameters", error,
                               [] { return std::make_unique<stiltforge_parameters>(); });
}

stiltforge_status stiltforge_parameters_create_for_print(const stiltforge_print_settings* settings,
                                                         uint32_t width, uint32_t height,
                                                         uint32_t layers,
                                                         stiltforge_parameters** parameters,
                                                         stiltforge_error* error) {
  return capi::guardedCreation(__func__, parameters, "parameters", error, [&] {
    const stiltforge::PrintSettings print = capi::readPrintSettings(settings, "settings");
    capi::requireRange(width, "width", 1, capi::longestSliceSide);
    capi::requireRange(height, "height", 1, capi::longestSliceSide);
    capi::requireRange(layers, "layers", 0, capi::mostLayers);
    auto created = std::make_unique<stiltforge_parameters>();
    created->values = stiltforge::modelParameters(print, width, height, layers);
    return created;
  });
}

stiltforge_status stiltforge_parameters_set(stiltforge_parameters* parameters, const char* name,
                                            double value, stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Writing set(parameters, "parameters");
    const stiltforge::Parameter& parameter = capi::parameterOf(name);
    capi::requireValue(parameter, value);
    storeParameter(set->values, parameter, value);
  });
}

stiltforge_status stiltforge_parameters_get(const stiltforge_parameters* parameters,
                                            const char* name, double* value,
                                            stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::Reading set(parameters, "parameters");
    const stiltforge::Parameter& parameter = capi::parameterOf(name);
    capi::requireArgument(value, "value");
    *value = storedParameter(set->values, parameter);
  });
}

void stiltforge_parameters_destroy(stiltforge_parameters* parameters) {
  capi::destroy(parameters);
}
