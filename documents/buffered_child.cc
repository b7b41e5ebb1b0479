// SPDX-License-Identifier: Apache-2.0
#include "documents/buffered_child.h"

#include <algorithm>
#include <csignal>

#include "documents/reader_protocol.h"

namespace documents {

bool BufferedChild::fill() {
  const ssize_t got = process_.read(buffer_.data(), buffer_.size());
  begin_ = 0;
  end_ = got > 0 ? static_cast<size_t>(got) : 0;
  hasEnded_ = end_ == 0;
  return end_ != 0;
}

bool BufferedChild::read(std::span<uint8_t> bytes) {
  while (!bytes.empty()) {
    if (begin_ == end_ && !fill()) return false;
    const size_t count = std::min(bytes.size(), end_ - begin_);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(begin_), count, bytes.begin());
    begin_ += count;
    bytes = bytes.subspan(count);
  }
  return true;
}

std::string BufferedChild::readLine(size_t most) {
  std::string line;
  while (line.size() < most) {
    if (begin_ == end_ && !fill()) return "";
    line.push_back(static_cast<char>(buffer_[begin_++]));
    if (line.back() == '\n') return line;
  }
  return "";
}

bool BufferedChild::skip(uint64_t count) {
  while (count != 0) {
    if (begin_ == end_ && !fill()) return false;
    const auto step = static_cast<size_t>(std::min<uint64_t>(count, end_ - begin_));
    begin_ += step;
    count -= step;
  }
  return true;
}

bool startReader(BufferedChild& reader, const std::string& program, const std::string& request,
                 int descriptor, const World& world, std::string& error) {
  ChildCommand command;
  command.program = program;
  command.arguments = {request};
  command.inputDescriptor = descriptor;
  command.stopRequested = world.stopRequested;
  // It limits its memory itself, once it has loaded its libraries.
  command.memoryBytes = UINT64_MAX;
  command.fileBytes = 0;
  command.cpuSeconds = kReaderSeconds;
  command.silenceMilliseconds = 1000 * int{kReaderSeconds};
  return reader.start(command, error);
}

std::string readerFailure(BufferedChild& reader, const std::string& cannot) {
  ChildProcess& process = reader.process();
  if (!reader.hasEnded()) {
    process.kill();
    return cannot + ": its decoder does not keep to what it announced";
  }
  const bool endedWell = process.finish();
  const std::string& messages = process.messages();
  const size_t at = messages.rfind(kRefused);
  if (process.end() == ChildEnd::kExited && process.code() == 1 && at != std::string::npos) {
    const size_t text = at + kRefused.size();
    return messages.substr(text, messages.find('\n', text) - text);
  }
  if (process.end() == ChildEnd::kSignalled) {
    const bool overtime = process.code() == SIGXCPU || process.code() == SIGKILL;
    return cannot + (overtime ? ": it took more than 60 s" : ": its decoder crashed");
  }
  return cannot + ": " +
         (endedWell ? std::string("its decoder gave too little") : process.failure());
}

}  // namespace documents
