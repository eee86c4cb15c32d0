#pragma once

#include <napi.h>

namespace stiltforge {

/// CleanPointer(): frees the model and gives the analysis state up to whoever asks next.
void CleanPointer(const Napi::CallbackInfo& info);

/// CleanSlicePointer(history index, low 16 bits): the host needs no pixels of that layer any more.
/// Its groups stay, so the next slice can still be related to it and its groups can still be
/// rendered.
void CleanSlicePointer(const Napi::CallbackInfo& info);

}  // namespace stiltforge
