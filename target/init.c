/* The emulated board's init: mounts the usual file systems, runs /test, prints its status on the
 * console, and resets the board, which ends the emulator. */
#include <errno.h>
#include <fcntl.h>
#include <linux/random.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static void mount_on(const char *type, const char *target) {
  if (mount(type, target, type, 0, NULL) != 0) {
    printf("init: mount %s on %s: %s\n", type, target, strerror(errno));
  }
}

/* A board without devices gathers no entropy, and the first program that needs it would block. */
static void credit_entropy(void) {
  struct {
    int bits, size;
    unsigned char bytes[64];
  } entropy = {512, 64, {1, 2, 3}};
  const int fd = open("/dev/random", O_RDWR);
  if (fd < 0 || ioctl(fd, RNDADDENTROPY, &entropy) != 0) {
    printf("init: entropy: %s\n", strerror(errno));
  }
  if (fd >= 0) close(fd);
}

int main(void) {
  int status = 255 << 8;
  pid_t child;

  mount_on("devtmpfs", "/dev");
  mkdir("/dev/pts", 0755);
  mount_on("devpts", "/dev/pts");
  mount_on("proc", "/proc");
  mount_on("sysfs", "/sys");
  mount_on("tmpfs", "/tmp");
  mount_on("tmpfs", "/run");
  credit_entropy();
  child = fork();
  if (child == 0) {
    execl("/test", "/test", (char *)NULL);
    _exit(127);
  }
  while (wait(&status) != child) {
  }
  if (status == 0) {
    printf("board: done\n");
  } else {
    printf("board: failed with status %d\n",
           WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
  }
  fflush(stdout);
  sync();
  reboot(RB_AUTOBOOT);
  return 0;
}
