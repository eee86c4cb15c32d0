#pragma once

namespace stiltforge {

/// Environments that have a module loaded. The shared object is unmapped once no environment uses
/// it; no thread may run in it then, so the worker pool ends with the last user.
namespace pool_users {

/// The number of this one, counted from 1 and never given again.
unsigned enter();
void leave();

}  // namespace pool_users
}  // namespace stiltforge
