#include "addon/group_to_bitmap_worker.h"

#include <new>
#include <utility>
#include <vector>

#include "addon/environment.h"
#include "addon/process_model.h"
#include "node_api/refusal.h"
#include "node_api/result_buffer.h"
#include "runtime/parallel_copy.h"

namespace stiltforge {

GroupToBitmapWorker::GroupToBitmapWorker(const Napi::Function& callback,
                                         std::shared_ptr<Environment> owner, uint16_t layer,
                                         uint32_t group)
    : Job(callback, std::move(owner)), layerIndex(layer), groupIndex(group) {}

std::string GroupToBitmapWorker::subject() const {
  return "group " + std::to_string(groupIndex) + " of layer " + std::to_string(layerIndex);
}

// The indices are checked here and not when the job is made: the slices before it in the queue may
// bring the layer that it asks for.
void GroupToBitmapWorker::work() {
  Model& model = processModel().model;
  const std::vector<Layer>& layers = model.layers();
  if (layerIndex >= layers.size()) {
    throw JobRefusal(codes::index, "There is no layer " + std::to_string(layerIndex) + ": " +
                                       std::to_string(layers.size()) +
                                       " layers have been analysed, counted from 0.");
  }
  const std::size_t groups = layers[layerIndex].groupEntries();
  if (groupIndex >= groups) {
    throw JobRefusal(codes::index, "There is no group " + std::to_string(groupIndex) +
                                       " in layer " + std::to_string(layerIndex) +
                                       (groups > 1 ? ": its groups are numbered from 1 to " +
                                                         std::to_string(groups - 1) + "."
                                                   : ": it has no groups."));
  }
  rendered = model.renderGroup(layerIndex, groupIndex);
}

void GroupToBitmapWorker::OnOK() {
  const Napi::Env env = Env();
  std::vector<napi_value> arguments;
  try {
    // Each image is freed once it is copied, so only one is there twice.
    for (std::vector<uint8_t>& image : rendered.images) {
      ResultBuffer buffer(env, environment->memory, image.size());
      copyBytes(buffer.data(), image.data(), image.size());
      std::vector<uint8_t>().swap(image);
      napi_value value = nullptr;
      if (buffer.value(Env(), &value) != napi_ok) throw Napi::Error::New(Env());
      arguments.push_back(value);
    }
  } catch (const std::bad_alloc&) {
    endWithoutMemory();
    return;
  }
  arguments.push_back(Napi::Number::New(env, rendered.width));
  arguments.push_back(Napi::Number::New(env, rendered.height));
  finished();
  Callback().Call(arguments);
}

}  // namespace stiltforge
