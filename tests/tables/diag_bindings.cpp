// Bindings of traceroute.
#include "runner/bind.h"
#include "talvera/ipdiag.h"

FIELDS(tr_hop, &R::host, &R::address, &R::times, &R::status);

namespace talvera::test {
namespace {

// Creates a work file of the test "t".
void prepare(Call &call, const std::string &kind, const std::string &content) {
  const TempDir &folder = call.session().folder();
  call.session().system.redirections["/tmp/t-" + kind] = folder.write(kind, content);
}

BIND(ipdiag_tr_makeparam, ipdiag_tr_formatout, ipdiag_tr_resptime, ipdiag_tr_err);
// Result, count and rows; every text of a row initially contains `before`.
BIND_AS(hops, [](Call &call, int rows, const std::string &before, const std::string &content) {
  prepare(call, "out", content);
  const auto size = static_cast<std::size_t>(rows < 0 ? 0 : rows);
  const GuardedBuffer &table = call.memory(size * sizeof(tr_hop), alignof(tr_hop));
  auto *const hops = reinterpret_cast<tr_hop *>(table.data());
  for (std::size_t i = 0; i < size; ++i)
    for (char *field : {hops[i].host, hops[i].address, hops[i].times})
      std::strcpy(field, before.c_str());
  std::int32_t count = -9;
  const int result = ipdiag_tr_formatout("t", hops, rows, &count);
  std::string shown = std::to_string(count);
  for (std::size_t i = 0; i < size; ++i)
    shown += ' ' + show(call, hops[i]);
  return Result{result, shown};
});
// Reads a number from a work file with this content.
auto read_with(const char *kind, int (*read)(const char *, std::int32_t *)) {
  return [=](Call &call, const std::string &content, std::int32_t *value) {
    prepare(call, kind, content);
    return read("t", value);
  };
}
BIND_AS(resptime, read_with("status", ipdiag_tr_resptime));
BIND_AS(err, read_with("err", ipdiag_tr_err));

}  // namespace
}  // namespace talvera::test
