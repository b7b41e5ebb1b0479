// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/scheduler_queues.h"

#include <cups/cups.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "tools/drav/io/file_closer.h"

namespace {

constexpr long kMaxFetchedPpdBytes = 4L << 20U;

struct IppDeleter {
  void operator()(ipp_t* message) const { ippDelete(message); }
};
using IppMessage = std::unique_ptr<ipp_t, IppDeleter>;

std::string lastError() {
  const char* text = cupsLastErrorString();
  return text != nullptr && *text != '\0' ? text : "no answer";
}

std::string printerUri(const std::string& queue) {
  std::array<char, HTTP_MAX_URI> uri = {};
  (void)httpAssembleURIf(HTTP_URI_CODING_ALL, uri.data(), static_cast<int>(uri.size()), "ipp",
                         nullptr, "localhost", 0, "/printers/%s", queue.c_str());
  return uri.data();
}

std::string valueText(ipp_attribute_t* attribute) {
  std::string text(ippAttributeString(attribute, nullptr, 0) + 1, '\0');
  text.resize(ippAttributeString(attribute, text.data(), text.size()));
  return text;
}

std::string stringAt(ipp_attribute_t* attribute, int index) {
  const char* text = ippGetString(attribute, index, nullptr);
  return text != nullptr ? text : "";
}

QueueState::State stateOf(int value) {
  if (value == IPP_PSTATE_STOPPED) return QueueState::State::kStopped;
  return value == IPP_PSTATE_PROCESSING ? QueueState::State::kPrinting : QueueState::State::kIdle;
}

void apply(ipp_attribute_t* attribute, QueueState& queue) {
  const std::string name = ippGetName(attribute);
  queue.attributes.emplace_back(name, valueText(attribute));
  if (name == "printer-name") queue.name = stringAt(attribute, 0);
  if (name == "device-uri") queue.deviceUri = stringAt(attribute, 0);
  if (name == "printer-make-and-model") queue.makeModel = stringAt(attribute, 0);
  if (name == "printer-state") queue.state = stateOf(ippGetInteger(attribute, 0));
  if (name == "printer-state-message") queue.stateMessage = stringAt(attribute, 0);
  if (name == "printer-is-accepting-jobs") queue.accepting = ippGetBoolean(attribute, 0) != 0;
  if (name == "queued-job-count") queue.waitingJobs = ippGetInteger(attribute, 0);
  if (name != "printer-state-reasons") return;
  for (int i = 0; i < ippGetCount(attribute); ++i)
    if (const std::string reason = stringAt(attribute, i); reason != "none")
      queue.reasons.push_back(reason);
}

// Calls `use` for each attribute of a group `tag`, and `begin` before each group.
template <typename Begin, typename Use>
void eachGroup(ipp_t* answer, ipp_tag_t tag, const Begin& begin, const Use& use) {
  bool inside = false;
  for (ipp_attribute_t* attribute = ippFirstAttribute(answer); attribute != nullptr;
       attribute = ippNextAttribute(answer)) {
    const bool ours = ippGetGroupTag(attribute) == tag && ippGetName(attribute) != nullptr;
    if (ours && !inside) begin();
    if (ours) use(attribute);
    inside = ours;
  }
}

}  // namespace

struct SchedulerQueues::Connection {
  http_t* http = nullptr;

  Connection() = default;
  ~Connection() {
    if (http != nullptr) httpClose(http);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  Connection(Connection&&) = delete;
  Connection& operator=(Connection&&) = delete;

  // Sends a request; null with a line in `error` unless it was answered well.
  IppMessage ask(ipp_t* request, std::string& error) const {
    if (http == nullptr) {
      ippDelete(request);
      error = "no scheduler is connected";
      return nullptr;
    }
    IppMessage answer(cupsDoRequest(http, request, "/"));
    if (answer && cupsLastError() < IPP_STATUS_REDIRECTION_OTHER_SITE) return answer;
    error = lastError();
    return nullptr;
  }
};

SchedulerQueues::SchedulerQueues() : connection_(std::make_unique<Connection>()) {}
SchedulerQueues::~SchedulerQueues() = default;

bool SchedulerQueues::connect(std::string& error, int waitMilliseconds) {
  connection_->http = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                                   waitMilliseconds, nullptr);
  if (connection_->http == nullptr) {
    error = "no scheduler answers at " + address();
    return false;
  }
  // Nobody is asked for a password: what needs one is told as not allowed.
  cupsSetPasswordCB2(
      [](const char* /*prompt*/, http_t* /*http*/, const char* /*method*/, const char* /*resource*/,
         void* /*data*/) -> const char* { return nullptr; },
      nullptr);
  httpSetTimeout(
      connection_->http, 2 * waitMilliseconds / 1000.0,
      [](http_t* /*http*/, void* /*data*/) { return 0; }, nullptr);
  return true;
}

