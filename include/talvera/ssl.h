/** @file
 *  TLS client connections to the gateway's servers, and certificate tools.
 *
 *  A program asks SSL_initialize() for a client context, binds an OpenSSL `SSL` object of it to a
 *  connected socket, runs the handshake with SSL_Nblk_connect(), and judges the server with
 *  SSL_check_cert() before it sends anything: the handshake itself accepts every server.
 *
 *  @code
 *  int connect_to(const char *host);  // yours
 *  int fd = connect_to("acs.example.net");
 *  SSL_CTX *ctx = SSL_initialize("tls1.2");
 *  SSL *ssl = ctx != NULL ? SSL_new(ctx) : NULL;
 *  if (ssl != NULL && SSL_set_fd(ssl, fd) == 1 && SSL_Nblk_connect(ssl, fd) == 1 &&
 *      SSL_check_cert(ssl, "acs.example.net") == 0)
 *    SSL_write(ssl, "GET / HTTP/1.0\r\n\r\n", 18);
 *  SSL_free(ssl);
 *  SSL_CTX_free(ctx);
 *  @endcode
 *
 *  The objects are OpenSSL's own, to be used and released with its functions. The library works
 *  with OpenSSL 1.0.2 to 3.x and behaves as with 1.0 on all of them: what newer ones refuse by
 *  default (old protocols, short keys, old digests, servers without secure renegotiation) is
 *  allowed, inside the context that SSL_initialize() returns and nowhere else. One difference
 *  remains: when the server closes the connection without a close_notify alert, SSL_get_error()
 *  after SSL_read() gives SSL_ERROR_SYSCALL before OpenSSL 3.0 and SSL_ERROR_SSL since. On none
 *  does it pass for the proper end of the data, which is SSL_ERROR_ZERO_RETURN.
 *
 *  Connection functions log to the system database's log; certificate tools log nothing. Errors
 *  that OpenSSL queues during a call are taken back before the call returns, except by
 *  SSL_Nblk_connect(), after which ERR_get_error() tells why a handshake failed.
 */
#ifndef TALVERA_SSL_H
#define TALVERA_SSL_H

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/* ---- The client context ---------------------------------------------------------------------- */

#define SSL_CLIENT_CERT_SIZE 880    /**< bytes of client_cert */
#define SSL_CLIENT_PVT_KEY_SIZE 317 /**< bytes of client_pvt_key */

/** The device's client certificate (DER, RFC 5280). */
TALVERA_API extern const unsigned char client_cert[SSL_CLIENT_CERT_SIZE];

/** The private key that goes with it (DER, RSAPrivateKey of PKCS#1, RFC 8017). Secret. */
TALVERA_API extern const unsigned char client_pvt_key[SSL_CLIENT_PVT_KEY_SIZE];

/** Makes a client context for one protocol.
 *
 *  The context trusts OpenSSL's default places, the eleven root certificates that the product
 *  ships, and a downloaded one: the DER certificate in "/var/tmp/ssl_cert", of which 4096 bytes are
 *  read. It offers all ciphers and presents the device's client certificate, signing with SHA-256,
 *  SHA-224 or SHA-1, since the device's RSA key is too short for more; a program that uses another
 *  key in the context can set SSL_CTX_set1_client_sigalgs_list(). It does not verify the peer
 *  during the handshake; SSL_check_cert() does afterwards. Partial writes and automatic retries are
 *  on.
 *
 *  An empty downloaded file counts as an installed certificate; what is no file there, such as a
 *  FIFO or a directory, as one that cannot be installed. A product key or certificate that
 *  OpenSSL refuses is no failure: the context then lacks the client identity, and what comes after
 *  it (default places, modes).
 *
 *  Every call reads the downloaded certificate anew and needs the key "system.sku" of the system
 *  database; its value decides the wording of one log line only.
 *
 *  @param version  "tls1", "tls1.1", "tls1.2", "ssl3" or "dtls1", in just these letters
 *  @return the context, for the caller to release with SSL_CTX_free(); null, after a line in the
 *          log, when @p version is null, empty or unknown, when the linked OpenSSL lacks the
 *          protocol, when a certificate cannot be installed, or when the key cannot be read
 */
TALVERA_API SSL_CTX *SSL_initialize(const char *version) TALVERA_MUST_USE;

/** Adds a trusted root certificate to a context.
 *
 *  @param ctx  the context
 *  @param der  @p len bytes, an X.509 certificate in DER; what follows it is ignored
 *  @param len  bytes at @p der; below 1 there is no certificate
 *  @return 1 when the bytes are a certificate, also when the context held it already; else 0
 */
TALVERA_API int SSL_Load_Cert(SSL_CTX *ctx, const unsigned char *der, long len) TALVERA_NONNULL(1);

