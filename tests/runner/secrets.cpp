// Detects secrets in memory that the library frees.
#ifdef __SANITIZE_ADDRESS__
#include <malloc.h>

#include <cstdlib>

#include "runner/bind.h"

// From the sanitizers' run-time library, for which GCC has no header.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void *,
                                                                             std::size_t),
                                                         void (*free_hook)(const volatile void *));

namespace talvera::test {
namespace {

struct Secrets : NonCopyable {
  ~Secrets() { all.clear(); }
  static inline std::vector<std::string> all;
};
int freed = 0;

void look_for_secrets(const volatile void *block) {
  void *const bytes = const_cast<void *>(block);
  if (!in_library()) return;
  for (const std::string &secret : Secrets::all)
    if (memmem(bytes, malloc_usable_size(bytes), secret.data(), secret.size()) != nullptr) ++freed;
}

// secret b"bytes": "secrets_freed" returns the number of freed blocks that contained them since the
// last query.
DIRECTIVE(secret, [](Call &call) {
  static const int installed = __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void *, std::size_t) {}, look_for_secrets);
  if (installed == 0) throw TableError("freed blocks cannot be looked at");
  call.session().state<Secrets>().all.push_back(call.take().bytes);
});
DIRECTIVE(secrets_freed, [] { return std::exchange(freed, 0); });
BIND_AS(free_a_copy, [](const char *text) { std::free(strdup(text)); });

}  // namespace
}  // namespace talvera::test
#endif
