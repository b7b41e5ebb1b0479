// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/archive_writer.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "tools/drav/io/output_file.h"

namespace {

constexpr size_t kChunk = 256U << 10U;
constexpr mode_t kEntryMode = 0600;

struct EntryDeleter {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

// New files are their owner's alone while this lives.
class PrivateFiles {
 public:
  PrivateFiles() : before_(::umask(S_IRWXG | S_IRWXO)) {}
  ~PrivateFiles() { (void)::umask(before_); }
  PrivateFiles(const PrivateFiles&) = delete;
  PrivateFiles& operator=(const PrivateFiles&) = delete;
  PrivateFiles(PrivateFiles&&) = delete;
  PrivateFiles& operator=(PrivateFiles&&) = delete;

 private:
  mode_t before_;
};

}  // namespace

struct ArchiveWriter::State {
  struct ArchiveDeleter {
    void operator()(archive* made) const { (void)archive_write_free(made); }
  };

  OutputFile file;
  std::string path;
  // After the file: closing the archive writes to it.
  std::unique_ptr<archive, ArchiveDeleter> writer;

  bool good(int code, std::string& error) const {
    if (code == ARCHIVE_OK || code == ARCHIVE_WARN) return true;
    const char* text = archive_error_string(writer.get());
    error = path + ": " + (text != nullptr ? text : "cannot be written");
    return false;
  }

  bool begin(const std::string& name, uint64_t size, std::time_t changed,
             std::string& error) const {
    const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), kEntryMode);
    archive_entry_set_mtime(entry.get(), changed, 0);
    return good(archive_write_header(writer.get(), entry.get()), error);
  }

  bool write(const char* data, size_t size, std::string& error) const {
    while (size > 0) {
      const la_ssize_t wrote = archive_write_data(writer.get(), data, size);
      if (wrote <= 0) return good(ARCHIVE_FATAL, error);
      data += wrote;
      size -= static_cast<size_t>(wrote);
    }
    return true;
  }
};

ArchiveWriter::ArchiveWriter() : state_(std::make_unique<State>()) {}
ArchiveWriter::~ArchiveWriter() = default;

bool ArchiveWriter::open(const std::string& path, std::string& error) {
  state_->path = path;
  {
    const PrivateFiles privately;
    if (!state_->file.open(path, error)) return false;
  }
  state_->writer.reset(archive_write_new());
  archive* const writer = state_->writer.get();
  return state_->good(archive_write_add_filter_gzip(writer), error) &&
         state_->good(archive_write_set_format_pax_restricted(writer), error) &&
         state_->good(archive_write_set_bytes_in_last_block(writer, 1), error) &&
         state_->good(archive_write_open_FILE(writer, state_->file.stream()), error);
}

bool ArchiveWriter::add(const std::string& name, const std::string& content, std::time_t changed,
                        std::string& error) {
  return state_->begin(name, content.size(), changed, error) &&
         state_->write(content.data(), content.size(), error);
}

bool ArchiveWriter::addOpenFile(const std::string& name, int descriptor, std::string& error) {
  struct stat status = {};
  if (::fstat(descriptor, &status) != 0) {
    error = name + ": " + std::strerror(errno);
    return false;
  }
  auto left = static_cast<uint64_t>(status.st_size);
  if (!state_->begin(name, left, status.st_mtime, error)) return false;
  std::vector<char> chunk(kChunk);
  while (left > 0) {
    const ssize_t got = ::read(descriptor, chunk.data(), std::min<uint64_t>(left, chunk.size()));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      error = name + ": " + std::strerror(errno);
      return false;
    }
    if (got == 0) break;  // it became shorter; the library fills up with zeros
    if (!state_->write(chunk.data(), static_cast<size_t>(got), error)) return false;
    left -= static_cast<uint64_t>(got);
  }
  return true;
}

bool ArchiveWriter::finish(std::string& error) {
  if (!state_->good(archive_write_close(state_->writer.get()), error)) return false;
  state_->writer.reset();
  return state_->file.commit(error);
}
