// Requests to the kernel and their answers, with more detail than the public functions return.
#pragma once

#include "talvera/nfnetlink.h"

namespace talvera::net {

// nfnetlink_receive() with flags of recvfrom().
int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags);

// Why a wait for the answer to the last request ended.
enum class WaitEnd { kAnswer, kDispatch, kForeignSequence, kReceiveFailure };

// Dispatches messages until the last request is acknowledged or something else ends the wait.
// Returns the result of nfnetlink_send_wait_ack().
//
// If `flags` is MSG_DONTWAIT, dispatches at most one datagram; then an error reply counts as an
// answer, too, with result 1.
int wait_for_answer(nfnetlink_handle &handle, int flags, WaitEnd &end);

}  // namespace talvera::net
