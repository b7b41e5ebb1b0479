// SPDX-License-Identifier: Apache-2.0
#include "app/web/web_jobs.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <utility>

#include "app/web/request.h"

namespace app {
namespace {

constexpr int kConnectTime = 5'000;  // milliseconds
constexpr double kAnswerTime = 30;   // seconds

struct HttpCloser {
  void operator()(http_t* http) const { httpClose(http); }
};
using Http = std::unique_ptr<http_t, HttpCloser>;

// To the address of this server that the client has reached.
Http connectToSelf(http_t* client) {
  http_addr_t address = {};
  socklen_t size = sizeof address;
  std::array<char, 256> name{};
  if (::getsockname(httpGetFd(client), &address.addr, &size) != 0 ||
      httpAddrString(&address, name.data(), static_cast<int>(name.size())) == nullptr)
    return nullptr;
  Http http(httpConnect2(name.data(), httpAddrPort(&address), nullptr, AF_UNSPEC,
                         HTTP_ENCRYPTION_NEVER, 1, kConnectTime, nullptr));
  if (http)
    httpSetTimeout(
        http.get(), kAnswerTime, [](http_t*, void*) { return 0; }, nullptr);
  return http;
}

void addOption(ipp_t* request, const OptionAttribute& one, const std::string& value) {
  switch (one.syntax) {
    case AttributeSyntax::kBoolean:
      ippAddBoolean(request, IPP_TAG_JOB, one.name, value == "true" ? 1 : 0);
      break;
    case AttributeSyntax::kInteger:
      ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_INTEGER, one.name, std::atoi(value.c_str()));
      break;
    case AttributeSyntax::kKeyword:
      ippAddString(request, IPP_TAG_JOB, IPP_TAG_KEYWORD, one.name, nullptr, value.c_str());
      break;
  }
}

// By its size: PAPPL takes only those names that the queue lists, and prints on the queue's
// own paper otherwise.
void addPaper(ipp_t* request, const Medium& paper) {
  ipp_t* size = ippNew();
  ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "x-dimension", paper.width);
  ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "y-dimension", paper.length);
  ipp_t* col = ippNew();
  ippAddCollection(col, IPP_TAG_ZERO, "media-size", size);
  ippAddCollection(request, IPP_TAG_JOB, "media-col", col);
  ippDelete(size);
  ippDelete(col);
}

}  // namespace

std::optional<int> submitJob(http_t* client, const PrintWanted& wanted, int file,
                             std::string& error) {
  const Http http = connectToSelf(client);
  if (!http) {
    error = "the server does not reach itself";
    return std::nullopt;
  }
  ipp_t* request = ippNewRequest(IPP_OP_PRINT_JOB);
  const std::string uri = "ipp://localhost" + wanted.queue;
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "web");
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, wanted.name.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr,
               "image/x-portable-anymap");
  addPaper(request, wanted.paper);
  ippAddString(request, IPP_TAG_JOB, IPP_TAG_KEYWORD, "print-scaling", nullptr, "none");
  ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_ENUM, "orientation-requested", IPP_ORIENT_PORTRAIT);
  ippAddInteger(request, IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", wanted.copies);
  for (const auto& [option, value] : wanted.options) addOption(request, *option, value);
  ipp_t* answer = cupsDoIORequest(http.get(), request, wanted.queue.c_str(), file, -1);
  const bool isTaken = answer != nullptr && ippGetStatusCode(answer) < IPP_STATUS_ERROR_BAD_REQUEST;
  const int job = ippGetInteger(ippFindAttribute(answer, "job-id", IPP_TAG_INTEGER), 0);
  if (!isTaken || job <= 0) error = cupsLastErrorString();
  ippDelete(answer);
  return isTaken && job > 0 ? std::optional<int>(job) : std::nullopt;
}

std::string WebJobs::add(int printer, int job, std::string upload) {
  const std::lock_guard lock(mutex_);
  if (entries_.size() == kMost) entries_.pop_front();
  return entries_.emplace_back(Entry{randomKey(), printer, job, std::move(upload)}).key;
}

std::optional<WebJobs::Entry> WebJobs::find(std::string_view key) {
  const std::lock_guard lock(mutex_);
  const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [key](const Entry& one) { return one.key == key; });
  return entry == entries_.end() ? std::nullopt : std::optional<Entry>(*entry);
}

std::vector<std::string> WebJobs::endedUploads(const std::function<bool(const Entry&)>& hasEnded) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> uploads;
  for (Entry& one : entries_) {
    if (one.upload.empty() || !hasEnded(one)) continue;
    uploads.push_back(std::move(one.upload));
    one.upload.clear();
  }
  return uploads;
}

}  // namespace app
