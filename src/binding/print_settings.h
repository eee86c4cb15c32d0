#pragma once

#include <napi.h>

#include "binding/options.h"
#include "print/print_settings.h"

namespace stiltforge::binding {

/// The printer, the lift and where supports are wanted, each with its default; not checked against
/// each other.
PrintSettings readPrint(const Options& options);

/// (settings, { width, height, layerCount }) => the 28 parameters. settings: layerHeight,
/// pixelSize, screenWidth, screenHeight, lift, criticalAngle, inset, supportArea, minimumHeight,
/// each with a default, and minimumSpacing.
Napi::Value analysisParameters(const Napi::CallbackInfo& info);

/// (settings) => { setting, value, range } of the first that cannot be used, or undefined.
Napi::Value findSettingConflict(const Napi::CallbackInfo& info);

}  // namespace stiltforge::binding
