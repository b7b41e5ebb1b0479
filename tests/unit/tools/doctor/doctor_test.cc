// SPDX-License-Identifier: Apache-2.0
// The whole examination, with queues that stand in for a scheduler's.
#include "tools/drav/doctor/doctor.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FakeQueues : public Queues {
 public:
  bool list(std::vector<QueueState>& queues, std::string& error) override {
    queues = states;
    error = listError;
    return listError.empty();
  }
  bool readPpd(const std::string& queue, std::string& text, std::string& error) override {
    text = ppds[queue];
    error = ppdError;
    return ppdError.empty();
  }
  bool listJobs(const std::string& queue, std::vector<QueueJob>& found,
                std::string& error) override {
    found = jobs[queue];
    error = "";
    return true;
  }

  std::vector<QueueState> states;
  std::map<std::string, std::string> ppds;
  std::map<std::string, std::vector<QueueJob>> jobs;
  std::string listError;
  std::string ppdError;
};

QueueState stateOf(const std::string& name) {
  QueueState state;
  state.name = name;
  state.state = QueueState::State::kIdle;
  state.accepting = true;
  return state;
}

std::string ourPpd() {
  PpdBuilder builder;
  builder.attribute("cupsFilter", "application/vnd.cups-raster 0 rastertodrav");
  return builder.text();
}

class DoctorTest : public testing::Test {
 protected:
  DoctorTest() {
    installation_.root = folder_.path();
    installation_.serverBin = "/bin";
    installation_.filterDir = "/bin/filter";
    installation_.driverDir = "/drv";
    installation_.errorLog = "/log";
    installation_.now = 1795271760;
    queues_.states = {stateOf("one"), stateOf("two")};
    queues_.ppds = {{"one", ourPpd()}, {"two", "*PPD-Adobe: \"4.3\"\n"}};
  }

  bool run(const std::string& queue = "") {
    diagnosis_ = {};
    error_.clear();
    return examine(installation_, queues_, queue, diagnosis_, error_);
  }
  std::vector<std::string> examined() const {
    std::vector<std::string> names;
    for (const ExaminedQueue& queue : diagnosis_.queues) names.push_back(queue.state.name);
    return names;
  }
  // The findings of a check, as text.
  std::string told(const std::string& check) const {
    Findings found;
    std::copy_if(diagnosis_.findings.begin(), diagnosis_.findings.end(), std::back_inserter(found),
                 [&check](const Finding& finding) { return finding.check == check; });
    return reportText(found);
  }

  const TempFolder folder_;
  Installation installation_;
  FakeQueues queues_;
  Diagnosis diagnosis_;
  std::string error_;
};

TEST_F(DoctorTest, LooksAtTheQueuesOfTheFilter) {
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(examined(), ElementsAre("one"));
  ASSERT_TRUE(run("two")) << error_;
  EXPECT_THAT(examined(), ElementsAre("two"));
  queues_.states.clear();
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(examined(), IsEmpty());
}

TEST_F(DoctorTest, AQueueThatIsNotThereFails) {
  EXPECT_FALSE(run("three"));
  EXPECT_EQ(error_, "there is no queue \"three\"; there are: one, two");
  queues_.states.clear();
  EXPECT_FALSE(run("three"));
  EXPECT_EQ(error_, "there is no queue \"three\"; this system has none");
  queues_.listError = "no rights";
  EXPECT_FALSE(run());
  EXPECT_EQ(error_, "no rights");
}

TEST_F(DoctorTest, APpdThatCannotBeReadIsNotTakenForNone) {
  queues_.ppdError = "Permission denied";
  ASSERT_TRUE(run("one")) << error_;
  EXPECT_THAT(told("queue one PPD"),
              HasSubstr("skip  queue one PPD: not checked: run with sudo (Permission denied)"));
  EXPECT_THAT(told("queue one PPD"), testing::Not(HasSubstr("FAIL")));
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(examined(), IsEmpty());
}

