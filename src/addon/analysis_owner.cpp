#include "addon/analysis_owner.h"

#include <string>

#include "addon/environment.h"
#include "addon/process_model.h"
#include "node_api/refusal.h"

namespace stiltforge {

namespace {

std::recursive_mutex ownerMutex;
const Environment* owner = nullptr;

std::string ownedBy(const Environment& other, const Environment& self) {
  const std::string who =
      other.name == self.name ? "another load of the module in " + other.name : other.name;
  return "The model of the five functions, one in a process, is held by " + who +
         ", which has it open. Call CleanPointer there or end that thread first, or use the "
         "Analysis objects of stiltforge/analysis, of which a process may have many.";
}

}  // namespace

AnalysisClaim::AnalysisClaim(Napi::Env env, const Environment& environment)
    : lock_(ownerMutex), environment_(environment) {
  if (owner && owner != &environment) {
    throw refusal(env, codes::modelOpen, ownedBy(*owner, environment));
  }
}

bool AnalysisClaim::isOwner() const {
  return owner == &environment_;
}

void AnalysisClaim::keep() {
  owner = &environment_;
}

void AnalysisClaim::giveUp() {
  owner = nullptr;
}

void AnalysisClaim::end(const Environment& environment) {
  const std::lock_guard<std::recursive_mutex> lock(ownerMutex);
  if (owner != &environment) return;
  processModel().close();
  owner = nullptr;
}

}  // namespace stiltforge
