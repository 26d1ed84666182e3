// cc process.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stddef.h>
#include <talvera/process.h>

int main(void) {
  char *const argv[] = {"example_daemon", "-f", NULL};
  char *const env[] = {"LANG=C", NULL};
  pid_t pid;
  if (process_start(&pid, "/usr/sbin/example_daemon", argv, env) != 0) return 1;
  process_signal(pid, SIGHUP);
  return process_stop(pid);
}
