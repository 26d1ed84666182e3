/** @defgroup talvera_ssl TLS
 *  TLS client connections, and certificate tools.
 *
 *  @include ssl.c
 *
 *  A program gets a client context from SSL_initialize(), binds an OpenSSL `SSL` object created
 *  from it to a connected socket, runs the handshake with SSL_Nblk_connect(), and validates the
 *  server with SSL_check_cert() before it sends anything: the handshake itself accepts every
 *  server.
 *
 *  The objects are OpenSSL's own, to be used and freed with its functions. The library supports
 *  OpenSSL 1.0.2 to 3.x and behaves with all of them as with 1.0: what newer versions reject by
 *  default (old protocols, short keys, old digests, servers without secure renegotiation) is
 *  allowed inside the context that SSL_initialize() returns, and nowhere else. Two differences
 *  remain. The key-exchange groups are those of OpenSSL's configuration, by default fewer than in
 *  1.0. And when the server closes the connection without a close_notify alert, SSL_get_error()
 *  after SSL_read() gives SSL_ERROR_SYSCALL before OpenSSL 3.0 and SSL_ERROR_SSL since. No version
 *  reports that as the proper end of data, which is SSL_ERROR_ZERO_RETURN.
 *
 *  SSL_initialize(), SSL_Nblk_connect(), SSL_check_cert() and SSL_cert_rehash() log with sdb_log();
 *  the other functions do not log. Errors that OpenSSL queues during a call are removed before the
 *  call returns, except by SSL_Nblk_connect(), after which ERR_get_error() gives the cause of a
 *  failed handshake. No function reports its failure in errno.
 *  @{ */
#ifndef TALVERA_SSL_H
#define TALVERA_SSL_H

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "talvera/api.h"

TALVERA_BEGIN_DECLS

/** @name Client context
 *  @{ */

#define SSL_CLIENT_CERT_SIZE 880    /**< Size of client_cert in bytes. */
#define SSL_CLIENT_PVT_KEY_SIZE 317 /**< Size of client_pvt_key in bytes. */

/** The device's client certificate (DER, RFC 5280). */
TALVERA_API extern const unsigned char client_cert[SSL_CLIENT_CERT_SIZE];

/** The private key of the client certificate (DER, RSAPrivateKey of PKCS#1, RFC 8017). Secret. */
TALVERA_API extern const unsigned char client_pvt_key[SSL_CLIENT_PVT_KEY_SIZE];

/** Creates a client context for one protocol.
 *
 *  The context trusts OpenSSL's default locations, the product's eleven root certificates and, if
 *  "/var/tmp/ssl_cert" is readable, a downloaded one: the DER certificate in that file, of which at
 *  most 4096 bytes are read. It offers the ciphers of OpenSSL's "ALL" list and presents the
 *  device's client certificate, signing with SHA-256, SHA-224 or SHA-1, since the device's RSA key
 *  is too short for longer digests; a program that uses another key in the context can call
 *  SSL_CTX_set1_client_sigalgs_list(). A failed verification does not end the handshake:
 *  SSL_check_cert() rejects the server afterwards. Partial writes and automatic retries are on.
 *
 *  An empty downloaded file, or /dev/null in its place, counts as an installed certificate; a FIFO
 *  or a directory counts as one that cannot be installed. When OpenSSL rejects the client key or
 *  certificate, the context is still returned, without the client identity and the later settings
 *  (default locations, modes).
 *
 *  Every call reads the downloaded certificate again and needs the key "system.sku" of the system
 *  database, whose value only affects the wording of one log line.
 *
 *  @param version  "tls1", "tls1.1", "tls1.2", "ssl3" or "dtls1", in lower case only
 *  @return the context, which the caller frees with SSL_CTX_free(); null, after a line in the log,
 *          when @p version is null, empty or unknown, when the linked OpenSSL lacks the protocol,
 *          when a certificate cannot be installed, or when "system.sku" cannot be read
 */
TALVERA_API SSL_CTX *SSL_initialize(const char *version) TALVERA_MUST_USE;

/** Adds a trusted root certificate to a context.
 *
 *  @param ctx     the context
 *  @param der     @p length bytes: an X.509 certificate in DER; bytes after it are ignored
 *  @param length  number of bytes; below 1 there is no certificate
 *  @return 1 when the bytes are a certificate, even when the context already had it; otherwise 0
 */
TALVERA_API int SSL_Load_Cert(SSL_CTX *ctx, const unsigned char *der, long length)
    TALVERA_NONNULL(1);

