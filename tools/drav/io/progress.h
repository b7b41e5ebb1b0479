// SPDX-License-Identifier: Apache-2.0
// One line on a terminal that tells how far long work has come.
#ifndef TOOLS_DRAV_IO_PROGRESS_H_
#define TOOLS_DRAV_IO_PROGRESS_H_

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

// Draws on standard error when that is a terminal which can move its cursor, and
// nothing otherwise. The line is gone when the work ends. Drawing is paced; call it
// as often as there is something to tell.
class Progress {
 public:
  explicit Progress(bool quiet);
  // The same on a stream of the caller's, drawn whatever it is.
  explicit Progress(std::FILE* terminal, unsigned columns);
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  Progress(Progress&&) = delete;
  Progress& operator=(Progress&&) = delete;

  // `done` of `total` steps, and what is going on. A total of 0: nobody knows.
  void show(uint64_t done, uint64_t total, const std::string& what);

  // Draws the line again with its mark moved on, for work that cannot tell how far it is.
  void tick();

  // Removes the line, so that other output can follow.
  void clear();

 private:
  void draw();

  std::FILE* terminal_ = nullptr;  // null: nothing is drawn
  unsigned columns_ = 80;
  std::chrono::steady_clock::time_point drawnAt_;
  bool visible_ = false;
  unsigned turn_ = 0;
  uint64_t done_ = 0;
  uint64_t total_ = 0;
  std::string what_;
};

#endif  // TOOLS_DRAV_IO_PROGRESS_H_
