#pragma once

#include <atomic>

#include "hold/cancelled.h"
#include "hold/finish_settings.h"
#include "hold/finished.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Makes of the points of the analysis what an experienced person would leave: none where no
/// support fits, one for specks that grow together, none that stand in each other's way, and some
/// where overhang would be left alone. The same for any number of workers. `survey` is finished.
///
/// 1. What has no room, lies in a sealed void or holds nothing is dropped.
/// 2. Bottom up, each island that nothing has taken when it has grown by islandHeight gets a point:
///    of the analysis, if one stands on what it has grown together with by then, else an added one,
///    below which a support fits. What had no place for one gets it at the top of the part, if it
///    floats still and has grown one. A speck, on which nothing grows, is left alone.
/// 3. Until `share` of the steep overhang and `margin` lie within reach of a point, the one that
///    brings most of it there is taken: points of the analysis before others, by `preference`. The
///    same then until `share` of all overhang lies within reach and farShare within farReach.
/// 4. Where leastGap is left further than farReach from all points, one is added.
/// 5. Points of steps 3 and 4 without which that is still so go again; the others move to where
///    they hold more of what the rest leaves, near by. What that leaves open of all overhang gets
///    points as in step 3, and once more those go that have become needless.
/// 6. A point of the analysis that still holds leastOwnArea alone, within ownReach, stays, too: a
///    flat underside is heavier than its extent tells. Added ones that it makes needless go.
///
/// In steps 3 to 6 no point comes closer than spacing to another of its body. A point holds steep
/// overhang of its own body only: what is joined to it by material between the two and islandHeight
/// above. Throws std::invalid_argument when a setting is negative or no number, Cancelled soon
/// after the flag was raised.
Finished finish(const Survey& survey, const FinishSettings& settings,
                const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::hold
