// SPDX-License-Identifier: Apache-2.0
#include "app/web/uploads.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>

#include "app/web/request.h"

namespace app {

Upload::~Upload() { ::close(file); }

Uploads::Place Uploads::begin(uint64_t bytes, std::string& error) {
  const std::lock_guard lock(mutex_);
  while (!hasRoom(bytes)) {
    const auto oldest = std::find_if(entries_.begin(), entries_.end(),
                                     [](const Entry& one) { return one.isComplete; });
    if (oldest == entries_.end()) {
      error = "too many drawings are on their way";
      return {};
    }
    entries_.erase(oldest);
  }
  const int file = openFile(error);
  if (file < 0) return {};
  auto upload = std::make_shared<Upload>(file);
  const Entry& entry = entries_.emplace_back(Entry{randomKey(), upload, bytes, false, now_()});
  return {entry.key, upload};
}

void Uploads::complete(std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto entry = locate(key);
  if (entry == entries_.end()) return;
  entry->isComplete = true;
  entry->lastAsked = now_();
}

std::shared_ptr<Upload> Uploads::find(std::string_view key) {
  forgetOld();
  const std::lock_guard lock(mutex_);
  const auto entry = locate(key);
  if (entry == entries_.end() || !entry->isComplete) return nullptr;
  entry->lastAsked = now_();
  entries_.splice(entries_.end(), entries_, entry);
  return entry->upload;
}

void Uploads::forget(std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto entry = locate(key);
  if (entry != entries_.end()) entries_.erase(entry);
}

void Uploads::forgetOld() {
  const std::lock_guard lock(mutex_);
  const auto now = now_();
  entries_.remove_if(
      [now](const Entry& one) { return one.isComplete && now - one.lastAsked >= kKept; });
  for (const Entry& one : entries_) {
    if (now - one.lastAsked < kPageKept) continue;
    const std::unique_lock maker(one.upload->mutex, std::try_to_lock);
    if (!maker) continue;
    one.upload->madeFor.reset();
    one.upload->page = {};
  }
}

size_t Uploads::count() {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

Uploads::Entries::iterator Uploads::locate(std::string_view key) {
  return std::find_if(entries_.begin(), entries_.end(),
                      [key](const Entry& one) { return one.key == key; });
}

bool Uploads::hasRoom(uint64_t bytes) const {
  const uint64_t taken =
      std::accumulate(entries_.begin(), entries_.end(), uint64_t{0},
                      [](uint64_t sum, const Entry& one) { return sum + one.bytes; });
  return entries_.size() < kMost && taken + bytes <= kMostBytesTogether;
}

// Without a name from the start where the file system can do that.
int Uploads::openFile(std::string& error) const {
  int file = ::open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file < 0) {
    std::string path = folder_ + "/drawing-XXXXXX";
    file = ::mkostemp(path.data(), O_CLOEXEC);
    if (file >= 0) (void)::unlink(path.c_str());
  }
  if (file < 0) error = std::string("cannot be kept: ") + std::strerror(errno);
  return file;
}

}  // namespace app
