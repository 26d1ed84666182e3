// Allocation of sets.
#pragma once

#include <cstdint>

#include "internal/owners.h"
#include "talvera/of.h"

namespace talvera::files {

using SetPtr = MallocPtr<of_files_info>;

inline constexpr std::int32_t kVersion = 1;

// A set of `count` items, all zero; null with errno set when memory runs out.
of_files_info *allocate_set(std::int32_t count);

}  // namespace talvera::files
