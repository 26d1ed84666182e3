# A hand-written configuration file, read line by line.
set -eu

file=$(mktemp)
cat >"$file" <<'END'
# WAN side
address   192.168.1.254
mac       0:1A:2b:3c:4d:5e
mtu       0x5dc
ports     6000 6063
servers   ntp1.example.com, ntp2.example.com
circuit   8/35
greeting  "Hi ^"you^": it's <^x41dmin>"
END

echo "== A configuration file, line by line"
sed 's/^/    /' "$file"
echo "  read as:"
"$BUILD/examples/read_config" "$file" >"$file.out"
sed 's/^/    /' "$file.out"
grep -q '^greeting  Hi "you": it.s <Admin>$' "$file.out"
grep -q '&#x3c;Admin&#x3e;$' "$file.out"
grep -q '^mtu       1500$' "$file.out"

echo "  With wrong values:"
printf 'address 192.168.1.256\nmtu 20\nports 6063-6000\ncolour blue\n' >"$file"
if "$BUILD/examples/read_config" "$file" >"$file.out"; then
  echo "wrong lines were accepted" && exit 1
fi
sed 's/^/    /' "$file.out"
[ "$(wc -l <"$file.out")" = 4 ]
