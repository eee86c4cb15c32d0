#pragma once

#include <atomic>

#include "capi/handles.h"

namespace stiltforge::capi {

/// The flag that stages look at; null without a token. Throws a Refusal when the token is cancelled
/// already, or none.
const std::atomic<bool>* flagOf(const stiltforge_cancel_token* token);

}  // namespace stiltforge::capi
