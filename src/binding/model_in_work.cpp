#include "binding/model_in_work.h"

#include <exception>
#include <new>
#include <utility>

#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

std::string counted(std::size_t number, const char* what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

int64_t bytesOf(const Layer& layer) {
  std::size_t bytes = sizeof(Layer) + layer.groupEntries() * sizeof(ArchivedGroup);
  for (std::size_t group = 0; group < layer.groupEntries(); ++group) {
    const Placement* placement = layer.groupPlacement(group);
    if (!placement) continue;
    bytes += sizeof(Placement) + placement->supports.capacity() * sizeof(Voxel) +
             placement->ghostSupports.capacity() * sizeof(void*);
    if (!placement->samples) continue;
    bytes += sizeof(SampleRecord) + placement->samples->packed.capacity() +
             placement->samples->rows.capacity() * sizeof(RowSpan);
  }
  return static_cast<int64_t>(bytes);
}

}  // namespace

ModelInWork::ModelInWork(const ModelParameters& parameters, Plane<uint32_t> markers,
                         const std::optional<hold::SurveySettings>& survey)
    : parameters_(parameters) {
  if (survey) surveyed_.emplace(*survey);
  bytes_ = static_cast<int64_t>(markers.size() * sizeof(uint32_t));
  model_.emplace(parameters.settings, std::size_t{parameters.width} * parameters.height,
                 std::move(markers));
}

void ModelInWork::requireSound() {
  if (untold_) std::rethrow_exception(std::exchange(untold_, nullptr));
  if (!failure_) return;
  throw JobRefusal(codes::closed, "An earlier slice failed (" + *failure_ +
                                      "), so what lies above it would be wrong. Close this "
                                      "analysis and start the model again.");
}

void ModelInWork::requireNotEnded() const {
  if (!surveyed_ || !surveyed_->isEnded()) return;
  throw JobRefusal(codes::closed,
                   "The supports of this analysis were judged or finished, so no slice may follow. "
                   "Hand all slices over before, or start the model again.");
}

SliceResult ModelInWork::analyse(Slice slice, std::optional<SliceResultBuffers> buffers,
                                 bool hasPicture) {
  requireSound();
  requireNotEnded();
  Model::SliceOptions options;
  options.addSupport = parameters_.addSupport;
  SliceBuffers blocks;
  if (buffers) {
    // The picture lies where its labels will be.
    blocks = buffers->blocks(nullptr);
    if (hasPicture) blocks.picture = blocks.labels;
    options.buffers = &blocks;
  }
  try {
    std::optional<hold::SurveyedLayer> unsurveyed;
    if (surveyed_) unsurveyed.emplace(hold::SurveyedLayer{slice, {}});
    model_->analyse(std::move(slice), options);
    const std::vector<Layer>& layers = model_->layers();
    if (unsurveyed) {
      unsurveyed->findings = hold::findingsOf(layers.back());
      unsurveyed_.push_back(std::move(*unsurveyed));
    }
    if (layers.size() > 1) bytes_ += bytesOf(layers[layers.size() - 2]);
    return {resultOf(layers.back()), parameters_.numLayer, static_cast<uint16_t>(layers.size() - 1),
            std::move(buffers)};
  } catch (const std::bad_alloc&) {
    failure_ = "there was not enough memory";
    throw;
  } catch (const std::exception& failure) {
    failure_ = failure.what();
    throw;
  }
}

void ModelInWork::survey(const std::vector<hold::SurveyedLayer>& layers) {
  if (surveyFailure_) return;
  try {
    for (const hold::SurveyedLayer& layer : layers) surveyed_->add(layer.slice, layer.findings);
  } catch (const std::exception&) {
    surveyFailure_ = std::current_exception();
  }
}

hold::SurveyedPart& ModelInWork::surveyed() {
  requireSound();
  survey(takeUnsurveyed());
  if (surveyFailure_) std::rethrow_exception(surveyFailure_);
  if (surveyed_) return *surveyed_;
  throw JobRefusal(
      codes::parameter,
      "This analysis keeps no survey of the part, without which nothing can be judged. "
      "Create it with the option survey.");
}

void ModelInWork::tellBytes(napi_env env, int64_t bytes) {
  if (!toldBytes_) return;
  int64_t total = 0;
  napi_adjust_external_memory(env, bytes - *toldBytes_, &total);
  toldBytes_ = bytes;
}

void ModelInWork::forgetBytes(napi_env env) {
  tellBytes(env, 0);
  toldBytes_.reset();
}

GroupImages ModelInWork::renderGroup(uint32_t layer, uint32_t group) {
  requireSound();
  const std::size_t layers = model_->layers().size();
  if (layer >= layers) {
    throw JobRefusal(codes::index, "There is no layer " + std::to_string(layer) + ": " +
                                       counted(layers, "layer") + " " +
                                       (layers == 1 ? "has" : "have") +
                                       " been analysed, counted from 0.");
  }
  // The first entry is the placeholder.
  const std::size_t groups = model_->layers()[layer].groupEntries() - 1;
  if (group >= groups) {
    throw JobRefusal(codes::index, "There is no group " + std::to_string(group) + " in layer " +
                                       std::to_string(layer) + ": it has " +
                                       counted(groups, "group") + ", counted from 0.");
  }
  return model_->renderGroup(layer, group + 1);
}

std::vector<double> ModelInWork::owedPixels() {
  requireSound();
  std::vector<double> owed;
  for (const Layer& layer : model_->layers()) owed.push_back(layer.owedPixels);
  return owed;
}

void ModelInWork::close() {
  ahead = {};
  unsurveyed_ = {};
  surveyed_.reset();
  bytes_ = 0;
  if (!model_) return;
  model_->clear();
  model_.reset();
}

}  // namespace stiltforge::binding
