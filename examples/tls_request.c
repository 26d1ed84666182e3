/* Talks to a server as a management client does: connects over TLS, verifies the server, and sends
 * a request.
 *
 *     tls_request IPV4-ADDRESS PORT SERVER-NAME
 *
 * Exit status: 0 when the server answered, 2 when it is not trusted, 1 after any other failure. */
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "talvera/ssl.h"

static int tcp_connect(const char *address, const char *port) {
  struct sockaddr_in server;
  int fd = socket(AF_INET, SOCK_STREAM, 0);

  memset(&server, 0, sizeof server);
  server.sin_family = AF_INET;
  server.sin_port = htons((unsigned short)atoi(port));
  if (fd >= 0 && inet_pton(AF_INET, address, &server.sin_addr) == 1 &&
      connect(fd, (struct sockaddr *)&server, sizeof server) == 0) {
    return fd;
  }
  perror("connect");
  if (fd >= 0) close(fd);
  return -1;
}

/* Sends a request and prints the first line of the answer. */
static int request(SSL *ssl, int fd) {
  static const char text[] = "GET / HTTP/1.0\r\n\r\n";
  int blocking = 0;
  char answer[256];
  int length;

  ioctl(fd, FIONBIO, &blocking); /* the handshake leaves the socket non-blocking */
  if (SSL_write(ssl, text, sizeof text - 1) < 1) return 1;
  length = SSL_read(ssl, answer, sizeof answer - 1);
  if (length < 1) return 1;
  answer[length] = '\0';
  answer[strcspn(answer, "\r\n")] = '\0';
  printf("%s, the answer: %s\n", SSL_get_version(ssl), answer);
  return 0;
}

static int talk(SSL_CTX *context, int fd, const char *name) {
  SSL *ssl = SSL_new(context);
  int status = 1;
  long refusal;

  SSL_set_fd(ssl, fd);
  if (SSL_Nblk_connect(ssl, fd) == 1) {
    refusal = SSL_check_cert(ssl, name);
    status = refusal == 0 ? request(ssl, fd) : 2;
    if (refusal != 0) printf("refused with %ld, nothing sent\n", refusal);
  }
  SSL_free(ssl);
  return status;
}

int main(int argc, char **argv) {
  SSL_CTX *context;
  int status = 1;
  int fd;

  if (argc != 4) {
    fprintf(stderr, "usage: %s IPV4-ADDRESS PORT SERVER-NAME\n", argv[0]);
    return 1;
  }
  signal(SIGPIPE, SIG_IGN);
  context = SSL_initialize("tls1.2");
  if (context == NULL) return 1;
  fd = tcp_connect(argv[1], argv[2]);
  if (fd >= 0) {
    status = talk(context, fd, argv[3]);
    close(fd);
  }
  SSL_CTX_free(context);
  return status;
}
