// cc ssl.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <netinet/in.h>
#include <sys/socket.h>
#include <talvera/ssl.h>

static int connect_to(uint32_t address, uint16_t port) {
  const struct sockaddr_in peer = {
      .sin_family = AF_INET, .sin_port = htons(port), .sin_addr.s_addr = htonl(address)};
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  return connect(fd, (const struct sockaddr *)&peer, sizeof peer) == 0 ? fd : -1;
}

int main(void) {
  int fd = connect_to(0xCB007107, 443);
  SSL_CTX *ctx = SSL_initialize("tls1.2");
  SSL *ssl = ctx != NULL ? SSL_new(ctx) : NULL;
  if (ssl != NULL && SSL_set_fd(ssl, fd) == 1 && SSL_Nblk_connect(ssl, fd) == 1 &&
      SSL_check_cert(ssl, "acs.example.net") == 0)
    SSL_write(ssl, "GET / HTTP/1.0\r\n\r\n", 18);
  SSL_free(ssl);
  SSL_CTX_free(ctx);
  return 0;
}
