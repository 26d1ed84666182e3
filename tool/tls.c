/* talvera tls: a connection as the device makes it, with the verification of the server. */
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>
#include <stdarg.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "talvera/netu.h"
#include "talvera/sdb.h"
#include "talvera/ssl.h"
#include "talvera/time.h"
#include "talvera/utils.h"
#include "tool.h"

enum { NAME_SIZE = 100, FLAG_SIZE = 16, SOAP_SIZE = 26, PATIENCE = 20 };

/* ---- Steps ----------------------------------------------------------------------------------- */

static char failure[300]; /* the failed step and the reason */

/* Each step is a record of the list printed at the end, with a result such as "ok". */
static void step(const char *name, const char *result, const char *format, ...)
    TALVERA_PRINTF(3, 4);
static void step(const char *name, const char *result, const char *format, ...) {
  char detail[256];
  va_list arguments;

  va_start(arguments, format);
  vsnprintf(detail, sizeof detail, format, arguments);
  va_end(arguments);
  record_begin();
  text_field("step", name);
  text_field("result", result);
  text_field("detail", detail);
  record_end();
  if (strcmp(result, "failed") == 0) snprintf(failure, sizeof failure, "%s: %s", name, detail);
}

/* ---- Up to the handshake --------------------------------------------------------------------- */

/* Connects; returns the descriptor or -1. */
static int connect_to(const char *host, unsigned long port) {
  static const struct timeval patience = {PATIENCE, 0};
  struct sockaddr_in server = {0};
  char address[INET_ADDRSTRLEN];
  int fd;

  if (hostname_to_addr(host, address, sizeof address) != 0) {
    step("address", "failed", "%s is not known", host);
    return -1;
  }
  step("address", "ok", "%s", address);
  server.sin_family = AF_INET;
  server.sin_port = htons((uint16_t)port);
  netu_atoipv4(address, &server.sin_addr);
  fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  if (connect(fd, (const struct sockaddr *)&server, sizeof server) == 0) {
    step("connection", "ok", "port %lu", port);
    return fd;
  }
  if (errno == EINPROGRESS) errno = ETIMEDOUT;
  step("connection", "failed", "port %lu: %s", port, strerror(errno));
  if (fd >= 0) close(fd);
  return -1;
}

static int shake_hands(SSL *ssl, int fd) {
  const char *reason;

  ERR_clear_error();
  if (SSL_Nblk_connect(ssl, fd) == 1) {
    step("handshake", "ok", "%s, %s", SSL_get_version(ssl), SSL_get_cipher(ssl));
    return DONE;
  }
  reason = ERR_reason_error_string(ERR_peek_last_error());
  step("handshake", "failed", "%s",
       reason != NULL ? reason : "the server hung up, or took more than 20 seconds");
  return FAILED;
}

/* ---- The server ------------------------------------------------------------------------------ */

/* Shows a certificate of the server's chain: subject, issuer, validity. */
static void show_certificate(X509 *certificate) {
  BIO *text = must(BIO_new(BIO_s_mem()));
  char *data;
  long length;

  X509_NAME_print_ex(text, X509_get_subject_name(certificate), 0, XN_FLAG_RFC2253);
  BIO_puts(text, " by ");
  X509_NAME_print_ex(text, X509_get_issuer_name(certificate), 0, XN_FLAG_RFC2253);
  BIO_puts(text, ", ");
  ASN1_TIME_print(text, X509_get_notBefore(certificate));
  BIO_puts(text, " to ");
  ASN1_TIME_print(text, X509_get_notAfter(certificate));
  length = BIO_get_mem_data(text, &data);
  record_begin();
  text_field("step", "certificate");
  text_field("result", NULL);
  bytes_field("detail", data, (size_t)length);
  record_end();
  BIO_free(text);
}

