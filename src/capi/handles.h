#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "analysis/slice.h"
#include "capi/handle.h"
#include "check/print_check.h"
#include "check/sentences.h"
#include "hold/surveyed_part.h"
#include "model/model.h"
#include "model/parameters.h"
#include "print/print_settings.h"
#include "slicing/mask_slicer.h"
#include "slicing/slicer.h"
#include "slicing/triangle_mesh.h"
#include "stiltforge/stiltforge.h"
#include "support/group_images.h"

// What the opaque types of the header are. Those without a comment hold what their name says.

struct stiltforge_cancel_token : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4C434E43;
  stiltforge_cancel_token() : Handle(kind) {}
  std::atomic<bool> isCancelled{false};
};

struct stiltforge_parameters : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4D524150;
  stiltforge_parameters() : Handle(kind) {}
  stiltforge::ModelParameters values;
};

struct stiltforge_mesh : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4853454D;
  stiltforge_mesh() : Handle(kind) {}
  std::vector<float> positions;  // nine floats a triangle
  std::vector<std::string> warnings;
};

struct stiltforge_slice : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x43494C53;
  stiltforge_slice() : Handle(kind) {}
  stiltforge::Slice slice;
};

struct stiltforge_slicer : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x52434C53;
  stiltforge_slicer(const std::vector<float>& positions, const stiltforge::PrintSettings& settings)
      : Handle(kind), print(settings), slicer(positions, stiltforge::slicerSettings(settings)) {}
  const stiltforge::PrintSettings print;
  stiltforge::slicing::Slicer slicer;
};

struct stiltforge_mask_slicer : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4B53414D;
  explicit stiltforge_mask_slicer(const stiltforge::slicing::MaskSettings& settings)
      : Handle(kind), slicer(settings) {}
  stiltforge::slicing::MaskSlicer slicer;
};

struct stiltforge_layer : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x5259414C;
  stiltforge_layer() : Handle(kind) {}
  uint32_t index = 0;
  uint32_t pixels = 0;
  std::vector<stiltforge_group> groups;
  std::vector<stiltforge_support> supports;
  std::vector<stiltforge_weight> weights;
  stiltforge::hold::LayerFindings findings;  // where the host has its slice
};

struct stiltforge_model : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4C444F4D;
  explicit stiltforge_model(const stiltforge::ModelParameters& given)
      : Handle(kind),
        parameters(given),
        model(given.settings, std::size_t{given.width} * given.height) {}
  const stiltforge::ModelParameters parameters;
  stiltforge::Model model;
  std::atomic<uint32_t> layerCount{0};  // whole ones
  bool isStopped = false;               // a slice failed when it was in the history already
};

struct stiltforge_group_images : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x53474D49;
  explicit stiltforge_group_images(stiltforge::GroupImages rendered)
      : Handle(kind), images(std::move(rendered)) {}
  const stiltforge::GroupImages images;
};

struct stiltforge_survey : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x56525553;
  explicit stiltforge_survey(const stiltforge::PrintSettings& settings);
  const stiltforge::PrintSettings print;
  const uint64_t number;  // of all surveys
  stiltforge::hold::SurveyedPart part;
  uint16_t width = 0;  // of the slices, once there is one
  uint16_t height = 0;
  std::atomic<uint32_t> layerCount{0};  // whole ones
  bool isStopped = false;               // the part failed in the middle of a layer
};

struct stiltforge_finished : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x534E4946;
  stiltforge_finished() : Handle(kind) {}
  stiltforge::hold::FinishedPart part;
  uint64_t survey = 0;  // its number
  std::vector<stiltforge_support> supports;
  std::vector<stiltforge_origin> origins;
  std::vector<uint32_t> merged;
  std::vector<stiltforge_dropped> dropped;
  std::vector<stiltforge_weight> weights;
  std::vector<stiltforge_weight> droppedWeights;
};

struct stiltforge_verdict : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x44524556;
  stiltforge_verdict() : Handle(kind) {}
  stiltforge_verdict_info info{};
  std::vector<stiltforge_island> islands;
  std::vector<stiltforge_worst_place> worst;
  std::vector<stiltforge_close_pair> closePairs;
  std::array<std::vector<uint32_t>, 4> faults;  // by STILTFORGE_IN_NO_MATERIAL and so on
};

struct stiltforge_check : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4B434843;
  stiltforge_check(const stiltforge::check::CheckSettings& settings,
                   std::vector<stiltforge::check::SupportPoint> points)
      : Handle(kind), print(settings, std::move(points)) {}
  stiltforge::check::PrintCheck print;
  std::atomic<uint32_t> layerCount{0};  // whole ones
  bool isFinished = false;
  bool isStopped = false;  // it failed in the middle of a layer
};

struct stiltforge_check_report : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x54505243;
  stiltforge_check_report() : Handle(kind) {}
  stiltforge_check_report_info info{};
  std::vector<stiltforge::check::Sentences> texts;  // of the findings
  std::vector<stiltforge_finding> findings;
};

struct stiltforge_orientations : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x4E49524F;
  stiltforge_orientations() : Handle(kind) {}
  stiltforge_orientations_info info{};
  std::vector<stiltforge_orientation> best;
  std::optional<stiltforge_orientation> asItIs;
  std::vector<stiltforge_point> supports;
};

struct stiltforge_scaffold : stiltforge::capi::Handle {
  static constexpr uint32_t kind = 0x46464353;
  stiltforge_scaffold() : Handle(kind) {}
  std::vector<stiltforge::slicing::Triangle> triangles;
  std::size_t raftTriangles = 0;
  std::vector<stiltforge_ring> rings;
  std::vector<stiltforge_built_support> supports;
  std::vector<stiltforge_brace> braces;
  std::vector<stiltforge_left_out> leftOut;
  std::vector<uint32_t> alone;
};
