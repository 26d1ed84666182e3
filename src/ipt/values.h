// User-level values, as the ready-made rules check them.
#pragma once

namespace talvera::ipt {

// Whether a text can stand behind "-p".
bool is_protocol(const char *text);

}  // namespace talvera::ipt
