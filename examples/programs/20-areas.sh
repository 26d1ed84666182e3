# The client certificate blob on the factory partition, and the configuration that processes share.
# Needs the sandbox.
set -eu

work=$(mktemp -d)
flash=$work/flash
mkdir "$flash"

# A number as four bytes, big-endian.
be32() {
  printf "$(printf '\\%03o\\%03o\\%03o\\%03o' $(($1 >> 24 & 255)) $(($1 >> 16 & 255)) \
    $(($1 >> 8 & 255)) $(($1 & 255)))"
}

size_of() {
  wc -c <"$1"
}

# A blob with a certificate and its plain key; the argument is the format version.
make_blob() {
  certificate=$(size_of "$work/certificate.der")
  key=$(size_of "$work/key.der")
  printf '\016\014\012\010'
  printf "${1:-\\002\\004\\006\\007}"
  be32 $((20 + 2 * 16 + certificate + key))
  be32 2
  be32 0
  be32 0
  be32 "$certificate"
  be32 2
  be32 0
  be32 "$certificate"
  be32 "$key"
  be32 1
  be32 0
  cat "$work/certificate.der" "$work/key.der"
}

on_the_gateway() {
  LD_PRELOAD=$BUILD/host/libtalvera_platform_preload.so TALVERA_FLASH=$flash "$@"
}

expect() {
  grep -q "$1" "$work/out" || { echo "expected: $1"; exit 1; }
}

echo "== Client certificate blob"
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj "/CN=gateway" \
  -days 30 -outform DER -out "$work/certificate.der" -keyout "$work/key.pem" 2>/dev/null
openssl pkey -in "$work/key.pem" -outform DER -out "$work/key.der"
make_blob >"$work/blob"
make_blob '\002\004\006\010' >"$work/blob.newer"
"$BUILD/host/factory_file" "$flash/mfg.dat" 02:5a:30:00:00:01 40 16

echo "  Nothing installed yet:"
on_the_gateway "$BUILD/examples/certificate_blob" show >"$work/out" && exit 1
sed 's/^/    /' "$work/out"
echo "  A blob of a newer format is refused:"
on_the_gateway "$BUILD/examples/certificate_blob" install "$work/blob.newer" 1 >"$work/out" 2>&1 && exit 1
sed "s|$work/||; s/^/    /" "$work/out"
echo "  Installed and read back:"
on_the_gateway "$BUILD/examples/certificate_blob" install "$work/blob" 1 | sed 's/^/    /'
on_the_gateway "$BUILD/examples/certificate_blob" show >"$work/out"
sed 's/^/    /' "$work/out"
expect "slot 1, 2 items"
expect "private key: $(size_of "$work/key.der") bytes"
tail -c +$((0x1C000 + 1)) "$flash/mfg.dat" | head -c "$(size_of "$work/blob")" | cmp - "$work/blob"

echo
echo "== Shared configuration"
store=$work/store
: >"$store"
config() {
  "$BUILD/examples/shared_config" "$store" "$@"
}
config create
echo "  Two processes set 60 pairs each, at the same time:"
for writer in lan wan; do
  (for i in $(seq 60); do config set "$writer.$i" "value $i of $writer"; done) &
done
wait
echo "    a third one counts $(config show | wc -l) pairs; wan.17 is \"$(config get wan.17)\""
[ "$(config show | wc -l)" = 120 ]
[ "$(config get lan.60)" = "value 60 of lan" ]
config unset wan.17
config get wan.17 && exit 1
echo "    after one process has removed it, another finds $(config show | wc -l) pairs, and no wan.17"
echo "  The segment, as the kernel sees it:"
awk 'NR == 2 { print "    mode " $3 ", " $4 " bytes" }' /proc/sysvipc/shm
config remove
[ "$(wc -l </proc/sysvipc/shm)" = 1 ]
rm -r "$work"
