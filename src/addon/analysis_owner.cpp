#include "addon/analysis_owner.h"

#include <mutex>
#include <string>

#include "addon/environment.h"
#include "addon/model_state.h"
#include "addon/refusal.h"

namespace stiltforge {

namespace {

std::mutex holderMutex;
const Environment* holder = nullptr;

std::string heldBy(const Environment& other, const Environment& self) {
  const std::string who =
      other.name == self.name ? "another load of the module in " + other.name : other.name;
  return "The analysis state of this process is held by " + who +
         ", which has a model open. Call CleanPointer there or end that thread first, or analyse "
         "in a child process.";
}

}  // namespace

AnalysisClaim::AnalysisClaim(Napi::Env env, const Environment& environment) {
  const std::lock_guard<std::mutex> lock(holderMutex);
  if (holder && holder != &environment) {
    throw refusal(env, codes::modelOpen, heldBy(*holder, environment));
  }
  held = holder == &environment;
  holder = &environment;
}

AnalysisClaim::~AnalysisClaim() {
  if (held || kept) return;
  const std::lock_guard<std::mutex> lock(holderMutex);
  holder = nullptr;
}

void AnalysisClaim::end(const Environment& environment) {
  const std::lock_guard<std::mutex> lock(holderMutex);
  if (holder != &environment) return;
  ModelState::close();
  holder = nullptr;
}

}  // namespace stiltforge
