#pragma once

namespace stiltforge {

/// Whether this processor has the AVX2 instructions and the operating system keeps their registers.
/// False on all that is not x86-64.
bool hasAvx2();

}  // namespace stiltforge
