// SPDX-License-Identifier: Apache-2.0
// The fuzzers refuse memory as the systems of their users do, with null, and from
// 64 MB on: a claim in a header is either refused or cheap to try. libcups loses a
// copied text of some broken driver files; nothing of ours copies texts with strdup.
extern "C" {
const char* __asan_default_options();
const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=64:detect_leaks=1";
}
const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() { return "leak:strdup\n"; }
const char* __lsan_default_options();
const char* __lsan_default_options() { return "print_suppressions=0"; }
}
