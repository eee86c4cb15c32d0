#pragma once

#include "hold/surveyed_part.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

/// Verdict of packages/stiltforge/src/hold.ts.
napi_value verdictValue(ValueMaker& make, const hold::JudgedPart& part);

/// FinishedSupports of the same, with the verdict on them.
napi_value finishedValue(ValueMaker& make, const hold::FinishedPart& part,
                         const hold::JudgedPart& judged);

}  // namespace stiltforge::binding
