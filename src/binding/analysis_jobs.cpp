#include "binding/analysis_jobs.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <span>
#include <utility>

#include "binding/array_buffer.h"
#include "binding/environment.h"
#include "node_api/host_memory.h"
#include "node_api/value_maker.h"
#include "runtime/parallel_copy.h"
#include "runtime/worker_pool.h"

namespace stiltforge::binding {

namespace {

constexpr const char* withoutMemoryForSlice =
    "Not enough memory to analyse the slice. Use smaller slices, or free memory and start the "
    "model again.";

// Long enough that handing over costs nothing beside it, short enough that results flow, a run can
// be left, and models that share the threads take turns.
constexpr double secondsPerJob = 0.02;
constexpr double mostLayersPerJob = 200;
constexpr double firstLayers = 4;
// A part that turns from a rod into a sponge within one job must not take all memory.
constexpr int64_t mostBytesPerJob = int64_t{32} << 20;

int64_t bytesOf(const Slice& slice) {
  const std::size_t runs = slice.material.runCount() + slice.overhang.runCount();
  return static_cast<int64_t>(runs * sizeof(Run) + slice.blue.size() + slice.green.size());
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

SliceAnalysisJob::SliceAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model, Slice slice,
                                   std::optional<SliceResultBuffers> buffers, bool hasPicture)
    : Job(env),
      model_(std::move(model)),
      slice_(std::move(slice)),
      sliceBytes_(bytesOf(slice_)),
      buffers_(std::move(buffers)),
      hasPicture_(hasPicture) {
  Napi::MemoryManagement::AdjustExternalMemory(env, sliceBytes_);
}

SliceAnalysisJob::~SliceAnalysisJob() {
  int64_t total = 0;
  napi_adjust_external_memory(env(), -sliceBytes_, &total);
}

void SliceAnalysisJob::work() {
  result_ = model_->analyse(std::move(slice_), std::move(buffers_), hasPicture_);
  model_->survey(model_->takeUnsurveyed());
  modelBytes_ = model_->bytes();
}

napi_status SliceAnalysisJob::result(napi_env env, napi_value* value) {
  model_->tellBytes(env, modelBytes_);
  ValueMaker make(env);
  *value = SliceConverter(make).convert(result_);
  return make.status();
}

const char* SliceAnalysisJob::withoutMemory() const {
  return withoutMemoryForSlice;
}

MaskAnalysisJob::MaskAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model,
                                 std::shared_ptr<SharedMaskSlicer> slicer,
                                 std::vector<uint8_t> mask,
                                 std::optional<SliceResultBuffers> buffers)
    : Job(env),
      model_(std::move(model)),
      slicer_(std::move(slicer)),
      mask_(std::move(mask)),
      buffers_(std::move(buffers)) {
  Napi::MemoryManagement::AdjustExternalMemory(env, static_cast<int64_t>(mask_.size()));
}

MaskAnalysisJob::~MaskAnalysisJob() {
  int64_t total = 0;
  napi_adjust_external_memory(env(), -static_cast<int64_t>(mask_.size()), &total);
}

void MaskAnalysisJob::work() {
  Slice slice;
  {
    const std::span<const uint8_t> mask = mask_;
    const std::lock_guard<std::mutex> lock(slicer_->mutex);
    slicer_->slicer.next({&mask, 1}, {&slice, 1});
  }
  result_ = model_->analyse(std::move(slice), std::move(buffers_), false);
  model_->survey(model_->takeUnsurveyed());
  modelBytes_ = model_->bytes();
}

napi_status MaskAnalysisJob::result(napi_env env, napi_value* value) {
  model_->tellBytes(env, modelBytes_);
  ValueMaker make(env);
  *value = SliceConverter(make).convert(result_);
  return make.status();
}

const char* MaskAnalysisJob::withoutMemory() const {
  return withoutMemoryForSlice;
}

SlicerAnalysisJob::SlicerAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model,
                                     std::shared_ptr<SharedSlicer> slicer, uint32_t first,
                                     uint32_t most, std::optional<SliceResultBuffers> buffers)
    : Job(env),
      model_(std::move(model)),
      slicer_(std::move(slicer)),
      first_(first),
      most_(most),
      buffers_(std::move(buffers)) {}

std::size_t SlicerAnalysisJob::layersAtOnce(uint32_t from) const {
  const double wanted =
      model_->secondsPerLayer > 0 ? secondsPerJob / model_->secondsPerLayer : firstLayers;
  const double left = slicer_->slicer.layerCount() - from;
  const double most = most_;
  return static_cast<std::size_t>(
      std::min({std::clamp(wanted, 1.0, mostLayersPerJob), left, most}));
}

std::vector<Slice> SlicerAnalysisJob::slice(uint32_t from, std::size_t most) {
  const std::size_t atOnce = 2 * static_cast<std::size_t>(workers::count());
  std::vector<Slice> slices;
  int64_t bytes = 0;
  const std::lock_guard<std::mutex> lock(slicer_->mutex);
  while (slices.size() < most && bytes < mostBytesPerJob) {
    const std::size_t done = slices.size();
    slices.resize(std::min(most, done + atOnce));
    const std::span<Slice> added = std::span(slices).subspan(done);
    slicer_->slicer.slice(from + static_cast<uint32_t>(done), added);
    for (const Slice& slice : added) bytes += bytesOf(slice);
  }
  return slices;
}

