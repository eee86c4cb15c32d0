#pragma once

#include <napi.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "binding/job.h"
#include "binding/model_in_work.h"

namespace stiltforge::binding {

/// Analyses one slice and promises its SliceResult.
class SliceAnalysisJob : public Job {
 public:
  /// buffers: of a model with buffers; hasPicture: the first of them holds the slice as the host
  /// sent it.
  SliceAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model, Slice slice,
                   std::optional<SliceResultBuffers> buffers, bool hasPicture);
  ~SliceAnalysisJob() override;

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<ModelInWork> model_;
  Slice slice_;
  int64_t sliceBytes_;
  int64_t modelBytes_ = 0;
  std::optional<SliceResultBuffers> buffers_;
  bool hasPicture_;
  SliceResult result_;
};

/// Makes a slice of a mask, analyses it and promises its SliceResult.
class MaskAnalysisJob : public Job {
 public:
  /// mask: of the slicer's size. buffers: of a model with buffers.
  MaskAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model,
                  std::shared_ptr<SharedMaskSlicer> slicer, std::vector<uint8_t> mask,
                  std::optional<SliceResultBuffers> buffers);
  ~MaskAnalysisJob() override;

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<ModelInWork> model_;
  std::shared_ptr<SharedMaskSlicer> slicer_;
  std::vector<uint8_t> mask_;
  int64_t modelBytes_ = 0;
  std::optional<SliceResultBuffers> buffers_;
  SliceResult result_;
};

/// Slices some layers, analyses them and promises an array of their results. While they are
/// analysed the layers that follow are sliced, for the next such job, and those before surveyed.
class SlicerAnalysisJob : public Job {
 public:
  /// Of layers from `first` on at most `most`, at least one; which number makes a short job is its
  /// choice. buffers: of a model with buffers, where `most` is 1.
  SlicerAnalysisJob(Napi::Env env, std::shared_ptr<ModelInWork> model,
                    std::shared_ptr<SharedSlicer> slicer, uint32_t first, uint32_t most,
                    std::optional<SliceResultBuffers> buffers);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::size_t layersAtOnce(uint32_t from) const;
  // At least one layer, fewer than `most` where they are large.
  std::vector<Slice> slice(uint32_t from, std::size_t most);
  void sliceAhead(uint32_t from);
  void analyse(std::vector<Slice>& slices);

  std::shared_ptr<ModelInWork> model_;
  std::shared_ptr<SharedSlicer> slicer_;
  uint32_t first_;
  uint32_t most_;
  int64_t modelBytes_ = 0;
  std::optional<SliceResultBuffers> buffers_;
  std::vector<SliceResult> results_;
};

/// Renders one group and promises { width, height, images }, the images in the order of
/// GroupImages::Image.
class GroupImagesJob : public Job {
 public:
  /// Both counted from 0.
  GroupImagesJob(Napi::Env env, std::shared_ptr<ModelInWork> model, uint32_t layer, uint32_t group);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<ModelInWork> model_;
  uint32_t layer_;
  uint32_t group_;
  GroupImages images_;
  std::string withoutMemory_;
};

/// Promises a Float64Array: what each layer so far was owed, in pixels.
class OwedPixelsJob : public Job {
 public:
  OwedPixelsJob(Napi::Env env, std::shared_ptr<ModelInWork> model);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<ModelInWork> model_;
  std::vector<double> owed_;
};

/// Frees a model and promises undefined.
class CloseJob : public Job {
 public:
  CloseJob(Napi::Env env, std::shared_ptr<ModelInWork> model);

 protected:
  void work() override;
  napi_status result(napi_env env, napi_value* value) override;
  const char* withoutMemory() const override;

 private:
  std::shared_ptr<ModelInWork> model_;
  int64_t modelBytes_ = 0;
};

}  // namespace stiltforge::binding
