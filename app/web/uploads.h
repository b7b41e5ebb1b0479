// SPDX-License-Identifier: Apache-2.0
// Drawings that browsers have brought and that are not forgotten yet.
#ifndef APP_WEB_UPLOADS_H_
#define APP_WEB_UPLOADS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "app/web/page_proof.h"

namespace app {

// One drawing, in a file without a name that is gone with its last user.
struct Upload {
  explicit Upload(int descriptor) : file(descriptor) {}
  ~Upload();
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;
  Upload(Upload&&) = delete;
  Upload& operator=(Upload&&) = delete;

  const int file;
  // For who makes pages of it: one at a time.
  std::mutex mutex;
  std::optional<PageWanted> madeFor;
  PreparedPage page;  // the last that was made
};

class Uploads {
 public:
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  static constexpr size_t kMost = 8;
  static constexpr uint64_t kMostBytes = uint64_t{256} << 20U;  // of one
  static constexpr uint64_t kMostBytesTogether = uint64_t{1} << 30U;
  static constexpr std::chrono::minutes kKept{10};  // since it was last asked for
  static constexpr std::chrono::minutes kPageKept{1};

  // `folder` is where the files lie.
  explicit Uploads(std::string folder, Clock now = std::chrono::steady_clock::now)
      : folder_(std::move(folder)), now_(std::move(now)) {}

  // Makes room for a drawing of so many bytes; the ones that were not asked for the longest
  // time are forgotten for it. Its key is empty, and `error` has one line, when there is no
  // room.
  struct Place {
    std::string key;
    std::shared_ptr<Upload> upload;
  };
  Place begin(uint64_t bytes, std::string& error);
  // All of it is there: from here on it can be found.
  void complete(std::string_view key);

  // Null when there is none, or no longer.
  std::shared_ptr<Upload> find(std::string_view key);

  void forget(std::string_view key);
  // Forgets what is to be forgotten, and frees the pages of what was not asked for lately.
  void forgetOld();
  size_t count();

 private:
  struct Entry {
    std::string key;
    std::shared_ptr<Upload> upload;
    uint64_t bytes = 0;
    bool isComplete = false;
    std::chrono::steady_clock::time_point lastAsked;
  };
  using Entries = std::list<Entry>;

  Entries::iterator locate(std::string_view key);
  bool hasRoom(uint64_t bytes) const;
  int openFile(std::string& error) const;

  const std::string folder_;
  const Clock now_;
  std::mutex mutex_;
  Entries entries_;  // the one that was asked for last stands last
};

}  // namespace app

#endif  // APP_WEB_UPLOADS_H_
