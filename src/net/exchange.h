// Requests to the kernel and their answers, in more detail than the public functions tell.
#pragma once

#include "talvera/nfnetlink.h"

namespace talvera::net {

// nfnetlink_receive() with flags of recvfrom().
int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags);

// Dispatches what arrives until the last request is acknowledged, or something else ends the wait:
// `answered` tells which. Returns what nfnetlink_send_wait_ack() does.
//
// With MSG_DONTWAIT for `flags` only what is there is dispatched, and a refusal ends the wait too,
// with result 1.
int wait_for_answer(nfnetlink_handle &handle, int flags, bool &answered);

}  // namespace talvera::net
