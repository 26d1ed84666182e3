// cc nfnetlink.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <errno.h>
#include <linux/netfilter/nfnetlink_log.h>
#include <stdio.h>
#include <sys/time.h>
#include <talvera/nfnetlink.h>

static int count_packet(struct nfnetlink_log_group *group, const struct nfgenmsg *header,
                        const struct nlattr *const *attributes, void *data) {
  (void)group, (void)header, (void)attributes;
  printf("packet %u\n", ++*(unsigned *)data);
  return 1;
}

int main(void) {
  unsigned packets = 0;
  struct nfnetlink_log *log = nfnetlink_log_open();
  if (log == NULL) return 1;
  const struct timeval timeout = {2, 0};  // a rejected request would wait forever
  setsockopt(log->netlink->fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  struct nfnetlink_log_group *group = nfnetlink_log_bind_group(log, 5);
  if (group != NULL) {
    nfnetlink_log_register_handler(group, count_packet, &packets);
    nfnetlink_log_setmode(group, NFULNL_COPY_PACKET, 128);
  }
  while (group != NULL) {
    static uint32_t buf[16384];
    int length = nfnetlink_receive(log->netlink, buf, sizeof buf);
    if (length >= 0)
      nfnetlink_msg_unpack(log->netlink, buf, length);
    else if (errno == ENOBUFS)
      puts("packets were lost");
    else if (errno != EAGAIN && errno != EINTR && errno != ENOMSG)
      break;
  }
  return nfnetlink_log_close(log);
}
