// The loaded certificate blob: where it is found, what the getters say, what failures leave behind.
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "support/errors.h"
#include "talvera/mfg.h"
#include "unit/mfg/ccert_fixture.h"

#if defined(__SANITIZE_ADDRESS__)
// Of the sanitizers' run-time library, for which GCC has no header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void *,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void *));
#endif

namespace talvera::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kReadFailure[] = "ccert_get_ccertblob: mfg_ccert_get failed: ";

class CcertCopy : public CcertTest {
 protected:
  static std::string client_certificate() {
    unsigned char *data;
    std::uint32_t length;
    if (ccert_get_client_cert(&data, &length) != 0) return "none";
    return {data, data + length};
  }
  // The private key; "null" without one to hand out, "none" without a key item.
  static std::string private_key() {
    auto *key = reinterpret_cast<unsigned char *>(1);
    std::uint32_t length = 99;
    const int result = ccert_get_client_private_key(&key, &length);
    std::string text = result == 0 ? "null" : "none";
    if (key != nullptr) text.assign(key, key + length);
    EXPECT_TRUE(key != nullptr || length == 0);
    std::free(key);
    return text;
  }
  // What a call that fails writes to standard error.
  template <typename Call>
  static std::string failure(Call call) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(call(), -1);
    const int error = errno;
    const std::string text = testing::internal::GetCapturedStderr();
    errno = error;
    return text;
  }
  int mounts() const { return system.count("mount"); }
};

TEST_F(CcertCopy, SlotTwoComesFirst) {
  const std::string blob = make_blob({});
  const int location = ccert_get_location();
  store(1, blob);
  EXPECT_EQ(ccert_location(), 1);
  std::string both = content();
  both.replace(kSlotOffset[2], blob.size(), blob);
  write_content(both);
  EXPECT_EQ(ccert_location(), 2);
  store(2, with_field(blob, 8, 8001));  // not acceptable, and nothing in slot 1
  system.clear_records();
  EXPECT_EQ(ccert_location(), 0);
  EXPECT_THAT(logged(3), ElementsAre("mfg_ccert_get: cert blob size is invalid",
                                     "mfg_ccert_get: cert blob size is invalid"));
  EXPECT_EQ(ccert_get_location(), location);  // what the last init has found
}

TEST_F(CcertCopy, LoadsAndAnswers) {
  const std::vector<Item> items = {{"first key", CCERT_KEY_PLAIN, 7},
                                   {"old certificate", CCERT_CERTIFICATE, 0},
                                   {"", 3, 0xFFFFFFFF},
                                   {"certificate", CCERT_CERTIFICATE, 2},
                                   {"the key", CCERT_KEY_PLAIN, 0x80000000},
                                   {"other", 0x01020304, 1}};
  store(2, make_blob(items));
  EXPECT_EQ(ccert_init(), 0);
  EXPECT_EQ(mounts(), 3);  // location, size, blob
  EXPECT_EQ(ccert_get_location(), 2);
  EXPECT_EQ(ccert_get_data_count(), 6U);
  EXPECT_EQ(client_certificate(), "certificate");  // the last of each counts
  EXPECT_EQ(private_key(), "the key");
  EXPECT_EQ(ccert_get_mac_address(), nullptr);
  EXPECT_STREQ(ccert_get_cert_common_name(), "");

  // The copy's header and table come before the items' bytes, which follow each other.
  std::uint32_t offset = 12 + 6 * 16;
  for (unsigned i = 0; i < 6; ++i) {
    SCOPED_TRACE(i);
    unsigned char *data;
    std::uint32_t length, type, flags;
    ASSERT_EQ(ccert_get_data_from_index(i, &data, &length, &type, &flags), 0);
    EXPECT_EQ(std::string(data, data + length), items[i].data);
    EXPECT_EQ(type, items[i].type);
    EXPECT_EQ(flags, items[i].flags);
    const ccert_toc_item *item = ccert_get_toc_item_from_index(i);
    const std::uint32_t words[] = {item->offset, item->length, item->type, item->flags};
    EXPECT_THAT(words, ElementsAre(offset, length, type, flags));
    EXPECT_EQ(ccert_get_data_from_toc_item(item), data);
    // The words of the table stand right before the data, after a header of three words.
    if (i == 0) {
      EXPECT_EQ(data, reinterpret_cast<const unsigned char *>(item) + offset - 12);
      std::uint32_t header[3];
      std::memcpy(header, data - offset, sizeof header);
      EXPECT_THAT(header, ElementsAre(make_blob(items).size() - 8, 6U, 0x89ABCDEFU));
    }
    offset += length;
  }

  unsigned char *data = nullptr;
  std::uint32_t length = 99;
  EXPECT_EQ(ccert_get_toc_item_from_index(6), nullptr);
  EXPECT_EQ(error_of(ccert_get_data_from_index(6, &data, &length, nullptr, nullptr)), EINVAL);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(length, 99U);
  EXPECT_EQ(ccert_get_data_from_index(3, &data, &length, nullptr, nullptr), 0);
  EXPECT_EQ(ccert_get_data_from_toc_item(nullptr), nullptr);
}

