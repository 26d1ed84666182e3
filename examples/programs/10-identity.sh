# The device identity at boot: first on an empty factory partition, then on one that the factory has written,
# whose serial number is derived from the MAC address.
set -eu

flash=$(mktemp -d)
journal=$flash.journal

boot() {
  : >"$journal"
  LD_PRELOAD=$BUILD/host/libtalvera_platform_preload.so TALVERA_FLASH=$flash \
    TALVERA_PLATFORM_JOURNAL=$journal "$BUILD/examples/boot_identity" | sed 's/^/    /'
  echo "  What the partition and the driver saw:"
  fold -s -w 92 "$journal" | sed 's/^/    /'
}

driver_received() {
  grep -q "driver: identity.*$1" "$journal" || { echo "the driver did not receive $1"; exit 1; }
}

echo "== Device identity at boot"
echo "  An empty factory partition:"
boot
driver_received "31 32 33 34 35 36 37 38 39 30 00"
[ "$(wc -c <"$flash/mfg.dat")" = 131072 ]
[ -z "$(tr -d '\377' <"$flash/mfg.dat" | head -c 1)" ]
echo "  The file made: 131072 bytes, all 0xff"

echo
echo "  A partition from the factory, its record without a serial number:"
"$BUILD/host/factory_file" "$flash/mfg.dat" 02:5a:32:00:00:05 40 32
tail -c 256 "$flash/mfg.dat" | od -A d -t x1 | sed 's/^/    /'
boot
driver_received "31 36 37 37 37 32 32 31 00"
echo "  The serial number 16777221: 16777216, where the range 02-5A-32 begins, and 5 from the address."
