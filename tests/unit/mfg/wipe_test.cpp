// What a client certificate's key leaves in memory that was freed.
#include <gtest/gtest.h>

#include "support/blob.h"
#include "support/system_double.h"
#include "talvera/ccert.h"

#if defined(__SANITIZE_ADDRESS__)
#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

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

TEST(Wipe, NoKeyIsLeftInFreedMemory) {
  ASSERT_NE(__sanitizer_install_malloc_and_free_hooks([](const volatile void *, std::size_t) {},
                                                      look_for_secret),
            0);
  const auto free_a_copy = [] {
    std::free(strdup(kSecret.data()));
    return 0;
  };
  EXPECT_EQ(watched(free_a_copy), std::pair(0, 1));  // the hook sees what is left in a block

  unsigned char *key = nullptr;
  std::uint32_t length = 0;
  for (const std::uint32_t type : {CCERT_KEY_PLAIN, CCERT_KEY_PKCS8}) {
    SystemDouble system;
    const std::string file = system.platform().flash_directory() + "/mfg.dat";
    std::ofstream(file, std::ios::binary) << std::string(0x20000, '\xFF');
    const std::string blob = make_blob({{kSecret + '.', type, CCERT_FLAG_ENCRYPTED}});
    const auto *bytes = reinterpret_cast<const unsigned char *>(blob.data());
    EXPECT_EQ(watched([=] { return ccert_install_cert_blob(bytes, 1); }), std::pair(0, 0));
    EXPECT_EQ(watched(ccert_init), std::pair(0, 0));
    EXPECT_EQ(watched([&] { return ccert_get_client_private_key(&key, &length); }),
              std::pair(0, 0));
    std::free(key);
    EXPECT_EQ(watched(ccert_deinit), std::pair(0, 0));
    // The blob is the fourth that is read, here to its last byte but one.
    system.shorten("read", static_cast<long>(blob.size()) - 1).after(3);
    system.fail("read", EPERM).after(3);
    EXPECT_EQ(watched(ccert_init), std::pair(-1, 0));
  }
}

}  // namespace
}  // namespace talvera::test
#endif
