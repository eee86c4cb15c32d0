// What the addon exports. JavaScript's view of it, with units, ranges and errors, is declared in
// packages/stiltforge/src/binding.ts.

#include <napi.h>

#include "analysis/pixel_masks.h"
#include "binding/check_object.h"
#include "binding/environment.h"
#include "binding/layer_slicer_object.h"
#include "binding/mask_slicer_object.h"
#include "binding/memory_estimate.h"
#include "binding/model_object.h"
#include "binding/orientation.h"
#include "binding/parameter_table.h"
#include "binding/print_settings.h"
#include "binding/printer_file.h"
#include "binding/read_mesh.h"
#include "binding/scaffold.h"
#include "binding/slicer_object.h"
#include "binding/survey_object.h"

namespace {

Napi::Object initialize(Napi::Env env, Napi::Object exports) {
  stiltforge::binding::Environment::open(env);
  exports.Set("Model", stiltforge::binding::ModelObject::define(env));
  exports.Set("Survey", stiltforge::binding::SurveyObject::define(env));
  exports.Set("Slicer", stiltforge::binding::SlicerObject::define(env));
  exports.Set("MaskSlicer", stiltforge::binding::MaskSlicerObject::define(env));
  exports.Set("PrintCheck", stiltforge::binding::CheckObject::define(env));
  exports.Set("LayerSlicer", stiltforge::binding::LayerSlicerObject::define(env));
  exports.Set("openPrinterFile",
              Napi::Function::New<&stiltforge::binding::openPrinterFile>(env, "openPrinterFile"));
  exports.Set("isPrinterFile",
              Napi::Function::New<&stiltforge::binding::isPrinterFile>(env, "isPrinterFile"));
  exports.Set("readMesh", Napi::Function::New<&stiltforge::binding::readMesh>(env, "readMesh"));
  exports.Set("startOrientation",
              Napi::Function::New<&stiltforge::binding::startOrientation>(env, "startOrientation"));
  exports.Set("startScaffold",
              Napi::Function::New<&stiltforge::binding::startScaffold>(env, "startScaffold"));
  exports.Set(
      "findScaffoldConflict",
      Napi::Function::New<&stiltforge::binding::findScaffoldConflict>(env, "findScaffoldConflict"));
  exports.Set("turnMesh", Napi::Function::New<&stiltforge::binding::turnMesh>(env, "turnMesh"));
  exports.Set("estimateMemory",
              Napi::Function::New<&stiltforge::binding::estimateMemory>(env, "estimateMemory"));
  exports.Set("parameterTable", stiltforge::binding::parameterTable(env));
  exports.Set("analysisParameters", Napi::Function::New<&stiltforge::binding::analysisParameters>(
                                        env, "analysisParameters"));
  exports.Set("findSettingConflict", Napi::Function::New<&stiltforge::binding::findSettingConflict>(
                                         env, "findSettingConflict"));
  exports.Set("vectorPath", stiltforge::pixelMaskVariants().back().name);
  return exports;
}

}  // namespace

NODE_API_MODULE(binding, initialize)