TEST_F(CcertCopy, NothingLoadedMeansNothingToTell) {
  const auto expect_nothing = [] {
    auto *data = reinterpret_cast<unsigned char *>(1);
    std::uint32_t length = 99;
    const ccert_toc_item item = {};
    EXPECT_EQ(ccert_get_data_count(), 0U);
    EXPECT_EQ(ccert_get_toc_item_from_index(0), nullptr);
    EXPECT_EQ(ccert_get_data_from_index(0, &data, &length, nullptr, nullptr), -1);
    EXPECT_EQ(ccert_get_data_from_toc_item(&item), nullptr);
    EXPECT_EQ(error_of(ccert_get_client_cert(&data, &length)), ENOENT);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(private_key(), "none");
    EXPECT_EQ(errno, ENOENT);
  };
  expect_nothing();
  ASSERT_EQ(load(make_blob({{"c", CCERT_CERTIFICATE}, {"k", CCERT_KEY_PLAIN}})), 0);
  EXPECT_EQ(ccert_deinit(), 0);
  expect_nothing();
  EXPECT_EQ(ccert_get_location(), 1);  // still what the last init found
}

TEST_F(CcertCopy, FailuresOfInit) {
  write_content(std::string(kMfgFileSize, '\xFF'));
  EXPECT_EQ(failure(ccert_init), "");
  EXPECT_EQ(ccert_get_location(), 0);

  // What is loaded outlives an init that fails. The reads are: slot 2, slot 1, the size again, the
  // blob; memory is for the blob as read, then for the copy.
  ASSERT_EQ(load(make_blob({{"c", CCERT_CERTIFICATE}})), 0);
  for (const int skip : {2, 3}) {
    system.fail("read", EPERM, skip);
    EXPECT_EQ(failure(ccert_init),
              kReadFailure + std::string(std::strerror(skip == 2 ? EIO : EPERM)));
    EXPECT_EQ(ccert_get_location(), 1);
    EXPECT_EQ(client_certificate(), "c");
  }
  for (const int skip : {0, 1}) {
    system.fail("malloc", ENOMEM, skip);
    EXPECT_EQ(ccert_init(), -12);
    system.forget();
    EXPECT_EQ(client_certificate(), "c");
  }
}

// The slot is rewritten between the size query and the read, with a blob that keeps every rule, but
// is longer or shorter than what was read of it.
TEST_F(CcertCopy, BlobThatChangesWhileItIsRead) {
  static std::string rewritten;
  static std::string file;
  const auto blob_of = [](std::size_t size) {
    return make_blob({{std::string(size, 'c'), CCERT_CERTIFICATE}});
  };
  for (const std::string &blob : {blob_of(10), blob_of(1000), blob_of(100)}) {
    SCOPED_TRACE(blob.size());
    store(1, blob_of(100));
    rewritten = blob;
    file = path();
    system.before(
        "mount",
        [] {
          FILE *stream = std::fopen(file.c_str(), "r+b");
          std::fseek(stream, kSlotOffset[1], SEEK_SET);
          std::fwrite(rewritten.data(), 1, rewritten.size(), stream);
          std::fclose(stream);
        },
        3);
    EXPECT_EQ(ccert_init(), 0);
    EXPECT_EQ(ccert_get_data_count(), blob == blob_of(100) ? 1U : 0U);
  }
}

TEST_F(CcertCopy, InitAgainReplacesTheCopyAndKeepsTheOld) {
  ASSERT_EQ(load(make_blob({{"c", CCERT_CERTIFICATE}, {"k", CCERT_KEY_PLAIN}})), 0);
  unsigned char *old_data;
  std::uint32_t length;
  ASSERT_EQ(ccert_get_client_cert(&old_data, &length), 0);
  ASSERT_EQ(load(make_blob({{"x", 9}, {"y", 9}, {"z", 9}})), 0);
  EXPECT_EQ(ccert_get_data_count(), 3U);
  EXPECT_EQ(client_certificate() + private_key(), "nonenone");  // the new copy has none
  EXPECT_EQ(*old_data, 'c');
  std::free(old_data - (12 + 2 * 16));  // what init, by design, does not release

  ASSERT_EQ(ccert_get_data_from_index(0, &old_data, &length, nullptr, nullptr), 0);
  ASSERT_EQ(load(with_field(make_blob({{"x", 9}}), 20, 1)), 0);
  EXPECT_EQ(ccert_get_data_count(), 0U);
  EXPECT_EQ(*old_data, 'x');
  std::free(old_data - (12 + 3 * 16));
}

