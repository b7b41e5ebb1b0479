// SPDX-License-Identifier: Apache-2.0
// Bytes for people.
#ifndef PROOF_HEX_TEXT_H_
#define PROOF_HEX_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// "1B 40"; the first `most` bytes, and " ..." when there are more.
std::string hexText(std::span<const uint8_t> bytes, size_t most);

#endif  // PROOF_HEX_TEXT_H_
