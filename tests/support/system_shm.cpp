// Shared memory of the system double.
#include <sys/ipc.h>
#include <sys/shm.h>

#include "support/system_double.h"

using talvera::test::intercept;
using talvera::test::real;
using talvera::test::record;

extern "C" {

key_t ftok(const char *path, int project) noexcept {
  static auto *const next = real<key_t(const char *, int)>("ftok");
  record("ftok %s %d", path, project);
  return intercept<key_t>("ftok", [=] { return next(path, project); });
}

int shmget(key_t key, std::size_t size, int flags) noexcept {
  static auto *const next = real<int(key_t, std::size_t, int)>("shmget");
  record("shmget %#x %zu %#o", static_cast<unsigned>(key), size, static_cast<unsigned>(flags));
  return intercept<int>("shmget", [=] { return next(key, size, flags); });
}

void *shmat(int id, const void *address, int flags) noexcept {
  static auto *const next = real<void *(int, const void *, int)>("shmat");
  record("shmat %d %p %d", id, address, flags);
  return intercept<void *>("shmat", [=] { return next(id, address, flags); });
}

int shmdt(const void *address) noexcept {
  static auto *const next = real<int(const void *)>("shmdt");
  record("shmdt %p", address);
  return intercept<int>("shmdt", [=] { return next(address); });
}

int shmctl(int id, int command, struct shmid_ds *status) noexcept {
  static auto *const next = real<int(int, int, struct shmid_ds *)>("shmctl");
  record("shmctl %d %d %p", id, command, static_cast<void *>(status));
  return intercept<int>("shmctl", [=] { return next(id, command, status); });
}

}  // extern "C"
