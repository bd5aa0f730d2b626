// GCC's sanitizers for 32-bit PowerPC ask for this operation by a name that no library there has.
[[gnu::visibility("default")]] unsigned long long CompareAndSwap8(
    volatile unsigned long long* at, unsigned long long expected,
    unsigned long long desired) __asm__("__sync_val_compare_and_swap_8");

unsigned long long CompareAndSwap8(volatile unsigned long long* at, unsigned long long expected,
                                   unsigned long long desired) {
  __atomic_compare_exchange_n(at, &expected, desired, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return expected;
}
