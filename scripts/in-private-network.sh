#!/usr/bin/env bash
# Runs a command in a network of its own, from which nothing can leave: broadcast and multicast are
# safe there. Two pairs of virtual cables lead to a second network, where simulated modules can stand:
#
#   host (the command)            modules (nsenter --net="$ZEL_MODULE_NETWORK" ...)
#   zelhost0 192.168.169.1/24  -- zelmodule0 192.168.169.20/24 to .29
#   zelhost1 192.168.170.1/24  -- zelmodule1 192.168.170.20/24 to .29
#
# Both networks and every process that is still in them go away when the command ends.
# With ZEL_PRIVATE_NETWORK=no the command runs as it is: for debuggers, on machines without a network.
set -euo pipefail

if [ "$#" -eq 0 ]; then
    echo "usage: in-private-network.sh COMMAND [ARGUMENT...]" >&2
    exit 2
fi
if [ "${ZEL_PRIVATE_NETWORK:-}" = no ]; then
    exec "$@"
fi

if [ "${ZEL_PRIVATE_NETWORK:-}" != inside ]; then
    how=(--net --mount --pid --fork --kill-child --mount-proc)
    if [ "$(id -u)" -ne 0 ]; then
        how=(--user --map-root-user "${how[@]}")
    fi
    if ! reason=$(unshare "${how[@]}" true 2>&1); then
        echo "in-private-network: cannot make a network namespace here: $reason" >&2
        echo "in-private-network: run as root, or allow user namespaces" \
            "(sysctl kernel.unprivileged_userns_clone=1)" >&2
        exit 1
    fi
    export ZEL_PRIVATE_NETWORK=inside
    exec unshare "${how[@]}" "${BASH_SOURCE[0]}" "$@"
fi
# A command inside that asks again gets a new network, not the setting up of this one once more.
unset ZEL_PRIVATE_NETWORK
PATH=$PATH:/usr/sbin:/sbin

# The file that names the modules' network is in a file system that only this command sees.
mount -t tmpfs none /mnt
export ZEL_MODULE_NETWORK=/mnt/modules
touch "$ZEL_MODULE_NETWORK"
unshare --net="$ZEL_MODULE_NETWORK" ip link set lo up
# A name for the moving of the cable ends: any process there will do.
nsenter --net="$ZEL_MODULE_NETWORK" sleep 60 &
holder=$!
until [ /proc/$holder/ns/net -ef "$ZEL_MODULE_NETWORK" ]; do sleep 0.01; done

ip link set lo up multicast on
for pair in 0 1; do
    subnet=192.168.$((169 + pair))
    ip link add zelhost$pair type veth peer name zelmodule$pair netns $holder
    ip address add $subnet.1/24 broadcast + dev zelhost$pair
    ip link set zelhost$pair up multicast on
    {
        for host in 20 21 22 23 24 25 26 27 28 29; do
            echo "address add $subnet.$host/24 broadcast + dev zelmodule$pair"
        done
        echo "link set zelmodule$pair up multicast on"
    } | nsenter --net="$ZEL_MODULE_NETWORK" ip -batch -
done
# Where nobody names an adapter, the first one carries what goes to all.
for route in 255.255.255.255/32 224.0.0.0/4; do
    ip route add $route dev zelhost0
    nsenter --net="$ZEL_MODULE_NETWORK" ip route add $route dev zelmodule0
done
# A cable whose carrier the kernel has not noted yet swallows what is sent.
until [ "$({ ip -br link; nsenter --net="$ZEL_MODULE_NETWORK" ip -br link; } |
    grep -cE '^zel.* UP ')" -eq 4 ]; do
    sleep 0.05
done
kill $holder
wait $holder 2>/dev/null || true

# Not by exec: the first process of the namespace must wait for orphans, and few programs do that.
# As such a process it must also say which signals it takes.
"$@" <&0 &
command=$!
trap 'kill -TERM $command 2>/dev/null' TERM INT HUP
result=0
wait $command || result=$?
exit $result
