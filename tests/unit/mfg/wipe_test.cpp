// What a client certificate's key leaves in memory that was freed.
#include <gtest/gtest.h>

#include "support/blob.h"
#include "support/system_double.h"
#include "talvera/ccert.h"

#if defined(__SANITIZE_ADDRESS__)
#include <malloc.h>

#include <cstdlib>
#include <cstring>

// Of the sanitizers' run-time library, for which GCC has no header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void *,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void *));

namespace talvera::test {
namespace {

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

TEST(Wipe, TheWorkingCopyOfAnEncryptedKey) {
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks([](const volatile void *, std::size_t) {},
                                                      look_for_secret),
            0);
  const auto free_a_copy = [] {
    std::free(strdup(kSecret.data()));
    return 0;
  };
  EXPECT_EQ(watched(free_a_copy), std::pair(0, 1));  // the hook sees what is left in a block

  SystemDouble system;
  std::string file(0x20000, '\0');
  const std::string blob = make_blob({{kSecret, CCERT_KEY_PKCS8, CCERT_FLAG_ENCRYPTED}});
  file.replace(0x1C000, blob.size(), blob);
  std::FILE *const stream =
      std::fopen((system.platform().flash_directory() + "/mfg.dat").c_str(), "wb");
  std::fwrite(file.data(), 1, file.size(), stream);
  std::fclose(stream);
  ASSERT_EQ(ccert_init(), 0);
  unsigned char *key = nullptr;
  std::uint32_t length = 0;
  EXPECT_EQ(watched([&] { return ccert_get_client_private_key(&key, &length); }), std::pair(0, 0));
  EXPECT_EQ(key, nullptr);
  ccert_deinit();
}

}  // namespace
}  // namespace talvera::test
#endif