void SlicerAnalysisJob::sliceAhead(uint32_t from) {
  try {
    model_->ahead = {slicer_, from, slice(from, layersAtOnce(from))};
  } catch (const std::exception&) {
    // The job that needs them tries again, and says what is wrong.
    model_->ahead = {};
  }
}

void SlicerAnalysisJob::work() {
  const auto start = std::chrono::steady_clock::now();
  std::vector<Slice> slices;
  if (model_->ahead.begin(slicer_.get(), first_) && model_->ahead.slices.size() <= most_) {
    slices = std::move(model_->ahead.slices);
  } else {
    slices = slice(first_, layersAtOnce(first_));
  }
  model_->ahead = {};
  const uint32_t next = first_ + static_cast<uint32_t>(slices.size());
  const bool isLast = next == slicer_->slicer.layerCount();
  const std::vector<hold::SurveyedLayer> earlier = model_->takeUnsurveyed();
  results_.reserve(slices.size());
  workers::parallelFor(3, [&](std::size_t task) {
    if (task == 0) analyse(slices);
    if (task == 1) model_->survey(earlier);
    if (task == 2 && !isLast) sliceAhead(next);
  });
  model_->secondsPerLayer = secondsSince(start) / static_cast<double>(slices.size());
  modelBytes_ = model_->bytes();
}

void SlicerAnalysisJob::analyse(std::vector<Slice>& slices) {
  try {
    for (Slice& slice : slices) {
      results_.push_back(model_->analyse(std::move(slice), std::move(buffers_), false));
    }
  } catch (const std::exception&) {
    // The layers before the one that failed are done and have results.
    if (results_.empty()) throw;
    model_->failNext(std::current_exception());
  }
}

napi_status SlicerAnalysisJob::result(napi_env env, napi_value* value) {
  model_->tellBytes(env, modelBytes_);
  ValueMaker make(env);
  const SliceConverter converter(make);
  *value = make.array(results_.size());
  for (uint32_t i = 0; i < results_.size() && make.status() == napi_ok; ++i) {
    const ValueScope scope(make);
    make.set(*value, i, converter.convert(results_[i]));
  }
  return make.status();
}

const char* SlicerAnalysisJob::withoutMemory() const {
  return withoutMemoryForSlice;
}

GroupImagesJob::GroupImagesJob(Napi::Env env, std::shared_ptr<ModelInWork> model, uint32_t layer,
                               uint32_t group)
    : Job(env),
      model_(std::move(model)),
      layer_(layer),
      group_(group),
      withoutMemory_("Not enough memory for the images of group " + std::to_string(group) +
                     " of layer " + std::to_string(layer) + ". Free memory and ask again.") {}

void GroupImagesJob::work() {
  images_ = model_->renderGroup(layer_, group_);
}

napi_status GroupImagesJob::result(napi_env env, napi_value* value) {
  ValueMaker make(env);
  *value = make.object();
  const napi_value images = make.array(images_.images.size());
  uint32_t index = 0;
  // Each image is freed once it is copied, so only one is there twice.
  for (std::vector<uint8_t>& image : images_.images) {
    if (make.status() != napi_ok) break;
    ResultBuffer buffer(env, Environment::of(env).memory, image.size());
    copyBytes(buffer.data(), image.data(), image.size());
    std::vector<uint8_t>().swap(image);
    napi_value bytes = nullptr;
    make.check(buffer.value(env, &bytes));
    make.set(images, index++, bytes);
  }
  make.set(*value, make.string("width"), make.number(uint32_t{images_.width}));
  make.set(*value, make.string("height"), make.number(uint32_t{images_.height}));
  make.set(*value, make.string("images"), images);
  return make.status();
}

const char* GroupImagesJob::withoutMemory() const {
  return withoutMemory_.c_str();
}

OwedPixelsJob::OwedPixelsJob(Napi::Env env, std::shared_ptr<ModelInWork> model)
    : Job(env), model_(std::move(model)) {}

void OwedPixelsJob::work() {
  owed_ = model_->owedPixels();
}

napi_status OwedPixelsJob::result(napi_env env, napi_value* value) {
  napi_value buffer = nullptr;
  const std::size_t bytes = owed_.size() * sizeof(double);
  napi_status status = newArrayBuffer(env, bytes, &buffer);
  if (status == napi_ok) status = copyToHost(env, buffer, owed_.data(), bytes);
  if (status != napi_ok) return status;
  return napi_create_typedarray(env, napi_float64_array, owed_.size(), buffer, 0, value);
}

const char* OwedPixelsJob::withoutMemory() const {
  return "Not enough memory to tell what the layers were owed. Free memory and ask again.";
}

CloseJob::CloseJob(Napi::Env env, std::shared_ptr<ModelInWork> model)
    : Job(env), model_(std::move(model)) {}

void CloseJob::work() {
  model_->close();
  modelBytes_ = model_->bytes();
}

napi_status CloseJob::result(napi_env env, napi_value* value) {
  model_->tellBytes(env, modelBytes_);
  return napi_get_undefined(env, value);
}

const char* CloseJob::withoutMemory() const {
  return "Not enough memory to free the model.";
}

}  // namespace stiltforge::binding
