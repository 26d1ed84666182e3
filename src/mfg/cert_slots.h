// Reading the certificate slots of the manufacturing file and querying the size of their blobs.
#pragma once

#include <cstdint>

namespace talvera::mfg {

// Sets `*length` to the length stated by the blob in a slot, or to 0 if there is no such slot or it
// cannot be read. Returns 0, or -1 with errno EIO, after logging, if the length is out of range.
int query_size(std::uint32_t slot, std::uint32_t *length);

// Reads the start of slot 0, 1 or 2. Returns 0, or -1 with errno set.
int read_slot(std::uint32_t slot, void *buffer, std::uint32_t length);

}  // namespace talvera::mfg
