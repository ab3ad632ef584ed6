// An instant pack in its years: besides the film, the paste in its pods ages, and one day it no
// longer spreads or develops.
#pragma once

#include "profiles/json_access.h"

namespace morva {

// The pack after `years`, of which it counts 40 at most: colour cast within a decade, a cliff of
// the chemistry at 16 years, where half of what will be lost is lost. Whether the pack has yellowed
// or gone blue is drawn from the film stream, tag 31, the only draw of a film's ageing. A mono pack
// has no cast in its base. Adds `_expired_years`, `_expired_fog`, `_expired_cast`, `_expired_pack`
// and, under `_dmin_ref`, the base of each layer when it was new.
Json expire_instant(const Json& film, double years, const Json& options);

}  // namespace morva