/** Maintains the links of one certificate file in the CA directory "/var/etc/ssl".
 *
 *  When @p cert_path exists and nothing is at @p link_path, @p link_path becomes a symbolic link to
 *  it, and the OpenSSL lookup link, named after the subject hash ("5f4e3d2c.0"), is created beside
 *  it. The certificate is expected in PEM; anything else, even a FIFO, has the hash 0. An existing
 *  link of that hash stays: no link numbered ".1" or higher is made.
 *
 *  When @p cert_path does not exist, @p link_path is removed; if that succeeds, so is every
 *  dangling symbolic link in the directory, including the certificate's hash link.
 *
 *  @param cert_path  path of the certificate file, used verbatim as the link's target
 *  @param link_path  "/var/etc/ssl/" and a file name
 *  @return 1 when a link was made or removed; 0 when there was nothing to do or it failed (a
 *          failure to make @p link_path is logged)
 */
TALVERA_API int SSL_cert_rehash(const char *cert_path, const char *link_path) TALVERA_NONNULL(1, 2);

/** @}
 *  @name Handshake and peer
 *  @{ */

/** Runs the TLS handshake of a client, for at most about 20 seconds in total, regardless of server
 *  activity, unless the program has set a callback on the read BIO.
 *
 *  The socket is switched between non-blocking mode (for each step) and blocking mode (for each
 *  wait). After success or a failed step it is in non-blocking mode, after a failed wait in
 *  blocking mode. If the server closes the connection, the handshake does not raise SIGPIPE; a
 *  later SSL_write() may, unless the program ignores the signal.
 *
 *  @param ssl  an object created from the context, bound to @p fd
 *  @param fd   connected socket, below FD_SETSIZE
 *  @return 1 when the handshake completed; 0 when it failed or timed out, a signal interrupted a
 *          wait, or the socket reported an exceptional condition (such as urgent data)
 */
TALVERA_API int SSL_Nblk_connect(SSL *ssl, int fd) TALVERA_NONNULL(1) TALVERA_MUST_USE;

/** Validates the server after the handshake: its certificate chain, then its name.
 *
 *  A certificate that is not yet valid is accepted while the device has no network time (the key
 *  "ip.ntp.time-acquired" of the system database is missing or 0), because its clock is then likely
 *  to be wrong. Any other error is final, an expired certificate in particular; signatures are
 *  checked whatever the clock says, though not again for a resumed session.
 *
 *  The name is the subject's common name, truncated to 99 characters and compared ignoring case;
 *  wildcards and alternative names are not supported. A missing name, or one that contains a NUL,
 *  matches nothing.
 *
 *  @param ssl            the connected object
 *  @param expected_name  the name that the server must have
 *  @return 0 when the server is accepted; otherwise the error's X509_V_ERR_* number in OpenSSL 1.0:
 *          later versions have other numbers for errors 24 (X509_V_ERR_INVALID_CA), 65, 66 and 67.
 *          The result 27 (X509_V_ERR_CERT_UNTRUSTED) also means a wrong name or a server without a
 *          certificate
 */
TALVERA_API long SSL_check_cert(SSL *ssl, const char *expected_name)
    TALVERA_NONNULL(1, 2) TALVERA_MUST_USE;

/** @}
 *  @name Certificate files
 *  A word selects the format of a certificate file. It is tested in this order; only its beginning
 *  counts, except that the four PKCS#12 words must match exactly:
 *
 *      D or d                         DER
 *      N or n                         Netscape certificate sequence
 *      1, or the word is PKCS12, pkcs12, P12 or p12
 *                                     PKCS#12 bundle with the empty password
 *      P or p, unless V or v follows  PEM, plain or with trust settings
 *
 *  Text, S/MIME, Microsoft key blobs, engines and PVK (T, S, M, E, PV) have codes too but cannot be
 *  read. With these, with null and with any other word there is no certificate, as when the file
 *  cannot be opened or holds something else. A null path means standard input, which becomes
 *  unbuffered and stays open. Reading a FIFO or a terminal blocks.
 *
 *  A private key in the same file is skipped and leaves no copy in freed memory, except with
 *  PKCS#12: OpenSSL itself leaves copies of the key there, depending on its version and the bundle.
 *  @{ */

/** Returns the hash of a certificate's subject, by which OpenSSL looks up certificates in a
 *  directory; "openssl x509 -subject_hash" prints the same.
 *
 *  @param path    the file; null for standard input
 *  @param format  word that selects the format
 *  @return the 32-bit hash; 0 when there is no certificate
 */
TALVERA_API unsigned long SSL_cert_hash(const char *path, const char *format);

/** Formats the fingerprint of a certificate, the digest of its DER form, as "01:AB:...".
 *
 *  @param path      the file; null for standard input
 *  @param format    word that selects the format
 *  @param digest    "sha1" or "md5", in upper or lower case
 *  @param[out] buf  at least 61 bytes (SHA-1) or 49 (MD5): two digits and a colon for each byte of
 *                   the digest, with the last colon replaced by the terminator, and one more NUL
 *  @return 0; -1 with @p buf unchanged when there is no certificate, the digest is unknown, or
 *          @p digest or @p buf is null
 */
TALVERA_API int SSL_cert_fingerprint(const char *path, const char *format, const char *digest,
                                     char *buf);

