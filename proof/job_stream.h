// SPDX-License-Identifier: Apache-2.0
// Reads a job stream, the ESC/POS bytes that the filter sends to the printer, or
// a command record file, command by command.
//
// Exactly the commands that the filter can send are known (Epson's ESC/POS names
// except for the density command, which is the printer's own). Several jobs may
// follow each other in one stream. Anything else ends the reading with an error
// that says where it is and what stands there: after a byte that is not
// understood, nothing says for sure where the next command begins. Who wants to
// see the rest all the same asks for it (resynchronise).
#ifndef PROOF_JOB_STREAM_H_
#define PROOF_JOB_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

enum class CommandKind : uint8_t {
  kPadding,        // a run of NULs right before ESC @
  kInitialise,     // ESC @
  kDensity,        // US ESC US DC3 DC4 n
  kDrawerPulse,    // ESC p m t1 t2
  kBuzzer,         // ESC B n t
  kAlign,          // ESC a n
  kLogo,           // FS p n m
  kPosition,       // ESC $ nL nH
  kFeedUnits,      // ESC J n
  kFeedLines,      // ESC d n
  kLineFeed,       // LF
  kPartialCut,     // GS V 1
  kFullCut,        // GS V 0
  kRasterBand,     // GS v 0, normal density
  kStatusRequest,  // ESC v
};

// The name of a command as the printer's manual writes it, such as "ESC @" or
// "GS v 0"; "NUL padding" for the padding. Never null.
const char* commandName(CommandKind kind);

// One command. The spans point into the stream that the reader was given.
struct JobCommand {
  CommandKind kind = CommandKind::kPadding;
  size_t offset = 0;                    // of its first byte in the stream
  std::span<const uint8_t> bytes;       // the whole command, a band's dots included
  std::span<const uint8_t> parameters;  // what varies: n, m, t, xL ... yH; not the dots

  // Raster band only: `rows` rows of `bytesPerRow` bytes in `data`, both at least
  // 1. A set bit is a dot; the top bit of a byte is the leftmost of its eight.
  uint32_t rows = 0;
  uint32_t bytesPerRow = 0;
  std::span<const uint8_t> data;
};

enum class JobStreamFault : uint8_t {
  kUnknownBytes,       // no command begins here
  kUnfinishedCommand,  // the stream ends inside a command
  kUnfinishedBand,     // the stream ends inside the dots of a band
};

struct JobStreamError {
  JobStreamFault fault = JobStreamFault::kUnknownBytes;
  size_t offset = 0;     // of the first byte that was not understood
  std::string text;      // one line, with the offset in it
  std::string reason;    // the same without the offset
  uint64_t missing = 0;  // bytes that an unfinished band lacks
};

// A command, or a stretch of bytes that is none. The items of a stream follow
// each other without gaps.
struct JobStreamItem {
  std::span<const uint8_t> bytes;       // never empty
  std::optional<JobCommand> command;    // empty in a damaged stretch, where there is
  std::optional<JobStreamError> error;  // what is wrong with it
};

// Hands out the commands of a stream in order. Takes no memory for them, and
// looks at each byte outside the bands a fixed number of times.
class JobStreamReader {
 public:
  // `stream` is not copied and must outlive the reader and every command.
  explicit JobStreamReader(std::span<const uint8_t> stream) : stream_(stream) {}

  // The next command; nothing at the end of the stream or at an error, and from
  // then on.
  std::optional<JobCommand> next();

  // Why next() gave nothing: empty at the end of the stream.
  const std::optional<JobStreamError>& error() const { return error_; }

  // Whether the stream ends inside its last command.
  bool isCut() const { return error_ && error_->fault != JobStreamFault::kUnknownBytes; }
  // The whole rows of the band that the stream ends inside, as a band of that many;
  // nothing where it ends otherwise or no row is whole.
  std::optional<JobCommand> cutBand() const;

  // Goes on behind an error, with the next ESC @ or whole raster band that is
  // followed by another known command or by the end of the stream; a picture's
  // dots seldom look like that. Up to 64 NULs before an ESC @ count as its padding.
  // Where there is none, and after an unfinished command or band, which a printer
  // completes from whatever comes next, the stream is at its end. Returns the bytes
  // that were skipped.
  // REQUIRES: an error, which is empty from then on.
  std::span<const uint8_t> resynchronise();

  // The next command, or the next stretch of bytes that resynchronise() skips;
  // nothing at the end of the stream.
  std::optional<JobStreamItem> nextItem();

 private:
  std::nullopt_t fail(JobStreamFault fault, std::string reason, uint64_t missing = 0);
  std::optional<JobCommand> readPadding(std::span<const uint8_t> rest);
  std::optional<JobCommand> readBand(std::span<const uint8_t> rest, JobCommand command);
  void advance(JobCommand& command, std::span<const uint8_t> bytes);

  std::span<const uint8_t> stream_;
  size_t offset_ = 0;
  std::optional<JobStreamError> error_;
};

#endif  // PROOF_JOB_STREAM_H_