TEST_F(DoctorTest, StatesAndReasonsOfTheScheduler) {
  queues_.states[0].state = QueueState::State::kStopped;
  queues_.states[0].stateMessage = "Filter failed";
  queues_.states[0].reasons = {"paused", "cups-insecure-filter-warning", "media-empty"};
  queues_.states[0].accepting = false;
  ASSERT_TRUE(run()) << error_;
  const std::string report = told("queue one");
  EXPECT_THAT(report, HasSubstr("FAIL  queue one: stopped (Filter failed)\n"
                                "      fix: sudo cupsenable one\n"));
  EXPECT_THAT(report, HasSubstr("takes no jobs\n      fix: sudo cupsaccept one\n"));
  EXPECT_THAT(report, HasSubstr("because of its rights"));
  EXPECT_THAT(report, HasSubstr("warn  queue one: the printer reports media-empty\n"));
  EXPECT_THAT(report, testing::Not(HasSubstr("paused")));
  EXPECT_THAT(report, HasSubstr("3 failures, 1 warning"));
}

TEST_F(DoctorTest, JobsOfTheSchedulerFindTheirLines) {
  queues_.jobs["one"] = {{5, "annasecret", "Divorce papers"}};
  queues_.states[0].stateMessage = "printing Divorce papers for annasecret";
  queues_.states[0].state = QueueState::State::kStopped;
  writeFile(folder_.file("log"),
            "E [21/Nov/2026:14:36:00 +0000] [Job 5] Divorce papers of annasecret failed\n"
            "E [21/Nov/2026:14:36:00 +0000] [Job 6] other\n");
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(diagnosis_.log.lines,
              ElementsAre(HasSubstr("[Job 5] [removed] of [removed] failed")));
  EXPECT_THAT(reportText(diagnosis_.findings), testing::Not(HasSubstr("annasecret")));
}

TEST_F(DoctorTest, EachFilterThatAQueueNamesIsLookedAt) {
  PpdBuilder elsewhere;
  elsewhere.attribute("cupsFilter", "application/vnd.cups-raster 0 /opt/rastertodrav");
  queues_.ppds["two"] = elsewhere.text();
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(told("filter"), HasSubstr(folder_.path() + "/bin/filter/rastertodrav: No such file"));
  EXPECT_THAT(told("filter"), HasSubstr(folder_.path() + "/opt/rastertodrav: No such file"));
  ASSERT_TRUE(run("two")) << error_;
  EXPECT_THAT(told("filter"), testing::Not(HasSubstr("/bin/filter")));
}

TEST_F(DoctorTest, RootsPlaceCanBeTakenByAnother) {
  installation_.rootUid = ::geteuid();
  installation_.uid = ::geteuid();
  installation_.gid = ::getegid();
  ASSERT_EQ(::mkdir(folder_.file("bin").c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(folder_.file("bin/filter").c_str(), 0755), 0);
  const std::string filter = folder_.file("bin/filter/rastertodrav");
  writeFile(filter, "#!/bin/sh\necho 'rastertodrav v1.2' >&2\nexit 1\n");
  ASSERT_EQ(::chmod(filter.c_str(), 0755), 0);
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(told("filter rights"), HasSubstr("ok    filter rights"));
  EXPECT_THAT(told("filter folders"), HasSubstr("ok    filter folders"));
  EXPECT_THAT(told("filter start"), HasSubstr("version 1.2"));
  EXPECT_THAT(told("versions"), HasSubstr("the filter is 1.2, this program " DRAV_VERSION));
  installation_.rootUid = ::geteuid() + 1;
  ASSERT_TRUE(run()) << error_;
  EXPECT_THAT(told("filter rights"), HasSubstr("not to root"));
  EXPECT_THAT(told("filter start"), HasSubstr("skip  filter start: not tried"));
}

}  // namespace
