// SPDX-License-Identifier: Apache-2.0
// Thins the marked areas of a plane to lines of one pixel's width.
#ifndef DOCUMENTS_PREPARE_THIN_LINES_H_
#define DOCUMENTS_PREPARE_THIN_LINES_H_

#include <cstdint>
#include <span>
#include <vector>

// `marks` holds width * height bytes, 0 or 1. What hangs together (by sides or corners) still
// does, and a ring stays a ring. Throws std::bad_alloc.
// REQUIRES: the outermost pixels of the plane are 0.
void thinLines(std::span<uint8_t> marks, uint32_t width);

// Removes branches of fewer than `least` pixels that end freely and start at a fork. Lines that
// are free at both ends stay. Same requirements; the lines are thin.
void dropShortBranches(std::span<uint8_t> marks, uint32_t width, size_t least);

// Removes connected lines of fewer than `least` pixels. Same requirements.
void dropShortLines(std::span<uint8_t> marks, uint32_t width, size_t least);

#endif  // DOCUMENTS_PREPARE_THIN_LINES_H_
