// SPDX-License-Identifier: Apache-2.0
// To be preloaded on arm64: programs and libraries that ask which extensions the
// processor has hear of no cryptography, as on a Raspberry Pi 3 or 4. qemu's
// processors all have it and cannot be told to lack it.
#define _GNU_SOURCE
#include <asm/hwcap.h>
#include <dlfcn.h>
#include <sys/auxv.h>

unsigned long getauxval(unsigned long type) {
  unsigned long (*next)(unsigned long) =
      (unsigned long (*)(unsigned long))dlsym(RTLD_NEXT, "getauxval");
  const unsigned long value = next(type);
  if (type != AT_HWCAP) return value;
  return value & ~(unsigned long)(HWCAP_AES | HWCAP_PMULL | HWCAP_SHA1 | HWCAP_SHA2);
}
