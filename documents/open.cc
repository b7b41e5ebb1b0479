// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "common/child_process.h"
#include "common/temporary_file.h"
#include "documents/ghostscript_pages.h"
#include "documents/grey_pages.h"
#include "documents/picture_pages.h"
#include "documents/reader_protocol.h"
#include "documents/text_pages.h"

namespace documents {
namespace {

constexpr const char* kReaderVariable = "DRAV_PICTURE_READER";
constexpr const char* kTextReaderVariable = "DRAV_TEXT_READER";
constexpr const char* kGhostscriptVariable = "DRAV_GHOSTSCRIPT";
constexpr const char* kPdfInfoVariable = "DRAV_PDFINFO";

// Folder of the running program; empty where the system does not tell.
std::string programFolder() {
  std::array<char, PATH_MAX> path{};
  const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
  const std::string program(path.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
  return program.substr(0, program.rfind('/') == std::string::npos ? 0 : program.rfind('/'));
}

std::string findReader(std::string_view name, const char* variable) {
  if (const char* chosen = std::getenv(variable)) return chosen;
  const std::string folder = programFolder();
  for (const std::string& place :
       {folder, folder + "/../libexec/drav", std::string(DRAV_LIBEXEC_DIR),
        std::string("/usr/libexec/drav")}) {
    std::string path = place;
    path.append("/").append(name);
    if (path.starts_with('/') && ::access(path.c_str(), X_OK) == 0) return path;
  }
  return "";
}

// The first bytes; empty for an empty file. False with errno.
bool readStart(int descriptor, std::vector<uint8_t>& start) {
  start.resize(kKindBytes);
  size_t size = 0;
  while (size < start.size()) {
    const ssize_t got =
        ::pread(descriptor, start.data() + size, start.size() - size, static_cast<off_t>(size));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    size += static_cast<size_t>(got);
  }
  start.resize(size);
  return true;
}

// What to do with a kind that is known and not read here.
std::string refusal(FileKind kind) {
  const std::string name = kindName(kind);
  switch (kind) {
    case FileKind::kEmpty:
      return "is empty";
    case FileKind::kUnknown:
      return "is of a kind that is not known here; PNG, JPEG, WebP, TIFF, GIF, HEIC, AVIF, SVG, "
             "BMP, portable maps, PDF, PostScript and plain text are";
    case FileKind::kJpegXl:
      return "is " + name + ", which is not read here; save it as PNG or JPEG";
    case FileKind::kGzip:
    case FileKind::kZip:
      return "is packed (" + name + "); unpack it first";
    default:
      return "is " + name + ", which no page is made of here";
  }
}

bool copyAll(int from, int to, std::string& error) {
  std::vector<char> buffer(size_t{1} << 16U);
  for (uint64_t total = 0;;) {
    const ssize_t got = ::read(from, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got == 0) return true;
    if (got > 0 && (total += static_cast<uint64_t>(got)) > kMostFileBytes) {
      error = "is larger than 1 GiB";
      return false;
    }
    ssize_t done = 0;
    while (got > 0 && done < got) {
      const ssize_t wrote = ::write(to, buffer.data() + done, static_cast<size_t>(got - done));
      if (wrote < 0 && errno == EINTR) continue;
      if (wrote < 0) break;
      done += wrote;
    }
    if (got < 0 || done < got) {
      error = std::strerror(errno);
      return false;
    }
  }
}

}  // namespace

World installedWorld() {
  World world;
  world.pictureReader = findReader(kReaderName, kReaderVariable);
  world.textReader = findReader(kTextReaderName, kTextReaderVariable);
  world.ghostscript = findProgram("gs", kGhostscriptVariable);
  world.pdfInfo = findProgram("pdfinfo", kPdfInfoVariable);
  return world;
}

FileKind kindOfFile(int descriptor) {
  std::vector<uint8_t> start;
  return readStart(descriptor, start) ? fileKind(start) : FileKind::kUnknown;
}

std::unique_ptr<GreyPages> openGreyPages(int descriptor, const Paper& paper, const PageWish& wish,
                                         const World& world, std::string& error) {
  struct stat status = {};
  std::vector<uint8_t> start;
  if (::fstat(descriptor, &status) != 0 || !readStart(descriptor, start)) {
    error = std::strerror(errno);
    return nullptr;
  }
  if (!S_ISREG(status.st_mode)) {
    error = "is no regular file";
    return nullptr;
  }
  if (static_cast<uint64_t>(status.st_size) > kMostFileBytes) {
    error = "is larger than 1 GiB";
    return nullptr;
  }
  const FileKind kind = fileKind(start);
  if (isPicture(kind)) return openPicturePages(descriptor, kind, paper, wish, world, error);
  if (kind == FileKind::kPdf || kind == FileKind::kPostScript)
    return openGhostscriptPages(descriptor, kind, paper, wish, world, error);
  if (kind == FileKind::kText) return openTextPages(descriptor, start, paper, wish, world, error);
  error = refusal(kind);
  return nullptr;
}

int openInput(const std::string& path, std::string& error) {
  const int file =
      path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  struct stat status = {};
  if (file < 0 || ::fstat(file, &status) != 0) {
    error = std::strerror(errno);
    return -1;
  }
  if (S_ISREG(status.st_mode)) return file;
  const int copy = S_ISDIR(status.st_mode) ? -1 : openAnonymousFile(error);
  if (S_ISDIR(status.st_mode)) error = "is a folder";
  const bool copied = copy >= 0 && copyAll(file, copy, error);
  ::close(file);
  if (copied || copy < 0) return copy;
  ::close(copy);
  return -1;
}

}  // namespace documents
