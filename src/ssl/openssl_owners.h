// Owners of OpenSSL objects.
#pragma once

#include <openssl/bio.h>
#include <openssl/pkcs12.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

namespace talvera::ssl {

template <auto Free>
struct Releaser {
  template <typename T>
  void operator()(T *object) const {
    Free(object);
  }
};

using BioPtr = std::unique_ptr<BIO, Releaser<BIO_free>>;
using ContextPtr = std::unique_ptr<SSL_CTX, Releaser<SSL_CTX_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using Pkcs12Ptr = std::unique_ptr<PKCS12, Releaser<PKCS12_free>>;
using StoreContextPtr = std::unique_ptr<X509_STORE_CTX, Releaser<X509_STORE_CTX_free>>;
using X509Ptr = std::unique_ptr<X509, Releaser<X509_free>>;

}  // namespace talvera::ssl
