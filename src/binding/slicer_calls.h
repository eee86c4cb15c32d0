#pragma once

#include <napi.h>

#include <memory>

#include "binding/job.h"
#include "binding/shared_slicer.h"

namespace stiltforge::binding {

/// The slicer of a script value that is a Slicer or a LayerSlicer; null for any other.
std::shared_ptr<SharedSlicer> sharedSlicerOf(Napi::Value value);

// The calls that all objects with a SharedSlicer have; packages/stiltforge/src/slicing.ts declares
// them with Slicer. Their jobs wait for each other in the object's queue.

/// (index, recycled?) => Promise<Slice>
Napi::Value callSlice(const Napi::CallbackInfo& info, const std::shared_ptr<SharedSlicer>& shared,
                      JobQueue<Job>& queue);
/// (first, count?) => Promise<LabelledRuns[]>
Napi::Value callRuns(const Napi::CallbackInfo& info, const std::shared_ptr<SharedSlicer>& shared,
                     JobQueue<Job>& queue);

}  // namespace stiltforge::binding
