// The client certificate blob loaded by the process.
#pragma once

#include "talvera/ccert.h"

namespace talvera::mfg {

// Table entry of the loaded private key; null if there is none.
const ccert_toc_item *loaded_key();

}  // namespace talvera::mfg
