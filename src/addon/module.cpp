#include <napi.h>
#include <node_api.h>

#include "addon/analyse_slice.h"
#include "addon/clean_up.h"
#include "addon/environment.h"
#include "addon/group_to_bitmap.h"
#include "addon/init_analyse_slice.h"
#include "addon/process_model.h"

namespace {

using namespace stiltforge;

Napi::Value failedTasks(const Napi::CallbackInfo& info) {
  return Napi::Number::New(info.Env(), static_cast<double>(processModel().model.failedTasks()));
}

Napi::Object Init(Napi::Env env, Napi::Object exports) {
  Environment::open(env);
  const Napi::Function analyseSlice = Napi::Function::New<&AnalyseSlice>(env);
  // A diagnostic must not become a sixth export.
  analyseSlice.DefineProperty(Napi::PropertyDescriptor::Accessor<&failedTasks>("failedTasks"));
  exports.Set("AnalyseSlice", analyseSlice);
  exports.Set("InitAnalyseSlice", Napi::Function::New<&InitAnalyseSlice>(env));
  exports.Set("GroupToBitmap", Napi::Function::New<&GroupToBitmap>(env));
  exports.Set("CleanPointer", Napi::Function::New<&CleanPointer>(env));
  exports.Set("CleanSlicePointer", Napi::Function::New<&CleanSlicePointer>(env));
  return exports;
}

napi_value napiInit(napi_env env, napi_value exports) {
  return Napi::RegisterModule(env, exports, Init);
}

napi_module moduleRecord = {
    1, 0, "../addon", napiInit, "stiltforge", nullptr, {nullptr, nullptr, nullptr, nullptr}};

struct Registration {
  Registration() { napi_module_register(&moduleRecord); }
};
const Registration registration;

}  // namespace

// The record reaches the host only at the first load of the shared object. A worker thread that
// loads it after every other environment has ended, while the operating system still keeps it
// mapped, finds the module by this symbol.
extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  return napiInit(env, exports);
}
