# Firewall rules: a TCP connection from outside arrives at an inner host through a pinhole, and no
# longer does when the pinhole is closed. This script's network namespace is the gateway; two more are
# the host outside and the one inside, each on a veth pair.
# Needs the sandbox.
# shellcheck disable=SC2016 # programs in single quotes have variables of their own
set -eu

[ "${1:-}" = gateway ] || exec unshare --net --mount sh "$0" gateway

echo "== Firewall rules"

# zone NAME INTERFACE GATEWAY-ADDRESS ADDRESS: a network with one host
zone() {
  ip netns add "$1"
  ip link add "$2" type veth peer name eth0 netns "$1"
  ip addr add "$3/24" dev "$2"
  ip link set "$2" up
  ip -n "$1" addr add "$4/24" dev eth0
  ip -n "$1" link set eth0 up
}
zone outside wan0 203.0.113.1 203.0.113.50
zone inside lan0 192.168.1.1 192.168.1.10
ip -n inside route add default via 192.168.1.1
echo 1 >/proc/sys/net/ipv4/ip_forward

# The inner host answers one connection with the addresses of both ends.
ip netns exec inside perl -MIO::Socket::INET -e '
  my $listener = IO::Socket::INET->new(Listen => 1, LocalPort => 80) or die;
  my $peer = $listener->accept or die;
  print $peer "hello ", $peer->peerhost, ", this is ", $peer->sockhost, "\n"' &
server=$!
trap 'kill $server 2>/dev/null || true' EXIT
until ip netns exec inside ss -ltn | grep -q ':80 '; do sleep 0.1; done

# call EXPECTED: connects from outside to port 8080 of the gateway and shows the answer
call() {
  answer=$(ip netns exec outside perl -MIO::Socket::INET -e '
    my $peer = IO::Socket::INET->new(PeerAddr => "203.0.113.1:8080", Timeout => 1)
      or print("nothing\n"), exit;
    print <$peer>')
  echo "  A connection to 203.0.113.1:8080 from outside gets: $answer"
  [ "$answer" = "$1" ] || { echo "expected: $1"; exit 1; }
}
pinhole() {
  lines=$("$BUILD/examples/pinhole" "$@")
  echo "$lines" | fold -s -w 92 | sed 's/^/    /'
}

call "nothing"
pinhole policy input drop
pinhole nat on wan0
pinhole open 203.0.113.1 tcp 8080 192.168.1.10 80

iptables -A FORWARD -j DROP
echo "  With a rule that drops everything in the chain FORWARD:"
call "nothing"
pinhole flush forward
call "hello 203.0.113.50, this is 192.168.1.10"

echo "  iptables -S"
iptables -S | sed 's/^/    /'
echo "  iptables -t nat -S"
iptables -t nat -S | fold -s -w 92 | sed 's/^/    /'

pinhole close 203.0.113.1 tcp 8080 192.168.1.10 80
call "nothing"
