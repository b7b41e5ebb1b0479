// SPDX-License-Identifier: Apache-2.0
// The variants of an operation as a list.
#ifndef SIMD_VARIANT_LIST_H_
#define SIMD_VARIANT_LIST_H_

#include <vector>

// The plain reference, then what `append` adds: those that this machine can run, the
// fastest last.
template <class Variant>
std::vector<Variant> variantList(const Variant& plain, void (*append)(std::vector<Variant>&)) {
  std::vector<Variant> list = {plain};
  append(list);
  return list;
}

#endif  // SIMD_VARIANT_LIST_H_