/** Keeps the links of one certificate file in the CA directory "/var/etc/ssl" up to date.
 *
 *  When @p cert_path exists and nothing is at @p link_path, @p link_path is made a symbolic link to
 *  it; beside it comes the link that OpenSSL looks certificates up by, named after the hash of the
 *  subject ("5f4e3d2c.0"). The certificate is expected in PEM; all else, be it a FIFO, has the
 *  hash 0. When there is a link of that hash already, it stays: hashes are not numbered on.
 *
 *  When @p cert_path does not exist, @p link_path is removed, and with it every dangling symbolic
 *  link of the directory, its own hash link among them.
 *
 *  @param cert_path  the certificate file, as the link shall name it
 *  @param link_path  "/var/etc/ssl/" and a file name
 *  @return 1 when a link was made or removed; 0 when there was nothing to do or it failed (a
 *          link that could not be made is logged)
 */
TALVERA_API int SSL_cert_rehash(const char *cert_path, const char *link_path) TALVERA_NONNULL(1, 2);

/* ---- Handshake and peer ---------------------------------------------------------------------- */

/** Runs the TLS handshake of a client, for no more than about 20 seconds in all, be the server
 * silent or always talking.
 *
 *  The socket is switched between non-blocking mode (for each step) and blocking mode (for each
 *  wait). On success it is left in non-blocking mode, as it is when a step fails; after a failed
 *  wait it is in blocking mode. A server that closes the connection raises no SIGPIPE during the
 *  handshake; it does during a later SSL_write(), unless the program ignores the signal.
 *
 *  @param ssl  an object of the context, bound to @p fd
 *  @param fd   connected socket, below FD_SETSIZE
 *  @return 1 when the handshake completed; 0 when it failed, the time was used up, or the socket
 *          reported an exceptional condition (such as urgent data)
 */
TALVERA_API int SSL_Nblk_connect(SSL *ssl, int fd) TALVERA_NONNULL(1) TALVERA_MUST_USE;

/** Judges the server after the handshake: its certificate chain, then its name.
 *
 *  A certificate that is not yet valid is forgiven as long as the device has no network time (the
 *  key "ip.ntp.time-acquired" of the system database is missing or 0), for its own clock is likely
 *  to be wrong then. All else is refused, an expired certificate always; signatures, too, are
 *  checked whatever the clock says.
 *
 *  The name is the subject's common name, compared without regard to case, without wildcards, and
 *  without regard to alternative names. It is cut to 99 characters. A name with a NUL inside, and
 *  none at all, equal no name.
 *
 *  @param ssl            the connected object
 *  @param expected_name  the name the server must have
 *  @return 0 when the server is accepted; else why it is not, an X509_V_ERR_* number of OpenSSL
 *          1.0: 24 (X509_V_ERR_INVALID_CA) and 65 to 67 stay so on later versions, which number
 *          them differently. 27 (X509_V_ERR_CERT_UNTRUSTED) stands for a wrong name and for a
 *          server without a certificate.
 */
