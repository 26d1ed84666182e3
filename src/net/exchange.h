// Requests to the kernel and their answers, in more detail than the public functions tell.
#pragma once

#include "talvera/nfnetlink.h"

namespace talvera::net {

// nfnetlink_receive() with flags of recvfrom().
int receive(nfnetlink_handle &handle, void *buffer, unsigned int length, int flags);

struct Outcome {
  int result;       // of nfnetlink_send_wait_ack()
  bool answer_due;  // the request was sent, and the wait has ended without the kernel's answer
};

// nfnetlink_send_wait_ack(): sends a request and dispatches what arrives until it is acknowledged.
Outcome send_wait_ack(nfnetlink_handle &handle, const nlmsghdr &message);

// Receives and dispatches what is there, up to the answer to the last request, after other messages
// have ended the wait for it. The kernel answers within the send call, so its answer is behind
// them; left there it would be taken for the next request's. Returns the error that the kernel
// answered with, 0 for an acknowledgement, or kNoAnswer. Keeps errno.
inline constexpr int kNoAnswer = -1;
int take_late_answer(nfnetlink_handle &handle);

}  // namespace talvera::net
