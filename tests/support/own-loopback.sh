#!/bin/sh
# Runs a test program on a loopback network of its own: the simulator's DoIP entities listen on
# fixed loopback addresses and answer broadcasts, so test programs running side by side would
# otherwise hear each other. Exits non-zero without running anything when the machine allows no
# network namespace (the build then makes those tests take turns instead).
[ "$(id -u)" = 0 ] || user=--map-root-user
exec unshare --net $user sh -c 'ip link set lo up || exit 97; exec "$@"' own-loopback "$@"
