#include "binding/layer_runs_job.h"

#include <mutex>
#include <utility>
#include <vector>

#include "analysis/run_labelling.h"
#include "binding/array_buffer.h"
#include "node_api/host_memory.h"
#include "node_api/value_maker.h"

namespace stiltforge::binding {

namespace {

template <typename T>
struct ArrayType;
template <>
struct ArrayType<uint8_t> {
  static constexpr napi_typedarray_type value = napi_uint8_array;
};
template <>
struct ArrayType<uint16_t> {
  static constexpr napi_typedarray_type value = napi_uint16_array;
};
template <>
struct ArrayType<uint32_t> {
  static constexpr napi_typedarray_type value = napi_uint32_array;
};

// A typed array whose element i is elementAt(i).
template <typename T, class ElementAt>
napi_value arrayOf(ValueMaker& make, std::size_t length, ElementAt elementAt) {
  napi_value buffer = nullptr;
  napi_value array = nullptr;
  if (make.status() != napi_ok) return nullptr;
  if (!make.check(newArrayBuffer(make.env(), length * sizeof(T), &buffer))) return nullptr;
  std::vector<T> elements(length);
  for (std::size_t i = 0; i < length; ++i) elements[i] = elementAt(i);
  if (!make.check(copyToHost(make.env(), buffer, elements.data(), length * sizeof(T)))) {
    return nullptr;
  }
  make.check(napi_create_typedarray(make.env(), ArrayType<T>::value, length, buffer, 0, &array));
  return array;
}

void setRuns(ValueMaker& make, napi_value object, const RunRows& rows, std::size_t height) {
  make.set(object, make.string("rowStart"),
           arrayOf<uint32_t>(make, height + 1, [&](std::size_t y) { return rows.rowStart(y); }));
  make.set(object, make.string("begin"),
           arrayOf<uint16_t>(make, rows.runCount(), [&](std::size_t i) { return rows[i].begin; }));
  make.set(object, make.string("end"),
           arrayOf<uint16_t>(make, rows.runCount(), [&](std::size_t i) { return rows[i].end; }));
}

napi_value overhangOf(ValueMaker& make, const Layer& layer) {
  const napi_value object = make.object();
  setRuns(make, object, layer.overhang, layer.height);
  make.set(object, make.string("blue"),
           arrayOf<uint8_t>(make, layer.blue.size(), [&](std::size_t i) { return layer.blue[i]; }));
  make.set(
      object, make.string("green"),
      arrayOf<uint8_t>(make, layer.green.size(), [&](std::size_t i) { return layer.green[i]; }));
  return object;
}

}  // namespace

LayerRunsJob::LayerRunsJob(Napi::Env env, std::shared_ptr<SharedSlicer> slicer, uint32_t first,
                           uint32_t count)
    : Job(env), slicer_(std::move(slicer)), first_(first), layers_(count) {}

void LayerRunsJob::work() {
  std::vector<Slice> slices(layers_.size());
  {
    const std::lock_guard<std::mutex> lock(slicer_->mutex);
    slicer_->slicer.slice(first_, slices);
  }
  for (std::size_t i = 0; i < slices.size(); ++i) {
    layers_[i] = Layer(std::move(slices[i]));
    labelRuns(layers_[i]);
  }
}

napi_status LayerRunsJob::result(napi_env env, napi_value* value) {
  ValueMaker make(env);
  *value = make.array(layers_.size());
  for (uint32_t i = 0; i < layers_.size() && make.status() == napi_ok; ++i) {
    const ValueScope scope(make);
    // Freed once it is copied, so only one is there twice.
    const Layer layer = std::move(layers_[i]);
    const napi_value object = make.object();
    setRuns(make, object, layer.material, layer.height);
    const ScratchVector<uint32_t>& region = layer.groupOfRun;
    make.set(object, make.string("region"),
             arrayOf<uint32_t>(make, region.size(), [&](std::size_t run) { return region[run]; }));
    make.set(object, make.string("overhang"), overhangOf(make, layer));
    make.set(*value, i, object);
  }
  return make.status();
}

const char* LayerRunsJob::withoutMemory() const {
  return "There is not enough memory for the runs of so many layers. Ask for fewer at once.";
}

}  // namespace stiltforge::binding
