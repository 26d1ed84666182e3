// The copy of the client certificate blob that the process has loaded.
#pragma once

#include "talvera/ccert.h"

namespace talvera::mfg {

// The loaded copy's private key; null when there is none.
const ccert_toc_item *loaded_key();

}  // namespace talvera::mfg
