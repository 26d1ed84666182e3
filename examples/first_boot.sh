#!/bin/sh
# The first boot of a gateway, using talvera alone: from an erased factory partition to a firewall and daemons.
#
# The environment variable FOLDER names the folder of its files (default /var/run), in which factory.blob contains
# the device's certificate and key. `make demo` shows this script paragraph by paragraph, with its comments.

set -eu
cd "${FOLDER:-/var/run}"
export TALVERA_NVRAM=config

# == Identity
# The factory partition is still erased. The first boot creates the manufacturing file and sends the platform
# driver the default identity, which every device has until the factory writes its own.
talvera mfg init
talvera mfg show

# The factory writes the MAC address printed on the label. If the serial number is left empty,
# it is derived from that address.
talvera mfg set --mac 02-5A-32-0-0-5 --addresses 8 --serial ''
talvera mfg show --json

# The radio is calibrated once; the driver gets the result at every boot.
printf '\001\002\003\377' | talvera mfg calibration-set
talvera mfg calibration-get --length 4 | talvera text hex --delimiter :

# The device's certificate and key come in one blob, which is validated before anything is written.
talvera cert check factory.blob
talvera cert install 1 factory.blob
talvera cert show

# == Configuration
# Names and values are in shared memory. A file identifies the store; defaults are imported from
# lines of the form NAME=VALUE.
touch config
talvera nvram init
printf '%s\n' hostname=gateway lan.address=192.168.1.1 lan.mask=255.255.255.0 \
  wan.address=203.0.113.1 wan.interface=wan0 time.zone=EST5EDT | talvera nvram import

# A user changes a value, which every program then sees.
talvera nvram set hostname 'Living room'
talvera nvram show

# The home network is derived from the address and the mask.
talvera net address "$(talvera nvram get lan.address)" "$(talvera nvram get lan.mask)"

# == Clock
# Users choose a zone by its name; the C library also needs its daylight-saving rule.
TZ=$(talvera time zone "$(talvera nvram get time.zone)" us)
export TZ
talvera time soap

# == Firewall (root)
# Nothing gets in until the rules are complete.
talvera ipt policy --apply input drop

# Packets that leave through the WAN interface carry the gateway's address.
talvera ipt nat --apply on "$(talvera nvram get wan.interface)"

# A pinhole: connections to port 8080 of the gateway go to the web server of an inside host.
talvera ipt pinhole --apply "$(talvera nvram get wan.address)" tcp 8080 192.168.1.10 80

# From here on, packets are forwarded.
talvera sysfs set /proc/sys/net/ipv4/ip_forward 1
talvera ipt policy --apply input accept

# == Daemons
# A daemon runs in the background, in its own process group. This one logs the messages of a queue.
daemon=$(talvera proc start /bin/sh -- -c 'exec talvera queue receive events >events.log')
until [ -S events ]; do sleep 1; done

# Other processes send messages to the queue by its name.
talvera queue send events 'link up' 'lease renewed'

# The daemon is asked to terminate, and killed if it does not; it removes the name of its queue. The gateway is up.
talvera proc stop "$daemon"
cat events.log
