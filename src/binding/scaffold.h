#pragma once

#include <napi.h>

namespace stiltforge::binding {

/// (options) => { result, progress(), cancel() }: starts to build the supports of a part as
/// geometry, see scaffold::build(). Throws for options that are none; result, a promise, rejects
/// for what fails at work.
Napi::Value startScaffold(const Napi::CallbackInfo& info);

/// findScaffoldConflict(settings, lift): the first setting that can't be used, undefined when all
/// are well.
Napi::Value findScaffoldConflict(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
