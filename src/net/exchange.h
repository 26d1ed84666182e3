// Requests to the kernel and their replies, with more detail than the public functions return.
#pragma once

#include "talvera/nfnetlink.h"

namespace talvera::net {

// nfnetlink_receive() with flags of recvfrom().
int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags);

// Why a wait for the reply to the last request ended.
enum class WaitEnd { kReply, kDispatch, kForeignSequence, kReceiveFailure };

// Dispatches messages until the last request is acknowledged or something else ends the wait.
// Returns what nfnetlink_send_wait_ack() returns.
//
// With MSG_DONTWAIT in `flags`, dispatches at most one datagram; an error reply then also ends the
// wait as kReply, with result 1 and errno set.
int wait_for_reply(nfnetlink_handle &handle, int flags, WaitEnd &end);

}  // namespace talvera::net
