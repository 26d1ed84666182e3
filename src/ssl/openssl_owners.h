// Owners of OpenSSL objects.
#pragma once

#include <openssl/bio.h>
#include <openssl/pkcs12.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "internal/owners.h"

namespace talvera::ssl {

using BioPtr = Owner<BIO, BIO_free>;
using ContextPtr = Owner<SSL_CTX, SSL_CTX_free>;
using Pkcs12Ptr = Owner<PKCS12, PKCS12_free>;
using StoreContextPtr = Owner<X509_STORE_CTX, X509_STORE_CTX_free>;
using X509Ptr = Owner<X509, X509_free>;

}  // namespace talvera::ssl