/* Shows whether the device's clock is reliable. */
static void show_time(void) {
  char flag[FLAG_SIZE] = "", now[SOAP_SIZE];
  const int error = sdb_get("ip.ntp.time-acquired", flag, sizeof flag);

  get_soap_datetimestr("1", now, sizeof now);
  if (error != 0) {
    step("time", "missing", "ip.ntp.time-acquired: %s; the clock says %s", sdb_strerror(error),
         now);
  } else {
    step("time", strtol(flag, NULL, 10) != 0 ? "ok" : "missing",
         "ip.ntp.time-acquired is %s; the clock says %s", flag, now);
  }
}

/* The library verifies the chain, then the name; the result shows which failed. */
static int verify_server(SSL *ssl, const char *name) {
  STACK_OF(X509) *chain = SSL_get_peer_cert_chain(ssl);
  const long verified = SSL_get_verify_result(ssl), result = SSL_check_cert(ssl, name);
  const int wrong_name = result == X509_V_ERR_CERT_UNTRUSTED && result != verified;
  char own_name[NAME_SIZE] = "";
  int i;

  for (i = 0; i < sk_X509_num(chain); ++i)
    show_certificate(sk_X509_value(chain, i));
  show_time();
  if (result != 0 && !wrong_name) {
    step("chain", "failed", "%s (%ld)", X509_verify_cert_error_string(result), result);
    return FAILED;
  }
  if (verified == 0) {
    step("chain", "ok", "leads to a trusted root");
  } else {
    step("chain", "tolerated", "%s (%ld), which the clock may be wrong about",
         X509_verify_cert_error_string(verified), verified);
  }
  if (i > 0) uc_get_common_name(sk_X509_value(chain, 0), own_name, sizeof own_name);
  if (wrong_name) {
    step("name", "failed", "%s is expected, the server has %s (%ld)", name,
         *own_name != '\0' ? own_name : "none", result);
  } else {
    step("name", "ok", "%s", own_name);
  }
  return wrong_name ? FAILED : DONE;
}

static int diagnose(SSL_CTX *context, const char *host, unsigned long port, const char *name) {
  const int fd = connect_to(host, port);
  int status = FAILED;
  SSL *ssl;

  if (fd < 0) return FAILED;
  ssl = must(SSL_new(context));
  if (SSL_set_fd(ssl, fd) == 1 && shake_hands(ssl, fd) == DONE) status = verify_server(ssl, name);
  SSL_free(ssl);
  close(fd);
  return status;
}

static int run_connect(int argc, char **argv) {
  static const char versions[][8] = {"ssl3", "tls1", "tls1.1", "tls1.2"}; /* over TCP */
  const char *version = option("--version"), *name = option("--name");
  unsigned long port;
  SSL_CTX *context;
  int status, i;

  (void)argc;
  if (version == NULL) version = "tls1.2";
  if (number_argument("PORT", argv[1], 1, UINT16_MAX, &port) != DONE) return MISUSED;
  for (i = 0; i < 4 && strcmp(version, versions[i]) != 0; ++i) {
  }
  if (i == 4) return misused("--version: %s is not ssl3, tls1, tls1.1 or tls1.2", version);
  SSL_load_error_strings();
  context = SSL_initialize(version);
  if (context == NULL) return refused("no context for %s, --verbose tells why", version);
  list_begin();
  status = diagnose(context, argv[0], port, name != NULL ? name : argv[0]);
  list_end();
  SSL_CTX_free(context);
  return status == DONE ? DONE : refused("%s", failure);
}

static const struct action actions[] = {
    {"connect", "[--json] [--version VERSION] [--name NAME] HOST PORT",
     "connects to a server as the device does, and reports each step and its result",
     DETAILS("A certificate that is not valid yet is tolerated while the device has no network "
             "time: its own clock may be wrong. Nothing is sent after the handshake.\n"
             "--version\tssl3, tls1, tls1.1 or tls1.2 (the default)\n"
             "--name\tthe common name that the server must have, if it is not HOST"),
     "acs.example.net 443", run_connect},
    {0},
};

const struct group group_tls = {"tls", "what the device thinks of a TLS server", actions};
