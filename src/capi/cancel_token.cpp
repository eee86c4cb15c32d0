#include "capi/cancel_token.h"

#include <memory>

#include "capi/boundary.h"

namespace stiltforge::capi {

const std::atomic<bool>* flagOf(const stiltforge_cancel_token* token) {
  if (!token) return nullptr;
  requireHandle(token, "cancel");
  if (token->isCancelled) throw Refusal(STILTFORGE_CANCELLED, "cancelled by its token");
  return &token->isCancelled;
}

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_cancel_token_create(stiltforge_cancel_token** token,
                                                 stiltforge_error* error) {
  return capi::guardedCreation(__func__, token, "token", error,
                               [] { return std::make_unique<stiltforge_cancel_token>(); });
}

void stiltforge_cancel_token_cancel(stiltforge_cancel_token* token) {
  if (token && token->isOf(stiltforge_cancel_token::kind)) token->isCancelled = true;
}

void stiltforge_cancel_token_destroy(stiltforge_cancel_token* token) {
  capi::destroy(token);
}