/** Converts a certificate file from DER to PEM (RFC 7468).
 *
 *  The new file is created or emptied before the other is read, and stays when reading fails.
 *
 *  @param der_path  the certificate in DER; null for standard input
 *  @param pem_path  the file to write
 *  @return 0; -1 when the certificate cannot be read or the new file cannot be written
 */
TALVERA_API int SSL_cert_der2pem(const char *der_path, const char *pem_path);

/** Checks whether bytes begin with an X.509 certificate in DER.
 *
 *  @param der     @p length bytes
 *  @param length  number of bytes
 *  @return 1 when they do, otherwise 0
 */
TALVERA_API int SSL_IsCertValidFormat(const unsigned char *der, long length);

/** Reads a whole file, such as a certificate, with a single read().
 *
 *  @param[out] data  heap block of the file's size, without a terminator, which the caller frees
 *                    with free(); null on failure
 *  @param dir        path of the directory
 *  @param name       name of the file in it
 *  @return the file's size in bytes; 0 when it cannot be opened or read, is empty or 2 GiB or more,
 *          the read is short, or memory runs out; intentionally also when open() returns descriptor
 *          0
 */
TALVERA_API int uc_get_cert_data_from_file(unsigned char **data, const char *dir, const char *name)
    TALVERA_NONNULL(1, 2, 3) TALVERA_MUST_USE;

/** @}
 *  @name Parsed certificates
 *  @{ */

/** Parses a certificate.
 *
 *  @param der     @p length bytes that begin with an X.509 certificate in DER
 *  @param length  number of bytes
 *  @return the certificate, which the caller frees with X509_free(); null when there is none
 */
TALVERA_API X509 *uc_make_x509(const unsigned char *der, long length) TALVERA_MUST_USE;

/** Copies the first commonName attribute of the subject, without converting its character
 *  set.
 *
 *  @param cert      the certificate
 *  @param[out] buf  receives the string, truncated to @p size - 1 bytes and terminated
 *  @param size      size of @p buf in bytes; below 1 nothing is written
 *  @return length of the string in @p buf; -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_common_name(X509 *cert, char *buf, int size) TALVERA_NONNULL(1, 2);

/** Copies the first serialNumber attribute of the subject, without converting its character
 *  set. This is not the serial number of the certificate.
 *
 *  @param cert      the certificate
 *  @param[out] buf  receives the string, truncated to @p size - 1 bytes and terminated
 *  @param size      size of @p buf in bytes; below 1 nothing is written
 *  @return length of the string in @p buf; -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_serial_number(X509 *cert, char *buf, int size) TALVERA_NONNULL(1, 2);

/** Copies the first organizationName attribute of the subject, without converting its character
 *  set.
 *
 *  @param cert      the certificate
 *  @param[out] buf  receives the string, truncated to @p size - 1 bytes and terminated
 *  @param size      size of @p buf in bytes; below 1 nothing is written
 *  @return length of the string in @p buf; -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_organization_name(X509 *cert, char *buf, int size) TALVERA_NONNULL(1, 2);

/** Copies the first organizationalUnitName attribute of the subject, without converting its
 *  character set.
 *
 *  @param cert      the certificate
 *  @param[out] buf  receives the string, truncated to @p size - 1 bytes and terminated
 *  @param size      size of @p buf in bytes; below 1 nothing is written
 *  @return length of the string in @p buf; -1 when the subject has no such attribute
 */
TALVERA_API int uc_get_organizational_unit_name(X509 *cert, char *buf, int size)
    TALVERA_NONNULL(1, 2);

/** Formats the start of a certificate's validity, such as "Jan  2 03:04:05 2026 GMT".
 *
 *  A truncated string is terminated at buf[size]. The call consumes the certificate: it releases
 *  the time object with free(), so the certificate must not be asked for this date again or passed
 *  to X509_free(). Parse the certificate again for other uses.
 *
 *  @param cert      the certificate, which the call consumes
 *  @param[out] buf  at least @p size + 1 bytes
 *  @param size      maximum number of characters
 *  @return number of characters in @p buf; -1 when the date is missing or not a valid UTCTime
 *          (dates from 2050 on are not), or @p size is negative
 */
TALVERA_API int uc_get_notbefore(X509 *cert, char *buf, int size) TALVERA_NONNULL(1, 2);

/** Formats the end of a certificate's validity, as uc_get_notbefore() does for its start.
 *
 *  @param cert      the certificate, which the call consumes
 *  @param[out] buf  at least @p size + 1 bytes
 *  @param size      maximum number of characters
 *  @return number of characters in @p buf; -1 when the date is missing or not a valid UTCTime
 *          (dates from 2050 on are not), or @p size is negative
 */
TALVERA_API int uc_get_notafter(X509 *cert, char *buf, int size) TALVERA_NONNULL(1, 2);

/** @} */

TALVERA_END_DECLS

#endif
/** @} */
