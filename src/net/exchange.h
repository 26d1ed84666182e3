// Requests to the kernel and their answers, in more detail than the public functions tell.
#pragma once

#include "talvera/nfnetlink.h"

namespace talvera::net {

// nfnetlink_receive() with flags of recvfrom().
int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags);

// What ended a wait for the answer to the last request.
enum class WaitEnd { kAnswer, kDispatch, kForeignSequence, kReceiveFailure };

// Dispatches what arrives until the last request is acknowledged or something else ends the wait.
// Returns what nfnetlink_send_wait_ack() does.
//
// With MSG_DONTWAIT for `flags`, dispatches at most one datagram; a refusal, too, is then an
// answer, with result 1.
int wait_for_answer(nfnetlink_handle &handle, int flags, WaitEnd &end);

}  // namespace talvera::net
