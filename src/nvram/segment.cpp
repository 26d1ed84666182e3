// Life cycle of the configuration store's shared-memory segment.
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstdint>

#include "internal/alias.h"
#include "internal/fail.h"
#include "talvera/nvram.h"

int32_t nvram_shmid = -1;

namespace talvera::nvram {
namespace {

constexpr int kProject = 1;  // project ID for ftok()
constexpr int kMode = 0600;

int find_segment(const char *path, unsigned int size, int flags) {
  const key_t key = ftok(path, kProject);
  return key != -1 ? shmget(key, size, flags) : -1;
}

int control_attached(int command, struct shmid_ds *status) {
  return nvram_shmid >= 0 ? shmctl(nvram_shmid, command, status) : fail(EINVAL);
}

}  // namespace
}  // namespace talvera::nvram

using namespace talvera::nvram;

extern "C" int nvram_init(const char *path, unsigned int size) {
  if (path == nullptr || size == 0) return talvera::fail(EINVAL);
  return find_segment(path, size, IPC_CREAT | kMode);
}

extern "C" int nvram_open(const char *path) {
  return path != nullptr ? find_segment(path, 0, kMode) : talvera::fail(EINVAL);
}

TALVERA_ALIAS(nvram_id, nvram_open);

extern "C" void *nvram_attach(const char *path) {
  if (path == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  return shmat(nvram_open(path), nullptr, 0);
}

extern "C" int nvram_detach(void *segment) {
  if (segment == nullptr) return talvera::fail(EINVAL);
  nvram_shmid = -1;
  return shmdt(segment);
}

extern "C" int nvram_exit(const char *path) {
  return path != nullptr ? shmctl(nvram_open(path), IPC_RMID, nullptr) : talvera::fail(EINVAL);
}

extern "C" int nvram_stat(struct shmid_ds *status) {
  return control_attached(IPC_STAT, status);
}

extern "C" int nvram_lock(void) {
  return control_attached(SHM_LOCK, nullptr);
}

extern "C" int nvram_unlock(void) {
  return control_attached(SHM_UNLOCK, nullptr);
}