TEST_F(CcertCopy, BlobOfASlot) {
  const std::string blob = make_blob({{"c", CCERT_CERTIFICATE}});
  store(1, blob);
  std::uint32_t length = 77;
  unsigned char *content = nullptr;
  ASSERT_EQ(ccert_get_ccertblob(&length, &content, 1), 0);
  EXPECT_EQ(length, blob.size());
  EXPECT_EQ(std::string(content, content + length), blob);
  std::free(content);

  length = 77;
  content = nullptr;
  for (const unsigned slot : {0U, 2U, 3U}) {
    EXPECT_EQ(failure([&] { return ccert_get_ccertblob(&length, &content, slot); }),
              kReadFailure + std::string(std::strerror(EIO)));
    EXPECT_EQ(errno, EIO);
  }
  system.fail("malloc", ENOMEM);
  EXPECT_EQ(ccert_get_ccertblob(&length, &content, 1), -12);
  EXPECT_EQ(length, 77U);
  EXPECT_EQ(content, nullptr);
}

TEST_F(CcertCopy, PrivateKeys) {
  const std::string one("\0\0\0\1\0\0\0\0secret", 14);
  for (const auto &[what, item, key] :
       {std::tuple{"plain", Item{"secret", CCERT_KEY_PLAIN, 1}, "secret"},
        {"pkcs8", {"secret", CCERT_KEY_PKCS8, ~1U}, "null"},
        {"encrypted", {one, CCERT_KEY_PKCS8, 1}, "null"},
        {"encrypted, short", {one.substr(0, 7), CCERT_KEY_PKCS8, 1}, "null"},
        {"encrypted, empty", {"", CCERT_KEY_PKCS8, 1}, "null"},
        {"pem", {"secret", CCERT_KEY_PEM, 1}, "null"},
        {"no key", {"secret", 3, 0}, "none"}}) {
    SCOPED_TRACE(what);
    ASSERT_EQ(load(make_blob({item})), 0);
    EXPECT_EQ(private_key(), key);
    // Without memory the result is a success without a key.
    system.fail("malloc", ENOMEM);
    EXPECT_EQ(private_key(), item.type == 3 ? "none" : "null");
    system.forget();
    ccert_deinit();
  }
}

#if defined(__SANITIZE_ADDRESS__)
const std::string kSecret = "TOPSECRETKEY";
bool watching = false;
int secrets_freed = 0;

// Looks at each block that is about to be freed.
void look_for_secret(const volatile void *block) {
  void *const bytes = const_cast<void *>(block);
  if (watching && memmem(bytes, malloc_usable_size(bytes), kSecret.data(), kSecret.size()))
    ++secrets_freed;
}

// The result of a call, and how many of the blocks that it freed had the secret in them.
template <typename Call>
std::pair<int, int> watched(Call call) {
  secrets_freed = 0;
  watching = true;
  const int result = call();
  watching = false;
  return {result, secrets_freed};
}

TEST_F(CcertCopy, NoKeyIsLeftInFreedMemory) {
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks([](const volatile void *, std::size_t) {},
                                                      look_for_secret),
            0);
  const auto free_a_copy = [] {
    std::free(strdup(kSecret.data()));
    return 0;
  };
  EXPECT_EQ(watched(free_a_copy), std::pair(0, 1));  // the hook sees what is left in a block

  unsigned char *key = nullptr;
  std::uint32_t length;
  for (const std::uint32_t type : {CCERT_KEY_PLAIN, CCERT_KEY_PKCS8}) {
    const std::string blob = make_blob({{kSecret + '.', type, CCERT_FLAG_ENCRYPTED}});
    const auto *bytes = reinterpret_cast<const unsigned char *>(blob.data());
    store(1, "");
    EXPECT_EQ(watched([=] { return ccert_install_cert_blob(bytes, 1); }), std::pair(0, 0));
    EXPECT_EQ(watched(ccert_init), std::pair(0, 0));
    EXPECT_EQ(watched([&] { return ccert_get_client_private_key(&key, &length); }),
              std::pair(0, 0));
    std::free(key);
    EXPECT_EQ(watched(ccert_deinit), std::pair(0, 0));
    // The blob is the fourth that is read, here to its last byte but one.
    system.shorten("read", blob.size() - 1, 3);
    system.fail("read", EPERM, 3);
    EXPECT_EQ(watched(ccert_init), std::pair(-1, 0));
  }
}
#endif

}  // namespace
}  // namespace talvera::test
