// Validation of user input for the canned rules.
#pragma once

namespace talvera::ipt {

// Whether a text is a valid argument of "-p".
bool is_protocol(const char *text);

}  // namespace talvera::ipt
