#!/bin/sh
# The first boot of a gateway, by talvera alone: from an erased factory partition to a firewall and daemons.
#
# The environment variable FOLDER names the folder of its files, /var/run without it. The device's certificate
# and key are there as the factory made them: factory.blob. `make demo` tells this script paragraph by paragraph, in the words of its comments.

set -eu
cd "${FOLDER:-/var/run}"
export TALVERA_NVRAM=config

# == Identity
# The factory partition is still erased. The first start makes the manufacturing file there and hands the
# platform driver an identity: the default one, which all devices have until the factory writes their own.
talvera mfg init
talvera mfg show

# The factory writes the MAC address of the label. Where it leaves the serial number empty, the address gives one.
talvera mfg set --mac 02-5A-32-0-0-5 --addresses 8 --serial ''
talvera mfg show --json

# The radio is measured once, and the driver gets the result at every boot.
printf '\001\002\003\377' | talvera mfg calibration-set
talvera mfg calibration-get --length 4 | talvera text hex --delimiter :

# The device's certificate and its key come as one blob, which is checked before a byte of it is written.
talvera cert check factory.blob
talvera cert install 1 factory.blob
talvera cert show

# == Configuration
# Names and values live in memory that all daemons share. A file names the store; defaults come as lines.
touch config
talvera nvram init
printf '%s\n' hostname=gateway lan.address=192.168.1.1 lan.mask=255.255.255.0 \
  wan.address=203.0.113.1 wan.interface=wan0 time.zone=EST5EDT | talvera nvram import

# A user changes one, and whoever asks next has the new value.
talvera nvram set hostname 'Living room'
talvera nvram show

# The network of the home follows from address and mask.
talvera net address "$(talvera nvram get lan.address)" "$(talvera nvram get lan.mask)"

# == Clock
# Users choose a zone by its name; the C library wants the rule of its daylight-saving time, too.
TZ=$(talvera time zone "$(talvera nvram get time.zone)" us)
export TZ
talvera time soap

# == Firewall (root)
# Until the rules are complete, nothing gets in.
talvera ipt policy --apply input drop

# What leaves through the WAN interface carries the gateway's address.
talvera ipt nat --apply on "$(talvera nvram get wan.interface)"

# A pinhole: connections to port 8080 of the gateway go to the web server of a host inside.
talvera ipt pinhole --apply "$(talvera nvram get wan.address)" tcp 8080 192.168.1.10 80

# From here on packets pass.
talvera sysfs set /proc/sys/net/ipv4/ip_forward 1
talvera ipt policy --apply input accept

# == Daemons
# A daemon runs in the background, in a process group of its own. This one writes down the messages of a queue.
daemon=$(talvera proc start /bin/sh -- -c 'exec talvera queue receive events >events.log')
until [ -S events ]; do sleep 1; done

# Any other process sends it messages by the name of the queue.
talvera queue send events 'link up' 'lease renewed'

# It is asked to stop, and killed if it does not. The queue's name goes with it, and the gateway is up.
talvera proc stop "$daemon"
cat events.log