TALVERA_API long SSL_check_cert(SSL *ssl, const char *expected_name)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** @name Certificate files
 *  The encoding of a certificate file is named by a word. What counts is its beginning, tested in
 *  this order:
 *
 *      D or d                         DER
 *      N or n                         Netscape certificate sequence
 *      1, or the word is PKCS12, pkcs12, P12 or p12
 *                                     PKCS#12 bundle with the empty password
 *      P or p, unless V or v follows  PEM, plain or with trust settings
 *
 *  Text, S/MIME, Microsoft key blobs, engines and PVK (T, S, M, E, PV) have codes too but cannot be
 *  read, and neither can a null or any other word: the certificate is missing then, as it is when
 *  the file cannot be opened or holds something else. A null path stands for standard input, which
 *  is made unbuffered and stays open. A FIFO or a terminal is waited for.
 *
 *  A private key in the same file is passed over, and no copy of it stays in freed memory, but for
 *  PKCS#12: OpenSSL itself leaves copies of the key there, depending on its version and the bundle.
 *  @{ */

/** The hash of a certificate's subject, by which OpenSSL looks certificates up in a directory:
 *  "openssl x509 -subject_hash" prints the same.
 *
 *  @param path    the file; null for standard input
 *  @param format  word for its encoding
 *  @return the hash, of 32 bits; 0 when there is no certificate
 */
TALVERA_API unsigned long SSL_cert_hash(const char *path, const char *format);

/** The fingerprint of a certificate: the digest of its DER form, as "01:AB:...".
 *
 *  @param path      the file; null for standard input
 *  @param format    word for its encoding
 *  @param digest    "sha1" or "md5", in any case
 *  @param[out] out  room for 61 bytes (SHA-1) or 49 (MD5): two digits and a colon for each byte of
 *                   the digest, the last colon being the terminator, and one NUL more
 *  @return 0, or -1 with @p out unchanged when there is no certificate, the digest is another, or
 *          @p digest or @p out is null
 */
TALVERA_API int SSL_cert_fingerprint(const char *path, const char *format, const char *digest,
                                     char *out);

/** Converts a certificate file from DER to PEM (RFC 7468).
 *
 *  The new file is created, or emptied, before the other is read, and stays when that fails.
 *
 *  @param der_path  the certificate in DER; null for standard input
 *  @param pem_path  the file to write
 *  @return 0, or -1 when either file fails
 */
TALVERA_API int SSL_cert_der2pem(const char *der_path, const char *pem_path);

/** Tells whether bytes are a certificate.
 *
 *  @param der  @p len bytes
 *  @param len  bytes at @p der
 *  @return 1 when the @p len bytes at @p der begin with an X.509 certificate in DER, else 0
 */
TALVERA_API int SSL_IsCertValidFormat(const unsigned char *der, long len);

/** Reads a whole file, such as a certificate, with one read.
 *
 *  @param[out] data  receives a heap block of the file's size, without a terminator, for the caller
 *                    to free; null on failure
 *  @param dir        path of the directory
 *  @param name       name of the file in it
 *  @return the file's size in bytes; 0 when it cannot be opened or read, is empty, or is read
 *          short; also when open() gives descriptor 0, which is meant
 */
TALVERA_API int uc_get_cert_data_from_file(unsigned char **data, const char *dir, const char *name)
    TALVERA_NONNULL(1, 2, 3) TALVERA_MUST_USE;

/** @} */

/* ---- Parsed certificates --------------------------------------------------------------------- */

/** Parses a certificate.
 *
 *  @param der  @p len bytes that begin with an X.509 certificate in DER
 *  @param len  bytes at @p der
 *  @return the certificate, for the caller to release with X509_free(), or null
 */
TALVERA_API X509 *uc_make_x509(const unsigned char *der, long len) TALVERA_MUST_USE;

/** The commonName of the subject, the first of several, as the certificate holds it (no conversion
 *  of character sets).
 *
 *  @param cert      the certificate
 *  @param[out] buf  room for @p len bytes; receives the text, cut to @p len - 1 bytes and
 *                   terminated
 *  @param len       bytes of room; below 1 nothing is written
 *  @return length of the text in @p buf, or -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_common_name(X509 *cert, char *buf, int len) TALVERA_NONNULL(1, 2);

/** The serialNumber attribute of the subject, the first of several, as the certificate holds it (no
 *  conversion of character sets). Not the certificate's serial number.
 *
 *  @param cert      the certificate
 *  @param[out] buf  room for @p len bytes; receives the text, cut to @p len - 1 bytes and
 *                   terminated
 *  @param len       bytes of room; below 1 nothing is written
 *  @return length of the text in @p buf, or -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_serial_number(X509 *cert, char *buf, int len) TALVERA_NONNULL(1, 2);

/** The organizationName of the subject, the first of several, as the certificate holds it (no
 *  conversion of character sets).
 *
 *  @param cert      the certificate
 *  @param[out] buf  room for @p len bytes; receives the text, cut to @p len - 1 bytes and
 *                   terminated
 *  @param len       bytes of room; below 1 nothing is written
 *  @return length of the text in @p buf, or -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_organization_name(X509 *cert, char *buf, int len) TALVERA_NONNULL(1, 2);

/** The organizationalUnitName of the subject, the first of several, as the certificate holds it (no
 *  conversion of character sets).
 *
 *  @param cert      the certificate
 *  @param[out] buf  room for @p len bytes; receives the text, cut to @p len - 1 bytes and
 *                   terminated
 *  @param len       bytes of room; below 1 nothing is written
 *  @return length of the text in @p buf, or -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_organizational_unit_name(X509 *cert, char *buf, int len)
    TALVERA_NONNULL(1, 2);

/** The beginning of a certificate's validity, such as "Jan  2 03:04:05 2026 GMT".
 *
 *  Mind two things. The terminator comes after the text, so that it lands in buf[len] when the text
 *  is cut: the room is @p len + 1 bytes. And the call uses the certificate up: its time object is
 *  released with free(), so that it must neither be asked for this date again nor given to
 *  X509_free(). Parse the certificate once more for other uses.
 *
 *  @param cert      the certificate
 *  @param[out] buf  room for @p len + 1 bytes
 *  @param len       greatest number of characters
 *  @return number of characters in @p buf; -1 when the date is missing or is no valid UTCTime (as
 *          from the year 2050 on), or @p len is negative
 */
TALVERA_API int uc_get_notbefore(X509 *cert, char *buf, int len) TALVERA_NONNULL(1, 2);

/** The end of a certificate's validity; as uc_get_notbefore() in all else.
 *
 *  @param cert      the certificate, which the call uses up
 *  @param[out] buf  room for @p len + 1 bytes
 *  @param len       greatest number of characters
 *  @return as uc_get_notbefore()
 */
TALVERA_API int uc_get_notafter(X509 *cert, char *buf, int len) TALVERA_NONNULL(1, 2);

TALVERA_END_DECLS

#endif
