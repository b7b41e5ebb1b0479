// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/redaction.h"

#include <gtest/gtest.h>

namespace {

TEST(RedactUri, TakesNamesAndPasswords) {
  const std::pair<const char*, const char*> rows[] = {
      {"socket://192.0.2.1:9100/?snmp=false", "socket://192.0.2.1:9100/?snmp=false"},
      {"usb://Drav/Stencil?serial=12", "usb://Drav/Stencil?serial=12"},
      {"serial:/dev/ttyS0?baud=9600+parity=none", "serial:/dev/ttyS0?baud=9600+parity=none"},
      {"file:/dev/null", "file:/dev/null"},
      {"", ""},
      {"smb://anna:pw@group/host/q", "smb://[removed]@group/host/q"},
      {"smb://anna@host/q", "smb://[removed]@host/q"},
      {"ipp://a:p@ss@host/", "ipp://[removed]@host/"},
      {"ipp://a:p/s?x@host/", "ipp://[removed]@host/"},
      {"http://h/?password=x", "http://h/?password=[removed]"},
      {"http://h/?a=1&Token=x&b=2", "http://h/?a=1&Token=[removed]&b=2"},
      {"http://h/?wifipasswordhash=x;user=y",
       "http://h/?wifipasswordhash=[removed];user=[removed]"},
  };
  for (const auto& [uri, shown] : rows) EXPECT_EQ(redactUri(uri), shown);
}

TEST(Redactor, TakesTheValuesOfTheLog) {
  const std::pair<const char*, const char*> rows[] = {
      {R"([Job 1] Queued on "stencil" by "anna".)",
       R"([Job 1] Queued on "stencil" by "[removed]".)"},
      {R"([Job 1] argv[2]="anna")", R"([Job 1] argv[2]="[removed]")"},
      {R"([Job 1] argv[3]="My "own" title")", R"([Job 1] argv[3]="[removed]")"},
      {R"(add_job: requesting-user-name="anna")", R"(add_job: requesting-user-name="[removed]")"},
      {"cupsdAuthorize: Authorized as anna using Basic.",
       "cupsdAuthorize: Authorized as [removed] using Basic."},
      {"cannot read /home/anna/x", "cannot read /home/[removed]/x"},
      {R"(device "smb://a:b@h/q" failed)", R"(device "smb://[removed]@h/q" failed)"},
      {R"(by "unfinished)", R"(by "unfinished)"},
      {R"(x" by "unfinished)", R"(x" by "[removed])"},
      {"nothing of it", "nothing of it"},
  };
  for (const auto& [line, shown] : rows) EXPECT_EQ(Redactor().redact(line), shown);
}

TEST(Redactor, TakesWhatWasNotedWhereverItStands) {
  Redactor redactor;
  redactor.hide("anna");
  redactor.hide("letter of anna.pdf");
  redactor.hide("a.*b");
  EXPECT_EQ(redactor.redact("Anna sent LETTER OF ANNA.PDF, not annabel; x_anna, (anna)"),
            "[removed] sent [removed], not annabel; x_anna, ([removed])");
  EXPECT_EQ(redactor.redact("a.*b aXXb"), "[removed] aXXb") << "no pattern";
  redactor.hide("");
  redactor.hide("x");
  redactor.hide("root");
  redactor.hide("lp");
  EXPECT_EQ(redactor.redact("x root lp"), "x root lp");
}

TEST(Redactor, LearnsFromOneLineForAnother) {
  Redactor redactor;
  redactor.learn(R"(I [..] [Job 7] Queued on "stencil" by "berta".)");
  redactor.learn(R"(D [..] [Job 7] argv[3]="Divorce")");
  redactor.learn(R"(D job-name="Other" requesting-user-name="carla")");
  EXPECT_EQ(redactor.redact("berta lost Divorce and Other of carla on stencil"),
            "[removed] lost [removed] and [removed] of [removed] on stencil");
}

TEST(Redactor, PersonalAttributes) {
  for (const char* name : {"printer-info", "printer-location", "requesting-user-name-allowed",
                           "printer-organization", "printer-organizational-unit", "AllowUser",
                           "DenyUser", "Info", "Location", "printer-geo-location"})
    EXPECT_TRUE(isPersonalAttribute(name)) << name;
  for (const char* name : {"device-uri", "printer-state", "printer-make-and-model", "DeviceURI"})
    EXPECT_FALSE(isPersonalAttribute(name)) << name;
}

}  // namespace
