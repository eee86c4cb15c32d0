#include "capi/check_report.h"

#include <cstddef>
#include <cstdint>

#include "capi/boundary.h"
#include "capi/lists.h"
#include "capi/structure.h"

namespace stiltforge::capi {

static_assert(int{STILTFORGE_EMPTY_LAYERS} == static_cast<int>(check::Kind::emptyLayers));
static_assert(int{STILTFORGE_FLOATING_PART} == static_cast<int>(check::Kind::floatingPart));
static_assert(int{STILTFORGE_FOUND_ISLAND} == static_cast<int>(check::Kind::island));
static_assert(int{STILTFORGE_OVERHANG} == static_cast<int>(check::Kind::overhang));
static_assert(int{STILTFORGE_SCREEN_EDGE} == static_cast<int>(check::Kind::screenEdge));
static_assert(int{STILTFORGE_RESIN_TRAP} == static_cast<int>(check::Kind::resinTrap));
static_assert(int{STILTFORGE_SUCTION_CUP} == static_cast<int>(check::Kind::suctionCup));
static_assert(int{STILTFORGE_SPECKS} == static_cast<int>(check::Kind::specks));
static_assert(int{STILTFORGE_IDLE_SUPPORTS} == static_cast<int>(check::Kind::idlePoints));
static_assert(STILTFORGE_IDLE_SUPPORTS + 1 == check::kinds);
static_assert(int{STILTFORGE_FAILS} == static_cast<int>(check::Severity::fails));
static_assert(int{STILTFORGE_RISK} == static_cast<int>(check::Severity::risk));
static_assert(int{STILTFORGE_NOTE} == static_cast<int>(check::Severity::note));

template <>
inline constexpr std::size_t firstSize<stiltforge_check_report_info> =
    offsetof(stiltforge_check_report_info, notes) + sizeof(uint32_t);

namespace {

// Without its texts.
stiltforge_finding toFinding(const check::Finding& found) {
  const check::Extent& extent = found.extent;
  stiltforge_finding finding{};
  finding.kind = static_cast<uint32_t>(found.kind);
  finding.severity = static_cast<uint32_t>(found.severity);
  finding.first_layer = extent.firstLayer;
  finding.last_layer = extent.lastLayer;
  if (extent.pixels > 0 && found.kind != check::Kind::idlePoints) {
    finding.has_place = 1;
    finding.layer = extent.piece.layer;
    finding.x = extent.piece.x;
    finding.y = extent.piece.y;
    finding.x_min = extent.left;
    finding.y_min = extent.top;
    finding.x_max = extent.right + 1u;
    finding.y_max = extent.bottom + 1u;
  }
  finding.count = found.count;
  finding.taken_in = found.kind == check::Kind::island ? found.takenIn : STILTFORGE_NONE;
  finding.volume = found.volume;
  finding.area = found.area;
  return finding;
}

}  // namespace

std::unique_ptr<stiltforge_check_report> reportOf(const check::CheckReport& report) {
  auto handle = std::make_unique<stiltforge_check_report>();
  handle->info.volume = report.volume;
  handle->info.layers = report.layers;
  handle->info.fails = report.counts[STILTFORGE_FAILS];
  handle->info.risks = report.counts[STILTFORGE_RISK];
  handle->info.notes = report.counts[STILTFORGE_NOTE];
  handle->findings.reserve(report.findings.size());
  handle->texts.reserve(report.findings.size());
  for (const check::Finding& found : report.findings) {
    const check::Sentences& texts = handle->texts.emplace_back(describe(found));
    stiltforge_finding& finding = handle->findings.emplace_back(toFinding(found));
    finding.what = texts.what.c_str();
    finding.remedy = texts.remedy.c_str();
  }
  return handle;
}

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;
namespace check = stiltforge::check;

const char* stiltforge_finding_kind_name(uint32_t kind) {
  return kind < check::kinds ? nameOf(static_cast<check::Kind>(kind)) : "unknown";
}

const stiltforge_finding* stiltforge_check_report_findings(const stiltforge_check_report* report,
                                                           size_t* count) {
  return capi::listOf(report, &stiltforge_check_report::findings, count);
}

stiltforge_status stiltforge_check_report_get_info(const stiltforge_check_report* report,
                                                   stiltforge_check_report_info* info,
                                                   stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(report, "report");
    capi::writeStructure(info, report->info, "info");
  });
}

void stiltforge_check_report_destroy(stiltforge_check_report* report) {
  capi::destroy(report);
}
