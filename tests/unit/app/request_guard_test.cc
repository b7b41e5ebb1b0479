// SPDX-License-Identifier: Apache-2.0
#include "app/request_guard.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <utility>

namespace app {
namespace {

using Message = std::unique_ptr<ipp_t, void (*)(ipp_t*)>;

Message message(ipp_op_t operation = IPP_OP_PRINT_JOB) {
  return {ippNewRequest(operation), ippDelete};
}

using Side = std::pair<const char*, int>;

// A media-size of these members.
Message sizeOf(std::initializer_list<Side> sides) {
  Message size = {ippNew(), ippDelete};
  for (const auto& [name, value] : sides)
    ippAddInteger(size.get(), IPP_TAG_ZERO, IPP_TAG_INTEGER, name, value);
  return size;
}

bool isLeft(const Message& request, const char* name) {
  makeSafe(request.get());
  return ippFindAttribute(request.get(), name, IPP_TAG_ZERO) != nullptr;
}

// Whether a media-col with those media-sizes stays in a job.
bool isSoundMedia(std::initializer_list<std::initializer_list<Side>> sizes) {
  const Message col = {ippNew(), ippDelete};
  for (const auto& sides : sizes)
    ippAddCollection(col.get(), IPP_TAG_ZERO, "media-size", sizeOf(sides).get());
  const Message request = message();
  ippAddCollection(request.get(), IPP_TAG_JOB, "media-col", col.get());
  return isLeft(request, "media-col");
}

TEST(RequestGuard, PapersThatAreNoneAreLeftOut) {
  EXPECT_TRUE(isSoundMedia({}));
  EXPECT_TRUE(isSoundMedia({{{"x-dimension", 21000}, {"y-dimension", 29700}}}));
  EXPECT_TRUE(isSoundMedia({{{"x-dimension", -1}}}));
  EXPECT_FALSE(isSoundMedia({{{"x-dimension", -1}, {"y-dimension", 29700}}}));
  EXPECT_FALSE(isSoundMedia({{{"x-dimension", 21000}, {"y-dimension", 0}}}));
  EXPECT_FALSE(isSoundMedia({{{"x-dimension", -1}}, {{"y-dimension", 29700}}}));
}

TEST(RequestGuard, WhatIsNoTextIsLeftOutOfJobs) {
  for (const char* name : {"media", "print-scaling", "job-name", "media-col", "finishings-col",
                           "sideS", "MEDIA-COL"}) {
    const Message request = message();
    ippAddInteger(request.get(), IPP_TAG_JOB, IPP_TAG_INTEGER, name, 1);
    ippAddInteger(request.get(), IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", 2);
    EXPECT_FALSE(isLeft(request, name)) << name;
    EXPECT_TRUE(isLeft(request, "copies")) << name;
  }
}

TEST(RequestGuard, WhatIsNoTextIsPutWhereItIsRefusedOutsideOfJobs) {
  const Message request = message(IPP_OP_SET_PRINTER_ATTRIBUTES);
  ippAddInteger(request.get(), IPP_TAG_PRINTER, IPP_TAG_INTEGER, "media-default", 1);
  ippAddInteger(request.get(), IPP_TAG_PRINTER, IPP_TAG_INTEGER, "copies-default", 1);
  makeSafe(request.get());
  const auto groupOf = [&request](const char* name) {
    return ippGetGroupTag(ippFindAttribute(request.get(), name, IPP_TAG_ZERO));
  };
  EXPECT_EQ(groupOf("media-default"), IPP_TAG_UNSUPPORTED_GROUP);
  EXPECT_EQ(groupOf("copies-default"), IPP_TAG_PRINTER);
}

}  // namespace
}  // namespace app
