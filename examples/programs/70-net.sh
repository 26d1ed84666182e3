# The packet log and the interface counters: the firewall logs datagrams to a group, the program bound to the
# group receives them, and the interface's counters include them.
# Needs the sandbox.
set -eu

echo "== Packet log and interface counters"
lines=$(mktemp)

"$BUILD/examples/packet_log" 5 3 127.0.0.77 >"$lines" &
logger=$!
trap 'kill $logger 2>/dev/null || true' EXIT
until grep -q ready "$lines"; do
  kill -0 $logger || exit 1
  sleep 0.1
done
"$BUILD/examples/interface_counters" lo 2 1 >"$lines.counters" &
counters=$!
sleep 0.5

# Four datagrams of 100 bytes, including headers, to a receiving socket; three are logged.
perl -MIO::Socket::INET -e '
  for ("127.0.0.77", "127.0.0.78", "127.0.0.77", "127.0.0.77") {
    my $taker = IO::Socket::INET->new(Proto => "udp", LocalAddr => $_, LocalPort => 7777) or die;
    my $sender = IO::Socket::INET->new(Proto => "udp", PeerAddr => $_, PeerPort => 7777,
                                       LocalAddr => "127.0.0.1", LocalPort => 6666) or die;
    $sender->send("x" x 72) == 72 or die;
  }'
wait $logger || { echo "the packet log failed"; exit 1; }
wait $counters
trap - EXIT

echo "  Four datagrams were sent, three of them to 127.0.0.77, and logged to group 5:"
grep -v ready "$lines" | sed 's/^/    /'
expected="group 5  to lo  protocol 17  127.0.0.1:6666 > 127.0.0.77:7777  100 bytes"
[ "$(grep -cxF "$expected" "$lines")" = 3 ] || { echo "expected three times: $expected"; exit 1; }
echo "  The counters of the interface:"
sed 's/^/    /' "$lines.counters"
grep -q "received 4 packets, 400 bytes  sent 4 packets, 400 bytes  errors 0" "$lines.counters"
