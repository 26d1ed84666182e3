// Bindings of addresses, interfaces and the ARP probe.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "runner/addresses.h"
#include "talvera/netu.h"
#include "talvera/process.h"

namespace talvera::test {
namespace {

// ---- Addresses --------------------------------------------------------------------------------

template <auto kCalculate>
int calculated(const char *address, const char *mask, in_addr *result) {
  return kCalculate(address, mask, &result->s_addr);
}
BIND_AS(netu_calc_network, calculated<netu_calc_network>);
BIND_AS(netu_calc_broadcast, calculated<netu_calc_broadcast>);
BIND_AS(netu_calc_host, calculated<netu_calc_host>);
BIND(netu_calc_subnet_prefix, netu_is_empty_ip4addr, netu_atoipv4, netu_atoipv6, netu_etoa,
     netu_atoe, netu_ifindex2name);
BIND_AS(netu_subnet_mask_from_prefix,
        [](unsigned prefix) { return in_addr{htonl(netu_subnet_mask_from_prefix(prefix))}; });

// ---- Counters ---------------------------------------------------------------------------------

constexpr const char *kFiles[] = {
    "rx_packets",       "rx_bytes",         "rx_dropped",       "rx_errors",       "multicast",
    "tx_packets",       "tx_bytes",         "tx_dropped",       "tx_errors",       "collisions",
    "tx-errored-bytes", "rx-errored-bytes", "tx-dropped-bytes", "rx-dropped-bytes"};
BIND(netu_ifstat_get, netu_alloc_linuxif_stats, netu_free_linuxif_stats, netu_init_linuxif_stats,
     netu_update_linuxif_stats, netu_reset_linuxif_stats, netu_get_linuxif_stat);
// Creates "<tmp>/rx_packets" and so on for wan7; the first `count` contain numbers from `first` on.
DIRECTIVE(counters, [](Call &call, int first, int count) {
  const TempDir &folder = call.session().folder();
  for (const char *file : kFiles) {
    call.session().system.redirections[std::string("/sys/class/net/wan7/statistics/") + file] =
        folder / file;
    if (count-- > 0) folder.write(file, std::to_string(first++) + '\n');
  }
});
// The first counter, parsed from this text.
BIND_AS(counter, [](Call &call, const std::string &text) {
  call.session().folder().write(kFiles[0], text);
  netu_linuxif_stats stats;
  netu_update_linuxif_stats("wan7", &stats);
  return std::int64_t{stats.current[0]};
});

// ---- The ARP probe ----------------------------------------------------------------------------

BIND(netu_arping_test);
// Probes with a script of these commands as "<tmp>/arping", which must be in the PATH.
BIND_AS(arping, [](Call &call, const std::string &commands) {
  const std::string script = call.session().folder().write("arping", "#!/bin/sh\n" + commands);
  chmod(script.c_str(), 0700);
  return netu_arping_test("wan7", "192.0.2.9");
});
// Probes beside an ended child, whose status the probe must not take.
BIND_AS(probe_beside_child, [] {
  const pid_t other = fork();
  if (other == 0) _exit(1);
  siginfo_t info;
  waitid(P_PID, static_cast<id_t>(other), &info, WEXITED | WNOWAIT);
  const int result = netu_arping_test("wan7", "192.0.2.9");
  return std::to_string(result) + (waitpid(other, nullptr, 0) == other ? "" : " other taken");
});
// Probes with a child that has ended before the wait, `collected` or not; the SIGCHLD handler reaps
// every child.
std::string probe_that_has_ended(Call &call, bool collected) {
  static bool unblock;
  unblock = collected;
  call.session().system.before("waitpid", [] {
    siginfo_t info;
    waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
    if (!unblock) return;
    sigset_t none, mask;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, &mask);  // the handler runs
    sigprocmask(SIG_SETMASK, &mask, nullptr);
  });
  const int result = netu_arping_test("wan7", "192.0.2.9");
  sigset_t mask;
  sigprocmask(SIG_SETMASK, nullptr, &mask);
  std::signal(SIGCHLD, SIG_DFL);
  return std::to_string(result) + (sigismember(&mask, SIGCHLD) == 0 ? "" : " blocked");
}
// With a handler of the program.
BIND_AS(probe_beside_reaper, [](Call &call) {
  std::signal(SIGCHLD, [](int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
  });
  return probe_that_has_ended(call, false);
});
// With the library's reaper, as if it ran in another thread.
BIND_AS(probe_collected_elsewhere, [](Call &call) {
  char name[] = "true";
  char *const arguments[] = {name, nullptr};
  siginfo_t info;
  if (process_start(nullptr, "/bin/true", arguments, nullptr) != 0)
    return std::string("no process");
  while (waitid(P_ALL, 0, &info, WEXITED | WNOWAIT) == 0 || errno == EINTR) {
  }
  return probe_that_has_ended(call, true);
});

}  // namespace
}  // namespace talvera::test
