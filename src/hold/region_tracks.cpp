#include "hold/region_tracks.h"

#include <algorithm>
#include <utility>

namespace stiltforge::hold {

namespace {

// A region of the layer and a region of the one below that share pixels.
using RegionPair = std::pair<uint32_t, uint32_t>;

std::vector<RegionPair> contactsOf(const Components& regions, const Components& below) {
  std::vector<RegionPair> contacts;
  // Of each region the one below that it touched last: mostly the one of the row before.
  std::vector<uint32_t> last(regions.count, Components::none);
  forEachShared(regions.pixels, below.pixels, [&](uint32_t a, uint32_t b, uint16_t, uint16_t) {
    const RegionPair contact{regions.ofRun[a], below.ofRun[b]};
    if (std::exchange(last[contact.first], contact.second) != contact.second) {
      contacts.push_back(contact);
    }
  });
  std::sort(contacts.begin(), contacts.end());
  contacts.erase(std::unique(contacts.begin(), contacts.end()), contacts.end());
  return contacts;
}

}  // namespace

void RegionTracks::add(const Components& regions, const Components& below) {
  const uint32_t layer = layerCount_++;
  const std::vector<RegionPair> contacts =
      layer == 0 ? std::vector<RegionPair>() : contactsOf(regions, below);
  std::vector<uint32_t> carries(below.count, 0);
  for (const auto& [region, lower] : contacts) ++carries[lower];

  const std::vector<uint32_t> lowerTrack = std::move(trackOf_);
  trackOf_.assign(regions.count, 0);
  isIsland_.assign(regions.count, 0);
  auto contact = contacts.begin();
  for (uint32_t region = 0; region < regions.count; ++region) {
    const auto first = contact;
    while (contact != contacts.end() && contact->first == region) ++contact;
    isIsland_[region] = layer > 0 && first == contact ? 1 : 0;
    if (contact - first == 1 && carries[first->second] == 1) {
      trackOf_[region] = lowerTrack[first->second];
      tracks_[trackOf_[region]].lastLayer = layer;
      continue;
    }
    trackOf_[region] = static_cast<uint32_t>(tracks_.size());
    tracks_.push_back({layer, layer});
    const std::size_t firstLink = links_.size();
    for (auto c = first; c != contact; ++c) {
      links_.push_back({lowerTrack[c->second], trackOf_[region]});
    }
    std::sort(links_.begin() + static_cast<std::ptrdiff_t>(firstLink), links_.end(),
              [](const Link& a, const Link& b) { return a.lower < b.lower; });
  }
}

}  // namespace stiltforge::hold
