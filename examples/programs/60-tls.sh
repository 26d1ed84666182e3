# A TLS client, and servers that it accepts and rejects. The development stand-in for the maker's root issues
# their certificates.
set -eu

[ -x "$BUILD/examples/tls_request" ] || exit 0 # a build without TLS
stand_ins=$PWD/product/development
work=$(mktemp -d)
server=
trap '[ -z "$server" ] || kill "$server" 2>/dev/null; rm -rf "$work"' EXIT
export TALVERA_SDB=$work/database
port=44330

# issue NAME FROM UNTIL: a certificate for acs.example.net
issue() {
  : >"$work/index"
  echo 01 >"$work/serial"
  cat >"$work/conf" <<END
[ca]
default_ca = root
[root]
database = $work/index
serial = $work/serial
new_certs_dir = $work
default_md = sha256
policy = name
[name]
commonName = supplied
[req]
distinguished_name = empty
[empty]
END
  openssl req -config "$work/conf" -new -key "$work/key" -subj /CN=acs.example.net \
    -out "$work/request" 2>/dev/null
  openssl ca -config "$work/conf" -batch -notext -cert "$work/root" -keyfile "$stand_ins/06-brio.key.pem" \
    -startdate "$2" -enddate "$3" -in "$work/request" -out "$work/$1" 2>/dev/null
}

# request EXPECTED-STATUS CERTIFICATE SERVER-NAME NETWORK-TIME
request() {
  printf 'system.sku=1\nip.ntp.time-acquired=%s\n' "$4" >"$TALVERA_SDB"
  port=$((port + 1))
  openssl s_server -accept 127.0.0.1:$port -cert "$work/$2" -key "$work/key" -www -quiet \
    >/dev/null 2>&1 </dev/null &
  server=$!
  for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
    ss -Htln "sport = :$port" | grep -q . && break
    sleep 0.1
  done
  status=0
  "$BUILD/examples/tls_request" 127.0.0.1 "$port" "$3" >"$work/out" 2>&1 || status=$?
  sed -n 's/^[0-9: -]* \(error: .*\)/    log \1/p' "$work/out"
  grep -v '^[0-9-]* [0-9:]* ' "$work/out" | sed 's/^/    /'
  kill "$server"
  wait "$server" 2>/dev/null || true
  server=
  [ "$status" = "$1" ] || { echo "exit status $status, not $1"; cat "$work/out"; exit 1; }
}

openssl genrsa -out "$work/key" 2048 2>/dev/null
openssl x509 -inform DER -in "$stand_ins/06-brio.der" -out "$work/root"
year=$(date +%y)
past() { printf '%02d0101000000Z' $((year - $1)); }
future() { printf '%02d0101000000Z' $((year + $1)); }
issue good "$(past 1)" "$(future 2)"
issue expired "$(past 3)" "$(past 1)"
issue not-yet "$(future 1)" "$(future 3)"

echo "== TLS to the management server"
echo "  The right server, its name in different case:"
request 0 good ACS.example.net 1
echo "  A server with another name:"
request 2 good acs.example.com 1
echo "  A certificate that has expired, with and without network time:"
request 2 expired acs.example.net 1
request 2 expired acs.example.net 0
echo "  A certificate that is not yet valid, with network time:"
request 2 not-yet acs.example.net 1
echo "  The same before the device has network time, when its own clock may be wrong:"
request 0 not-yet acs.example.net 0
