// SPDX-License-Identifier: Apache-2.0
#include "proof/job_stream.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <utility>

#include "tests/support/bytes.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Listing {
  std::vector<JobCommand> commands;
  std::optional<JobStreamError> error;

  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const JobCommand& command : commands) result.emplace_back(commandName(command.kind));
    return result;
  }
};

Listing listing(const Bytes& stream) {
  JobStreamReader reader(stream);
  Listing result;
  while (const auto command = reader.next()) result.commands.push_back(*command);
  result.error = reader.error();
  EXPECT_FALSE(reader.next().has_value()) << "goes on after the end";
  return result;
}

Bytes copyOf(std::span<const uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

// Each command that the filter knows, with what is in it.
struct Known {
  CommandKind kind;
  const char* name;
  const char* bytes;
  const char* parameters;
};

constexpr Known kKnown[] = {
    {CommandKind::kInitialise, "ESC @", "1B 40", ""},
    {CommandKind::kDensity, "US ESC US DC3 DC4", "1F 1B 1F 13 14 0C", "0C"},
    {CommandKind::kDrawerPulse, "ESC p", "1B 70 01 40 41", "01 40 41"},
    {CommandKind::kBuzzer, "ESC B", "1B 42 FF 03", "FF 03"},
    {CommandKind::kAlign, "ESC a", "1B 61 02", "02"},
    {CommandKind::kLogo, "FS p", "1C 70 05 03", "05 03"},
    {CommandKind::kPosition, "ESC $", "1B 24 01 00", "01 00"},
    {CommandKind::kFeedUnits, "ESC J", "1B 4A A0", "A0"},
    {CommandKind::kFeedLines, "ESC d", "1B 64 00", "00"},
    {CommandKind::kLineFeed, "LF", "0A", ""},
    {CommandKind::kPartialCut, "GS V 1", "1D 56 01", ""},
    {CommandKind::kFullCut, "GS V 0", "1D 56 00", ""},
    {CommandKind::kRasterBand, "GS v 0", "1D 76 30 00 02 00 03 00 A1 A2 B1 B2 C1 C2",
     "02 00 03 00"},
    {CommandKind::kStatusRequest, "ESC v", "1B 76", ""},
};

TEST(JobStream, KnowsEachCommandByItself) {
  for (const Known& known : kKnown) {
    const Bytes stream = hex(known.bytes);
    const Listing found = listing(stream);
    ASSERT_EQ(found.commands.size(), 1U) << known.name;
    EXPECT_FALSE(found.error.has_value()) << known.name;
    const JobCommand& command = found.commands.front();
    EXPECT_EQ(command.kind, known.kind) << known.name;
    EXPECT_STREQ(commandName(command.kind), known.name);
    EXPECT_EQ(command.offset, 0U);
    EXPECT_TRUE(sameBytes(stream, copyOf(command.bytes))) << known.name;
    EXPECT_TRUE(sameBytes(hex(known.parameters), copyOf(command.parameters))) << known.name;
    EXPECT_EQ(command.data.empty(), known.kind != CommandKind::kRasterBand) << known.name;
  }
}

TEST(JobStream, EveryCutCommandIsAnErrorWhereItBegins) {
  for (const Known& known : kKnown) {
    const Bytes whole = hex(known.bytes);
    for (size_t length = 1; length < whole.size(); ++length) {
      Bytes stream = hex("0A 0A 0A");
      stream.insert(stream.end(), whole.begin(),
                    whole.begin() + static_cast<std::ptrdiff_t>(length));
      const Listing found = listing(stream);
      EXPECT_THAT(found.names(), ElementsAre("LF", "LF", "LF")) << known.name << ' ' << length;
      ASSERT_TRUE(found.error.has_value()) << known.name << ' ' << length;
      EXPECT_EQ(found.error->offset, 3U);
      EXPECT_THAT(found.error->text, HasSubstr("offset 3: the stream ends inside"));
    }
  }
}

TEST(JobStream, ReadsTheRowsOfABand) {
  const Bytes stream = hex("1D 76 30 00 02 00 03 00 A1 A2 B1 B2 C1 C2");
  const Listing found = listing(stream);
  ASSERT_EQ(found.commands.size(), 1U);
  EXPECT_EQ(found.commands[0].bytesPerRow, 2U);
  EXPECT_EQ(found.commands[0].rows, 3U);
  EXPECT_TRUE(sameBytes(hex("A1 A2 B1 B2 C1 C2"), copyOf(found.commands[0].data)));
}

TEST(JobStream, BandSizesCountLowByteFirst) {
  Bytes stream = hex("1D 76 30 00 28 01 02 01");
  stream.resize(stream.size() + 0x128 * 0x102, 0x55);
  append(stream, hex("1B 76"));
  const Listing found = listing(stream);
  EXPECT_THAT(found.names(), ElementsAre("GS v 0", "ESC v"));
  EXPECT_EQ(found.commands[0].bytesPerRow, 296U);
  EXPECT_EQ(found.commands[0].rows, 258U);
  EXPECT_EQ(found.commands[0].data.size(), 296U * 258U);
  EXPECT_EQ(found.commands[1].offset, stream.size() - 2);
}

TEST(JobStream, BytesInABandAreNotCommands) {
  const Listing found = listing(hex("1D 76 30 00 02 00 02 00 1B 40 0A FF 1B 76"));
  EXPECT_THAT(found.names(), ElementsAre("GS v 0", "ESC v"));
}

TEST(JobStream, ReadsAWholeJob) {
  Bytes stream(64, 0);
  append(stream, hex("1B 40, 1F 1B 1F 13 14 03, 1B 70 00 40 40, 1B 61 01, 1C 70 01 00, 1B 61 00,"
                     "1B 24 01 00, 1D 76 30 00 01 00 01 00 FF, 1B 4A A0, 1B 4A 78, 1B 64 03,"
                     "0A 0A 0A 0A 1D 56 01, 1B 42 02 03, 1B 76"));
  const Listing found = listing(stream);
  EXPECT_FALSE(found.error.has_value());
  EXPECT_THAT(found.names(),
              ElementsAre("NUL padding", "ESC @", "US ESC US DC3 DC4", "ESC p", "ESC a", "FS p",
                          "ESC a", "ESC $", "GS v 0", "ESC J", "ESC J", "ESC d", "LF", "LF", "LF",
                          "LF", "GS V 1", "ESC B", "ESC v"));
  size_t end = 0;
  for (const JobCommand& command : found.commands) {
    EXPECT_EQ(command.offset, end);
    end += command.bytes.size();
  }
  EXPECT_EQ(end, stream.size());
  EXPECT_EQ(found.commands[0].bytes.size(), 64U);
}

TEST(JobStream, SeveralJobsFollowEachOther) {
  Bytes stream(64, 0);
  append(stream, hex("1B 40 1B 76"));
  append(stream, Bytes(stream));
  EXPECT_THAT(listing(stream).names(),
              ElementsAre("NUL padding", "ESC @", "ESC v", "NUL padding", "ESC @", "ESC v"));
}

TEST(JobStream, EmptyStreamHoldsNothing) {
  const Listing found = listing({});
  EXPECT_TRUE(found.commands.empty());
  EXPECT_FALSE(found.error.has_value());
}

TEST(JobStream, ZeroBytesNeedAnInitialiseAfterThem) {
  for (const char* rest : {"", "1B", "1B 76", "0A", "1D 76 30 00 01 00 01 00 FF"}) {
    Bytes stream = hex("1B 76, 00 00 00");
    append(stream, hex(rest));
    const Listing found = listing(stream);
    EXPECT_THAT(found.names(), ElementsAre("ESC v")) << rest;
    ASSERT_TRUE(found.error.has_value()) << rest;
    EXPECT_EQ(found.error->offset, 2U);
    EXPECT_EQ(found.error->text, "offset 2: 3 zero bytes not followed by ESC @");
  }
}

TEST(JobStream, NamesWhatItDoesNotKnow) {
  const std::pair<const char*, const char*> cases[] = {
      {"41", "offset 1: unknown bytes 41"},
      {"1B 99 01", "offset 1: unknown bytes 1B 99 01"},
      {"1D 56 41 10", "offset 1: unknown bytes 1D 56 41 10"},  // another cut
      {"1D 76 30 01 01 00 01 00 FF 0A",                        // double width
       "offset 1: unknown bytes 1D 76 30 01 01 00 01 00 ..."},
      {"1F 1B 1F 13 15 03", "offset 1: unknown bytes 1F 1B 1F 13 15 03"},
  };
  for (const auto& [bytes, text] : cases) {
    Bytes stream = hex("0A");
    append(stream, hex(bytes));
    const Listing found = listing(stream);
    ASSERT_TRUE(found.error.has_value()) << bytes;
    EXPECT_EQ(found.error->text, text);
    EXPECT_EQ(found.error->offset, 1U);
  }
}

TEST(JobStream, BandsWithoutDotsAreErrors) {
  for (const char* bytes : {"1D 76 30 00 00 00 01 00", "1D 76 30 00 01 00 00 00"}) {
    const Listing found = listing(hex(bytes));
    EXPECT_TRUE(found.commands.empty());
    ASSERT_TRUE(found.error.has_value());
    EXPECT_THAT(found.error->text, HasSubstr("raster band of"));
  }
}

TEST(JobStream, HugeBandIsTruncatedAndTakesNoMemory) {
  const Listing found = listing(hex("1D 76 30 00 FF FF FF FF 01 02 03"));
  ASSERT_TRUE(found.error.has_value());
  EXPECT_EQ(found.error->text,
            "offset 0: the stream ends inside GS v 0, which takes 4294836233 bytes; only 11 are"
            " there");
}

TEST(JobStream, RandomStreamsOfKnownCommandsComeBackWhole) {
  std::mt19937 random(20240501);
  for (int round = 0; round < 200; ++round) {
    Bytes stream;
    std::vector<std::string> names;
    const size_t count = random() % 40;
    for (size_t i = 0; i < count; ++i) {
      const Known& known = kKnown[random() % std::size(kKnown)];
      append(stream, hex(known.bytes));
      names.emplace_back(known.name);
    }
    const Listing found = listing(stream);
    EXPECT_FALSE(found.error.has_value()) << "round " << round;
    EXPECT_EQ(found.names(), names) << "round " << round;
  }
}

TEST(JobStream, NoiseEndsInAnErrorOrAtTheEnd) {
  std::mt19937 random(20240502);
  const Bytes likely = hex("00 0A 1B 1C 1D 1F 13 14 40 42 4A 56 61 64 70 76 24 30 00 01");
  for (int round = 0; round < 5000; ++round) {
    Bytes stream(random() % 60);
    for (uint8_t& byte : stream)
      byte = random() % 8 == 0 ? static_cast<uint8_t>(random()) : likely[random() % likely.size()];
    const Listing found = listing(stream);
    size_t end = 0;
    for (const JobCommand& command : found.commands) {
      ASSERT_EQ(command.offset, end);
      ASSERT_FALSE(command.bytes.empty());
      end += command.bytes.size();
    }
    if (found.error) {
      EXPECT_EQ(found.error->offset, end);
      EXPECT_LT(end, stream.size());
      EXPECT_THAT(found.error->text, Not(HasSubstr("\n")));
    } else {
      EXPECT_EQ(end, stream.size());
    }
  }
}

// Padding that is looked at again from every byte would take hours here.
TEST(JobStream, LongRunsTakeLinearTime) {
  const auto start = std::chrono::steady_clock::now();
  const Listing zeros = listing(Bytes(size_t{1} << 24U, 0));
  EXPECT_TRUE(zeros.error.has_value());
  Bytes padded(size_t{1} << 24U, 0);
  append(padded, hex("1B 40"));
  EXPECT_THAT(listing(padded).names(), ElementsAre("NUL padding", "ESC @"));
  const Bytes feeds(size_t{1} << 20U, 0x0A);
  JobStreamReader reader(feeds);
  size_t count = 0;
  while (reader.next()) ++count;
  EXPECT_EQ(count, feeds.size());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// ---- Going on behind damage ----

// Each item as "offset name" or "offset ?length".
std::vector<std::string> itemsOf(const Bytes& stream) {
  std::vector<std::string> items;
  JobStreamReader reader(stream);
  size_t offset = 0;
  while (const auto item = reader.nextItem()) {
    EXPECT_EQ(item->bytes.data(), stream.data() + offset);
    EXPECT_NE(item->command.has_value(), item->error.has_value());
    EXPECT_EQ(item->command ? item->command->offset : item->error->offset, offset);
    std::string& text = items.emplace_back(std::to_string(offset));
    text += ' ';
    text += item->command ? commandName(item->command->kind) : "?";
    if (item->error) text += std::to_string(item->bytes.size());
    offset += item->bytes.size();
  }
  EXPECT_EQ(offset, stream.size());
  return items;
}

std::vector<std::string> itemsOfHex(const std::string& text) { return itemsOf(hex(text)); }

constexpr const char* kSmallBand = "1D 76 30 00 01 00 01 00 FF ";

TEST(JobStreamDamage, ReadingGoesOnAtEscAt) {
  EXPECT_THAT(itemsOfHex("0A 99 98 97 1B 40 0A"), ElementsAre("0 LF", "1 ?3", "4 ESC @", "6 LF"));
  EXPECT_THAT(itemsOfHex("1B 40 99 1B 40"), ElementsAre("0 ESC @", "2 ?1", "3 ESC @"));
}

TEST(JobStreamDamage, ReadingGoesOnAtABand) {
  EXPECT_THAT(itemsOfHex(std::string("99 98 ") + kSmallBand + "1B 4A A0"),
              ElementsAre("0 ?2", "2 GS v 0", "11 ESC J"));
  EXPECT_THAT(itemsOfHex(std::string("99 98 ") + kSmallBand), ElementsAre("0 ?2", "2 GS v 0"));
}

TEST(JobStreamDamage, WhatMightBeDotsIsNoPlaceToGoOn) {
  // An ESC @ and a band with no command behind, bands without dots or whose end is
  // not there; other commands.
  for (const char* bytes :
       {"1B 40 98", "1D 76 30 00 01 00 01 00 FF 98", "1D 76 30 00 00 00 01 00 0A",
        "1D 76 30 00 01 00 00 00 0A", "1D 76 30 00 01 00 09 00 FF", "1D 76 30 00 01 00", "1B 4A A0",
        "0A 0A", "1D 56 00", "00 00"}) {
    const Bytes damage = hex(std::string("99 ") + bytes);
    Bytes stream = damage;
    append(stream, hex("97 1B 40 1B 76"));
    EXPECT_THAT(itemsOf(stream), ElementsAre("0 ?" + std::to_string(damage.size() + 1),
                                             std::to_string(damage.size() + 1) + " ESC @",
                                             std::to_string(damage.size() + 3) + " ESC v"))
        << bytes;
  }
}

TEST(JobStreamDamage, AnEscAtAtTheVeryEndCounts) {
  EXPECT_THAT(itemsOfHex("99 1B 40"), ElementsAre("0 ?1", "1 ESC @"));
  // The stream ends inside the next command: that is not the damage that is skipped.
  EXPECT_THAT(itemsOfHex("99 1B 40 1B"), ElementsAre("0 ?1", "1 ESC @", "3 ?1"));
}

TEST(JobStreamDamage, PaddingBelongsToTheNextJob) {
  Bytes stream = hex("99");
  stream.resize(65, 0);
  append(stream, hex("1B 40 0A"));
  EXPECT_THAT(itemsOf(stream), ElementsAre("0 ?1", "1 NUL padding", "65 ESC @", "67 LF"));
  // No more than a job's own 64 zero bytes; others may be blank dots.
  Bytes longer = hex("99");
  longer.resize(101, 0);
  append(longer, hex("1B 40 0A"));
  EXPECT_THAT(itemsOf(longer), ElementsAre("0 ?37", "37 NUL padding", "101 ESC @", "103 LF"));
  // Behind an ESC @ or a band, padding is as good as a command, if it is that.
  Bytes after = hex(std::string("99 ") + kSmallBand);
  after.resize(after.size() + 64, 0);
  append(after, hex("1B 40"));
  EXPECT_THAT(itemsOf(after), ElementsAre("0 ?1", "1 GS v 0", "10 NUL padding", "74 ESC @"));
}

TEST(JobStreamDamage, NothingBehindIsDamageToTheEnd) {
  EXPECT_THAT(itemsOfHex("0A 99 0A 0A 1B 4A A0"), ElementsAre("0 LF", "1 ?6"));
  EXPECT_THAT(itemsOf(Bytes(300, 0)), ElementsAre("0 ?300"));
}

TEST(JobStreamDamage, AnUnfinishedBandTakesTheRest) {
  Bytes stream = hex("1D 76 30 00 10 00 10 00");
  append(stream, hex("1B 40 1F 1B 1F 13 14 08"));
  EXPECT_THAT(itemsOf(stream), ElementsAre("0 ?16"));
  JobStreamReader reader(stream);
  EXPECT_FALSE(reader.next().has_value());
  ASSERT_TRUE(reader.error().has_value());
  EXPECT_EQ(reader.error()->fault, JobStreamFault::kUnfinishedBand);
  EXPECT_EQ(reader.error()->missing, 256U - 8U);
  EXPECT_EQ(reader.resynchronise().size(), stream.size());
  EXPECT_FALSE(reader.error().has_value());
  EXPECT_FALSE(reader.next().has_value());
}

TEST(JobStreamDamage, TellsItsKinds) {
  const std::pair<const char*, JobStreamFault> cases[] = {
      {"99", JobStreamFault::kUnknownBytes},
      {"00", JobStreamFault::kUnknownBytes},
      {"1D 76 30 00 00 00 01 00", JobStreamFault::kUnknownBytes},
      {"1B", JobStreamFault::kUnfinishedCommand},
      {"1B 70 00", JobStreamFault::kUnfinishedCommand},
      {"1D 76 30 00 01 00 01", JobStreamFault::kUnfinishedCommand},
      {"1D 76 30 00 01 00 01 00", JobStreamFault::kUnfinishedBand},
  };
  for (const auto& [bytes, fault] : cases) {
    const Listing found = listing(hex(bytes));
    ASSERT_TRUE(found.error.has_value()) << bytes;
    EXPECT_EQ(found.error->fault, fault) << bytes;
    EXPECT_EQ(found.error->text, "offset 0: " + found.error->reason);
  }
}

TEST(JobStreamDamage, HostileStreamsTakeLinearTime) {
  const auto start = std::chrono::steady_clock::now();
  const auto countItems = [](const Bytes& stream) {
    JobStreamReader reader(stream);
    size_t count = 0;
    while (reader.nextItem()) ++count;
    return count;
  };
  EXPECT_EQ(countItems(Bytes(size_t{1} << 24U, 0)), 1U);
  // Headers whose bands all end in one run of zero bytes, which only looks like padding.
  Bytes headers;
  while (headers.size() < size_t{1} << 20U) append(headers, hex("99 1D 76 30 00 FF FF 20 00"));
  headers.resize(size_t{4} << 20U, 0);
  EXPECT_GT(countItems(headers), 0U);
  // Damage behind every command.
  Bytes often;
  while (often.size() < size_t{1} << 20U) append(often, hex("1B 40 0A 99 1B 40 99"));
  EXPECT_GT(countItems(often), often.size() / 4);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
