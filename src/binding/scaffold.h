#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// buildScaffold(options, signal?): starts to build the supports of a part as geometry, see
/// scaffold::build(). The promise rejects for options that are none and for what fails at work.
Napi::Value buildScaffold(const Napi::CallbackInfo& info);

/// findScaffoldConflict(settings, lift): the first setting that can't be used, undefined when all
/// are well.
Napi::Value findScaffoldConflict(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
