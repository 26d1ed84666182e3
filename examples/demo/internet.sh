# The firewall at work: an outside and an inside host, each a network namespace with an address and a veth pair.

# host INTERFACE GATEWAY-ADDRESS ADDRESS: creates a host, whose namespace the process $holder keeps alive
host() {
  unshare -n sleep 600 &
  holder=$!
  background="$background $holder"
  while [ "$(readlink "/proc/$holder/ns/net")" = "$(readlink "/proc/$$/ns/net")" ]; do sleep 0.1; done
  ip link add "$1" type veth # the other end is veth0: not every ip command can name it
  ip address add "$2/24" dev "$1"
  ip link set "$1" up
  ip link set veth0 netns "$holder"
  nsenter -t "$holder" -n ip address add "$3/24" dev veth0
  nsenter -t "$holder" -n ip link set veth0 up
}

# The web server greets each client by the address that it sees.
serve() {
  if command -v perl >/dev/null; then
    set -- perl -MIO::Socket::INET -e '
      my $listener = IO::Socket::INET->new(Listen => 1, LocalPort => 80) or die;
      while (my $peer = $listener->accept) {
        print $peer "hello ", $peer->peerhost, ", this is the camera\n"
      }'
  else
    set -- tcpsvd 0.0.0.0 80 sh -c 'echo "hello ${TCPREMOTEADDR%:*}, this is the camera"'
  fi
  nsenter -t "$inside" -n "$@" >/dev/null 2>&1 &
  background="$background $!"
  wait_for_listener 80 "$inside"
}
from_outside() {
  if command -v perl >/dev/null; then
    nsenter -t "$outside" -n perl -MIO::Socket::INET -e '
      my $peer = IO::Socket::INET->new(PeerAddr => "$ARGV[0]:$ARGV[1]", Timeout => 1)
        or print("no connection\n"), exit;
      print <$peer>' "$1" "$2"
  else
    nsenter -t "$outside" -n nc -w 2 "$1" "$2" </dev/null || echo "no connection"
  fi
}

# == What the internet sees (root)

host wan0 203.0.113.1 203.0.113.50
outside=$holder
host lan0 192.168.1.1 192.168.1.10
inside=$holder
nsenter -t "$inside" -n ip route add default via 192.168.1.1
serve

# A camera at home, 192.168.1.10, has a web server. A host on the internet, 203.0.113.50, connects to the
# gateway, and the pinhole forwards the connection.
from_outside 203.0.113.1 8080

expect '^hello 203.0.113.50, this is the camera'

# Without the pinhole, the same connection attempt ends at the gateway, where nothing listens.
talvera ipt pinhole --apply --delete 203.0.113.1 tcp 8080 192.168.1.10 80
from_outside 203.0.113.1 8080

expect '^no connection'

# Who still tries? A rule logs such packets to a group, and talvera prints them.
iptables -A INPUT -i wan0 -p tcp --dport 8080 -j NFLOG --nflog-group 5
talvera log packets --count 1 5 >calls & sleep 1
from_outside 203.0.113.1 8080
wait $!; cat calls

expect 'in=wan0 out=- tcp 203.0.113.50:.* > 203.0.113.1:8080'

# The interface counters include all these packets.
talvera net counters wan0 | grep packets
