// Validation of user input for the canned rules.
#pragma once

#include <cstdint>

namespace talvera::ipt {

// Skips a leading "!" and the spaces after it and returns the rest; null for null. If there is a
// "!" and `bit` is below 8, sets that bit of the mask.
const char *skip_negation(unsigned bit, std::uint8_t &mask, const char *text);

// Whether a text is a protocol that rules accept: "tcp", "udp", "icmp", "ALL" or a decimal number.
bool is_protocol(const char *text);

}  // namespace talvera::ipt