std::string SchedulerQueues::address() {
  const std::string server = cupsServer();
  return server.rfind('/', 0) == 0 ? server : server + ":" + std::to_string(ippPort());
}

bool SchedulerQueues::isThisMachine() {
  const std::string server = cupsServer();
  return server.rfind('/', 0) == 0 || server == "localhost" || server == "::1" ||
         server == "[::1]" || server.rfind("127.", 0) == 0;
}

bool SchedulerQueues::list(std::vector<QueueState>& queues, std::string& error) {
  queues.clear();
  ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "all");
  const IppMessage answer = connection_->ask(request, error);
  // A scheduler without any queue says that it found none.
  if (!answer) return cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND;
  eachGroup(
      answer.get(), IPP_TAG_PRINTER, [&queues] { queues.emplace_back(); },
      [this, &queues](ipp_attribute_t* attribute) {
        if (std::strcmp(ippGetName(attribute), "cups-version") == 0)
          version_ = stringAt(attribute, 0);
        apply(attribute, queues.back());
      });
  // The machine's own queues; names are part of paths and commands.
  queues.erase(std::remove_if(queues.begin(), queues.end(),
                              [](const QueueState& queue) { return !isQueueName(queue.name); }),
               queues.end());
  std::sort(queues.begin(), queues.end(),
            [](const QueueState& left, const QueueState& right) { return left.name < right.name; });
  return true;
}

bool SchedulerQueues::readPpd(const std::string& queue, std::string& text, std::string& error) {
  text.clear();
  const FileHandle file(std::tmpfile());
  if (!file || connection_->http == nullptr) {
    error = file ? "no scheduler is connected" : "no temporary file can be made";
    return false;
  }
  std::array<char, HTTP_MAX_URI> resource = {};
  (void)httpAssembleURIf(HTTP_URI_CODING_ALL, resource.data(), static_cast<int>(resource.size()),
                         "http", nullptr, "h", 0, "/printers/%s.ppd", queue.c_str());
  // "http://h/printers/...": the path alone, coded.
  const char* path = std::strchr(resource.data() + std::strlen("http://"), '/');
  const http_status_t status =
      cupsGetFd(connection_->http, path != nullptr ? path : "/", ::fileno(file.get()));
  if (status == HTTP_STATUS_NOT_FOUND) return true;
  if (status != HTTP_STATUS_OK) {
    error = "the scheduler does not give its PPD: " + std::string(httpStatus(status));
    return false;
  }
  const long size = std::fseek(file.get(), 0, SEEK_END) == 0 ? std::ftell(file.get()) : -1;
  if (size < 0 || size > kMaxFetchedPpdBytes || std::fseek(file.get(), 0, SEEK_SET) != 0) {
    error = "its PPD is larger than " + std::to_string(kMaxFetchedPpdBytes) + " bytes";
    return false;
  }
  text.resize(static_cast<size_t>(size));
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  return true;
}

bool SchedulerQueues::listJobs(const std::string& queue, std::vector<QueueJob>& jobs,
                               std::string& error) {
  jobs.clear();
  constexpr std::array<const char*, 3> kWanted = {"job-id", "job-name",
                                                  "job-originating-user-name"};
  ipp_t* request = ippNewRequest(IPP_OP_GET_JOBS);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr,
               printerUri(queue).c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "which-jobs", nullptr, "all");
  ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                static_cast<int>(kWanted.size()), nullptr, kWanted.data());
  const IppMessage answer = connection_->ask(request, error);
  if (!answer) return false;
  eachGroup(
      answer.get(), IPP_TAG_JOB, [&jobs] { jobs.emplace_back(); },
      [&jobs](ipp_attribute_t* attribute) {
        const std::string name = ippGetName(attribute);
        if (name == "job-id") jobs.back().id = ippGetInteger(attribute, 0);
        if (name == "job-name") jobs.back().title = stringAt(attribute, 0);
        if (name == "job-originating-user-name") jobs.back().user = stringAt(attribute, 0);
      });
  return true;
}
