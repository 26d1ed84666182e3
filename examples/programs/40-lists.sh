# A list of a caller's records: kept as copies, sorted, searched, printed.
set -eu

echo "== Hosts of the home network, in a list sorted by address"
shown=$("$BUILD/examples/sort_hosts")
echo "$shown" | sed 's/^/    /'

names=$(echo "$shown" | sed -n 's/^\([a-z]*\) .*192\.168.*/\1/p' | tr '\n' ' ')
[ "$names" = "laptop phone printer camera " ] || { echo "the hosts are not in order"; exit 1; }
echo "$shown" | grep -q '^camera is at position 3 of 4$' || { echo "camera was not found"; exit 1; }
