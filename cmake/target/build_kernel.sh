#!/usr/bin/env bash
# build_kernel.sh FOLDER: builds FOLDER/vmlinux, a small 32-bit PowerPC Linux for qemu-system-ppc, and
# FOLDER/initrd with the init.c beside this script. Needs 1.5 GiB in FOLDER for some five minutes.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "${1:?usage: build_kernel.sh FOLDER}"
out=$(cd "$1" && pwd)
export ARCH=powerpc CROSS_COMPILE=powerpc-linux-gnu-

options="PPC_BOOK3S_32 PPC_PMAC PPC_OF_BOOT_TRAMPOLINE ALTIVEC COMPAT_32BIT_TIME PCI
  NET UNIX INET IP_MULTICAST PACKET SYSVIPC POSIX_MQUEUE POSIX_TIMERS HIGH_RES_TIMERS FUTEX EPOLL EVENTFD
  SIGNALFD TIMERFD AIO SHMEM TMPFS PROC_FS SYSCTL PROC_SYSCTL SYSFS DEVTMPFS MULTIUSER NAMESPACES IPC_NS NET_NS
  USER_NS BINFMT_ELF BINFMT_SCRIPT FILE_LOCKING BLK_DEV_INITRD RD_GZIP PRINTK BUG TTY
  MACINTOSH_DRIVERS SERIAL_PMACZILOG SERIAL_PMACZILOG_TTYS SERIAL_PMACZILOG_CONSOLE ADB ADB_PMU
  RTC_CLASS RTC_DRV_GENERIC VIRTIO_MENU VIRTIO VIRTIO_PCI NET_9P NET_9P_VIRTIO NETWORK_FILESYSTEMS 9P_FS
  COREDUMP ELF_CORE MEMBARRIER ADVISE_SYSCALLS"

cd "$out"
rm -rf linux-source-6.1
tar xf /usr/src/linux-source-6.1.tar.xz
for option in $options; do echo "CONFIG_$option=y"; done >config
cd linux-source-6.1
make -s allnoconfig KCONFIG_ALLCONFIG="$out/config" >/dev/null
while read -r line; do
  grep -q "^$line" .config || { echo "build_kernel.sh: the kernel has no $line" >&2; exit 1; }
done <"$out/config"
make -s -j"$(nproc)" vmlinux
powerpc-linux-gnu-gcc -O1 -Wall -static "$here/init.c" -o "$out/init"
printf '%s\n' 'dir /dev 0755 0 0' 'nod /dev/console 0600 0 0 c 5 1' "file /init $out/init 0755 0 0" \
  >"$out/files"
usr/gen_init_cpio "$out/files" >"$out/initrd"
# The kernel comes last: where it stands, all is there.
powerpc-linux-gnu-strip -s -o "$out/vmlinux" vmlinux
cd "$out"
rm -rf linux-source-6.1
