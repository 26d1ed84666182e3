// Allocation of sets, and their items as a span.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "internal/owners.h"
#include "talvera/of.h"

namespace talvera::files {

using SetPtr = MallocPtr<of_files_info>;

inline constexpr std::int32_t kVersion = 1;

// A set of `count` uninitialised items; null with errno set when memory runs out.
of_files_info *allocate_set(std::size_t count);

inline std::span<of_file_info> items(const of_files_info &set) {
  if (set.count < 1) return {};
  return {set.items, static_cast<std::size_t>(set.count)};
}

}  // namespace talvera::files
