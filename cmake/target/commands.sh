# Part of ./dev: the device, and what programs that are linked with the library rely on.

target_packages="g++-powerpc-linux-gnu qemu-user googletest"
kernel_packages="qemu-system-ppc linux-source-6.1 flex bison bc make xz-utils"
toolchain=-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/powerpc-linux-gnu.cmake

# Where the kernel is kept. What it is made from is part of the name.
kernel_folder() {
  local sources
  sources=$(cat cmake/target/build_kernel.sh cmake/target/init.c | sha256sum | cut -c 1-12)
  echo "${XDG_CACHE_HOME:-$HOME/.cache}/libconfig-ppc/$sources"
}

# The library and the programs as the device gets them.
build_target() {
  need $build_packages $target_packages
  build build-target "$toolchain" -DLIBCONFIG_WERROR=ON
}

# The tests, which UndefinedBehaviorSanitizer watches.
build_target_tests() {
  need $build_packages $test_packages $target_packages
  build build-target-tests "$toolchain" -DLIBCONFIG_WERROR=ON -DLIBCONFIG_TESTS=ON \
    -DLIBCONFIG_SANITIZE=undefined
}

cmd_target() { # build and test for the device; --kernel: on a kernel of its own; --figures: its size
  case ${1:-} in
    '')
      say "tests for 32-bit big-endian PowerPC, emulated (UndefinedBehaviorSanitizer)"
      build_target_tests
      run_tests build-target-tests
      ;;
    --kernel) test_in_kernel ;;
    --figures) target_figures ;;
    *)
      echo "./dev: target takes --kernel or --figures, not \"$1\"" >&2
      exit 2
      ;;
  esac
}

need_kernel() {
  local kernel
  kernel=$(kernel_folder)
  need $kernel_packages $target_packages
  [ -e "$kernel/vmlinux" ] && return
  say "building a PowerPC kernel once, into $kernel"
  cmake/target/build_kernel.sh "$kernel"
}

in_kernel() {
  LIBCONFIG_KERNEL=$(kernel_folder) cmake/target/run_in_kernel "$@"
}

test_in_kernel() {
  need_kernel
  say "tests on a 32-bit PowerPC kernel"
  build_target_tests
  local program log
  for program in values configd queue conformance programs; do
    log=build-target-tests/kernel_$program.log
    in_kernel "build-target-tests/bin/test_$program" >"$log" 2>&1 || { cat "$log"; exit 1; }
    echo "test_$program: $(sed -n 's/^\[==========\] \(.* ran\).*/\1/p' "$log")"
    tell_skipped "$log"
  done
}

# The figures of docs/target.md.
target_figures() {
  need_kernel
  build_target
  powerpc-linux-gnu-strip -o build-target/stripped.so build-target/lib/libconfig.so
  echo "libconfig.so: $(stat -c %s build-target/stripped.so) bytes, stripped"
  build_target_tests
  TEST_CONFIGD=$PWD/build-target/bin/configd \
    in_kernel build-target-tests/bin/test_programs --gtest_filter='Footprint.*' | grep '^configd:'
}

# In CI, which builds no kernel.
test_in_kernel_if_built() {
  local kernel
  kernel=$(kernel_folder)
  if [ -e "$kernel/vmlinux" ]; then
    test_in_kernel
  else
    say "no tests on a PowerPC kernel: $kernel has none; ./dev target --kernel builds it"
  fi
}

abi_listings() {
  need python3 $build_packages $target_packages
  only=config build build -DLIBCONFIG_WERROR=ON
  only=config build_target
  python3 abi/listing.py build/lib/libconfig.so g++ >"$1/x86_64.txt"
  python3 abi/listing.py build-target/lib/libconfig.so powerpc-linux-gnu-g++ >"$1/powerpc.txt"
}

cmd_abi() { # write abi/ anew from the library: its symbols and the slots of its virtual functions
  abi_listings abi
}

check_abi() {
  mkdir -p build/abi
  abi_listings build/abi
  python3 abi/listing.py --compare abi/x86_64.txt build/abi/x86_64.txt
  python3 abi/listing.py --compare abi/powerpc.txt build/abi/powerpc.txt
}
