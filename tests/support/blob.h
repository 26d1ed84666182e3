// Builders of formats that contain certificates: blobs and Netscape sequences.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace talvera::test {

struct BlobItem {
  std::string data;
  std::uint32_t type = 0;
  std::uint32_t flags = 0;
};

// Stores a field at an offset. Header: 8 total length, 12 count. First item: 20 offset, 24 length,
// 28 type; the second item starts at 36.
inline void put_field(char *blob, std::size_t offset, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8)
    blob[offset++] = static_cast<char>(value >> shift);
}

// A valid blob.
inline std::string make_blob(const std::vector<BlobItem> &items) {
  std::string blob("\x0E\x0C\x0A\x08\x02\x04\x06\x07");
  blob.resize(20 + 16 * items.size());
  std::size_t field = 20;
  std::size_t end = 0;
  for (const BlobItem &item : items) {
    for (const std::size_t value :
         {end, item.data.size(), std::size_t{item.type}, std::size_t{item.flags}}) {
      put_field(blob.data(), field, static_cast<std::uint32_t>(value));
      field += 4;
    }
    end += item.data.size();
    blob += item.data;
  }
  put_field(blob.data(), 8, static_cast<std::uint32_t>(blob.size()));
  put_field(blob.data(), 12, static_cast<std::uint32_t>(items.size()));
  put_field(blob.data(), 16, 0x89ABCDEF);
  return blob;
}

// A DER element with a size of up to 16 bits.
inline std::string der_element(char tag, const std::string &content) {
  const std::size_t size = content.size();
  std::string head = {tag, '\x82', static_cast<char>(size >> 8), static_cast<char>(size)};
  if (size < 0x80) head = {tag, static_cast<char>(size)};
  return head + content;
}
inline std::string netscape_sequence(const std::string &header, const std::string &certificate) {
  return der_element('\x30', der_element('\x04', header) + certificate);
}

}  // namespace talvera::test
