#include "hold/region_tracks.h"

#include <algorithm>
#include <utility>

namespace stiltforge::hold {

void RegionTracks::findContacts(const Components& regions, const Components& below) {
  // Mostly a region touches the one that it touched in the row before.
  lastContact_.assign(regions.count, Components::none);
  forEachShared(regions.pixels, below.pixels, [&](uint32_t a, uint32_t b, uint16_t, uint16_t) {
    const RegionPair contact{regions.ofRun[a], below.ofRun[b]};
    if (std::exchange(lastContact_[contact.first], contact.second) != contact.second) {
      contacts_.push_back(contact);
    }
  });
  std::sort(contacts_.begin(), contacts_.end());
  contacts_.erase(std::unique(contacts_.begin(), contacts_.end()), contacts_.end());
}

void RegionTracks::add(const Components& regions, const Components& below) {
  const uint32_t layer = layerCount_++;
  contacts_.clear();
  if (layer > 0) findContacts(regions, below);
  carries_.assign(below.count, 0);
  for (const auto& [region, lower] : contacts_) ++carries_[lower];

  std::swap(lowerTrack_, trackOf_);
  trackOf_.assign(regions.count, 0);
  isIsland_.assign(regions.count, 0);
  auto contact = contacts_.begin();
  for (uint32_t region = 0; region < regions.count; ++region) {
    const auto first = contact;
    while (contact != contacts_.end() && contact->first == region) ++contact;
    isIsland_[region] = layer > 0 && first == contact ? 1 : 0;
    if (contact - first == 1 && carries_[first->second] == 1) {
      trackOf_[region] = lowerTrack_[first->second];
      tracks_[trackOf_[region]].lastLayer = layer;
      continue;
    }
    trackOf_[region] = static_cast<uint32_t>(tracks_.size());
    tracks_.push_back({layer, layer});
    const std::size_t firstLink = links_.size();
    for (auto c = first; c != contact; ++c) {
      links_.push_back({lowerTrack_[c->second], trackOf_[region]});
    }
    std::sort(links_.begin() + static_cast<std::ptrdiff_t>(firstLink), links_.end(),
              [](const Link& a, const Link& b) { return a.lower < b.lower; });
  }
}

}  // namespace stiltforge::hold
