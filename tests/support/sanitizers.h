// SPDX-License-Identifier: Apache-2.0
// What the tests are built with: DRAV_TEST_ADDRESS_SANITIZER is defined under the
// address sanitizer, whichever compiler it is.
#ifndef TESTS_SUPPORT_SANITIZERS_H_
#define TESTS_SUPPORT_SANITIZERS_H_

#if defined(__SANITIZE_ADDRESS__)
#define DRAV_TEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DRAV_TEST_ADDRESS_SANITIZER 1
#endif
#endif

#endif  // TESTS_SUPPORT_SANITIZERS_H_
