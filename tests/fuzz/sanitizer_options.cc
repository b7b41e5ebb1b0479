// SPDX-License-Identifier: Apache-2.0
// The fuzzers refuse memory as the systems of their users do, with null, and from
// 64 MB on: a claim in a header is either refused or cheap to try.
extern "C" {
const char* __asan_default_options();
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=64:detect_leaks=1";
}
}
