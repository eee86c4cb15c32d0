#include "node_api/work_listener.h"

namespace stiltforge {

WorkListener::WorkListener(const Napi::Value& /*value*/) {}

void WorkListener::tell(double /*done*/, double /*total*/) const {}

}  // namespace stiltforge
