// Root certificates that the product supplies at build time, embedded by cmake/product-data.cmake.
// (The client identity, client_cert and client_pvt_key, is part of the public interface.)
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvera::ssl {

struct RootCertificate {
  const unsigned char *der;
  std::uint32_t length;
};

inline constexpr std::size_t kRootCount = 11;

// In installation order.
extern const RootCertificate kRootCertificates[kRootCount];

}  // namespace talvera::ssl
