// Secrets in freed memory: rows that watch for them.
#include <cstdlib>
#include <utility>

#include "runner/bind.h"

#ifdef __SANITIZE_ADDRESS__
#include <malloc.h>

// Of the sanitizers' run-time library, for which GCC has no header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void *,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void *));

namespace talvera::test {
namespace {

constexpr std::size_t kSecretSize = 24;
char secret[kSecretSize];
bool watching = false;
int freed = 0;

void look_for_secret(const volatile void *block) {
  void *const bytes = const_cast<void *>(block);
  if (watching && memmem(bytes, malloc_usable_size(bytes), secret, kSecretSize) != nullptr) ++freed;
}

// secret "<tmp>/file" 700: 24 bytes of a file, for which freed blocks are watched until the group's
// end; "freed_secrets" tells how many blocks there were since it was asked last: one at first, to
// show that they are seen.
struct Watch {
  Watch() { watching = true; }
  ~Watch() { watching = false; }
  Watch(const Watch &) = delete;
  Watch &operator=(const Watch &) = delete;
};
DIRECTIVE(secret, [](Call &call, const std::string &path, std::size_t offset) {
  static const int installed = __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void *, std::size_t) {}, look_for_secret);
  const std::string content = read_file(path).substr(offset, kSecretSize);
  if (installed == 0 || content.size() < kSecretSize) throw TableError("no secret");
  content.copy(secret, kSecretSize);
  call.session().state<Watch>();
});
DIRECTIVE(freed_secrets, [] { return std::exchange(freed, 0); });

}  // namespace
}  // namespace talvera::test
#endif
