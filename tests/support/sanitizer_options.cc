// SPDX-License-Identifier: Apache-2.0
// Under the address sanitizer, memory that cannot be had is refused as it is
// without: with null, not with the end of the program. Compiled into the test
// programs that ask for too much.
extern "C" {
const char* __asan_default_options();
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=2048";
}
}
