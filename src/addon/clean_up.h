#pragma once

#include <napi.h>

namespace stiltforge {

/// CleanPointer(): frees the model and gives the analysis state up to whoever asks next.
void CleanPointer(const Napi::CallbackInfo& info);

/// CleanSlicePointer(history index, low 16 bits): frees the pixels of one analysed layer. Its
/// groups stay, so the next slice can still be related to it and its groups can still be rendered.
void CleanSlicePointer(const Napi::CallbackInfo& info);

}  // namespace stiltforge
