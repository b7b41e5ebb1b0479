// SPDX-License-Identifier: Apache-2.0
#include "app/web/web_page.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <semaphore>
#include <span>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "app/document_job.h"
#include "app/job_request.h"
#include "app/shutdown.h"
#include "app/web/answers.h"
#include "app/web/http_answer.h"
#include "app/web/request.h"
#include "app/web/uploads.h"
#include "app/web/web_jobs.h"
#include "app/web/wish_fields.h"
#include "common/log.h"
#include "common/scope_guard.h"
#include "common/temporary_file.h"
#include "proof/memory_file.h"

namespace app {
namespace {

using Json = nlohmann::ordered_json;

struct EmbeddedFile {
  const char* name;
  std::span<const unsigned char> bytes;
};
#include "app/web/page.inc"

std::string embedded(std::string_view name) {
  for (const EmbeddedFile& file : kWebFiles)
    if (file.name == name)
      return {reinterpret_cast<const char*>(file.bytes.data()), file.bytes.size()};
  return "";
}

constexpr std::string_view kTokenPlace = "@TOKEN@";
constexpr int kTick = 5;                   // seconds
constexpr std::ptrdiff_t kMostMakers = 2;  // threads that make pages
constexpr std::chrono::seconds kMakerTime{20};
constexpr int kStartSlices = 10;
constexpr std::chrono::milliseconds kStartSlice{30};
constexpr uint64_t kMostBeforeDots = 3'000'000;  // of the picture of the page before
constexpr std::array<std::pair<pappl_preason_t, const char*>, 5> kReasons = {
    {{PAPPL_PREASON_OFFLINE, "offline"},
     {PAPPL_PREASON_COVER_OPEN, "cover-open"},
     {PAPPL_PREASON_MEDIA_EMPTY, "media-empty"},
     {PAPPL_PREASON_MEDIA_LOW, "media-low"},
     {PAPPL_PREASON_OTHER, "other"}}};

std::string written(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Answer answered(std::string body, const char* type = "application/json") {
  return {HTTP_STATUS_OK, type, std::move(body)};
}

bool isEnd(ipp_jstate_t state) { return state >= IPP_JSTATE_CANCELED; }

std::string resourceOf(pappl_printer_t* printer) {
  std::array<char, 256> path{};
  (void)papplPrinterGetPath(printer, nullptr, path.data(), path.size());
  return "/ipp/print" + std::string(path.data());
}

class WebPage {
 public:
  WebPage(pappl_system_t* system, const std::string& folder)
      : system_(system), token_(randomKey()), page_(embedded("web_page")), uploads_(folder) {
    page_.replace(page_.find(kTokenPlace), kTokenPlace.size(), token_);
    world_ = documents::installedWorld();
    world_.stopRequested = shallStop;
  }

  void addTo(pappl_system_t* system) {
    for (const Route& route : kRoutes)
      papplSystemAddResourceCallback(system, route.path, route.type, answerClient, this);
    papplSystemAddTimerCallback(system, std::time(nullptr), kTick, tick, this);
  }

 private:
  struct Route {
    const char* path;
    const char* type;
    bool isPost;
    Answer (WebPage::*make)(pappl_client_t* client);
  };
  static const std::array<Route, 11> kRoutes;

  // ---- Requests --------------------------------------------------------------

  static bool answerClient(pappl_client_t* client, void* data) {
    try {
      const Answer made = static_cast<WebPage*>(data)->answer(client);
      // A body that was not taken would be taken for the next request.
      const bool hasRest = httpGetState(papplClientGetHTTP(client)) == HTTP_STATE_POST_RECV;
      return sendAnswer(client, made, hasRest);
    } catch (const std::exception& failure) {
      papplLogClient(client, PAPPL_LOGLEVEL_ERROR, "The page: %s.", failure.what());
      return sendAnswer(client, refusal(HTTP_STATUS_SERVER_ERROR, "out of memory"), true);
    }
  }

  Answer answer(pappl_client_t* client) {
    const std::string_view path = papplClientGetURI(client);
    for (const Route& route : kRoutes) {
      if (path != route.path) continue;
      const bool isPost = papplClientGetMethod(client) == HTTP_STATE_POST;
      if (const char* fault = faultOf(client, isPost)) return refusal(HTTP_STATUS_FORBIDDEN, fault);
      if (isPost != route.isPost)
        return refusal(HTTP_STATUS_METHOD_NOT_ALLOWED, "this is not asked for so");
      return (this->*route.make)(client);
    }
    return refusal(HTTP_STATUS_NOT_FOUND, "there is nothing here");
  }

  // Why the request is not from the server's own page.
  const char* faultOf(pappl_client_t* client, bool isPost) const {
    http_t* http = papplClientGetHTTP(client);
    const std::string_view host = httpGetField(http, HTTP_FIELD_HOST);
    std::array<char, 256> name{};
    (void)papplSystemGetHostName(system_, name.data(), name.size());
    if (!isOwnHost(host, name.data())) return "the page has another address";
    const std::string_view origin = httpGetField(http, HTTP_FIELD_ORIGIN);
    const bool isOwn = isOwnOrigin(origin, host, httpIsEncrypted(http) != 0);
    if (isPost ? !isOwn : !origin.empty() && !isOwn) return "the request is another page's";
    if (isPost && !isAuthorized(httpGetField(http, HTTP_FIELD_AUTHORIZATION), token_))
      return "the page is out of date; load it again";
    return nullptr;
  }

  static std::optional<Fields> readFields(pappl_client_t* client) {
    http_t* http = papplClientGetHTTP(client);
    std::string text;
    std::array<char, 1024> piece{};
    for (;;) {
      const ssize_t got = readBody(http, piece.data(), piece.size());
      if (got < 0) return std::nullopt;
      if (got == 0) return parseFields(text);
      text.append(piece.data(), static_cast<size_t>(got));
      if (text.size() > kMostFieldBytes) return std::nullopt;
    }
  }

  // ---- Files -----------------------------------------------------------------

  Answer showPage(pappl_client_t* /*client*/) {
    return answered(page_, "text/html; charset=utf-8");
  }
  Answer showScript(pappl_client_t* /*client*/) {
    return answered(embedded("web_script"), "text/javascript; charset=utf-8");
  }
  Answer showStyle(pappl_client_t* /*client*/) {
    return answered(embedded("web_style"), "text/css; charset=utf-8");
  }

  Answer showIcon(pappl_client_t* /*client*/) {
    return answered(embedded("web_icon"), "image/svg+xml");
  }

  // ---- Queues ----------------------------------------------------------------

  Answer listQueues(pappl_client_t* client) {
    if (!readFields(client)) return refusal(HTTP_STATUS_BAD_REQUEST, "the fields are not readable");
    std::vector<pappl_printer_t*> printers;
    papplSystemIteratePrinters(
        system_,
        [](pappl_printer_t* printer, void* data) {
          static_cast<std::vector<pappl_printer_t*>*>(data)->push_back(printer);
        },
        &printers);
    Json queues = Json::array();
    for (pappl_printer_t* printer : printers) {
      const PrinterModel* model = findPrinterModel(papplPrinterGetDriverName(printer));
      if (model != nullptr) queues.push_back(queueJson(printer, *model));
    }
    return answered(written({{"queues", queues},
                             {"default", papplSystemGetDefaultPrinterID(system_)},
                             {"mostBytes", Uploads::kMostBytes},
                             {"pdf", isPrintableKind(documents::FileKind::kPdf)}}));
  }

  static Json queueJson(pappl_printer_t* printer, const PrinterModel& model) {
    Json queue = Json::parse(modelText(model));
    Json defaults = Json::object();
    const auto choices = choicesOf(model, printer, [](const char*) { return std::string(); });
    for (const OptionAttribute& one : optionAttributes())
      for (const ChosenOption& choice : choices)
        if (choice.keyword == one.option) defaults[one.name] = valueOfChoice(one, choice.choice);
    pappl_pr_driver_data_t data = {};
    (void)papplPrinterGetDriverData(printer, &data);
    queue["id"] = papplPrinterGetID(printer);
    queue["name"] = papplPrinterGetName(printer);
    queue["defaults"] = defaults;
    queue["paper"] = std::to_string(data.media_default.size_width) + "x" +
                     std::to_string(data.media_default.size_length);
    return queue;
  }

  // ---- Drawings --------------------------------------------------------------

  Answer takeUpload(pappl_client_t* client) {
    http_t* http = papplClientGetHTTP(client);
    if (*httpGetField(http, HTTP_FIELD_CONTENT_LENGTH) == '\0')
      return refusal(HTTP_STATUS_LENGTH_REQUIRED, "the length is missing");
    const off_t length = httpGetLength2(http);
    if (length <= 0) return refusal(HTTP_STATUS_BAD_REQUEST, "the drawing is empty");
    if (static_cast<uint64_t>(length) > Uploads::kMostBytes)
      return refusal(HTTP_STATUS_REQUEST_TOO_LARGE, "the drawing is too large");
    std::string error;
    const Uploads::Place place = uploads_.begin(static_cast<uint64_t>(length), error);
    if (!place.upload) return refusal(HTTP_STATUS_SERVICE_UNAVAILABLE, error);
    if (!store(http, place.upload->file, length)) {
      uploads_.forget(place.key);
      return refusal(HTTP_STATUS_BAD_REQUEST, "the drawing did not arrive");
    }
    const documents::FileKind kind = documents::kindOfFile(place.upload->file);
    if (!isPrintableKind(kind)) {
      uploads_.forget(place.key);
      return refusal(HTTP_STATUS_UNSUPPORTED_MEDIATYPE,
                     std::string("it is ") + documents::kindName(kind));
    }
    uploads_.complete(place.key);
    return answered(written({{"upload", place.key},
                             {"kind", documents::kindName(kind)},
                             {"hasPages", kind == documents::FileKind::kPdf}}));
  }

  static bool store(http_t* http, int file, off_t length) {
    std::vector<char> piece(size_t{1} << 16U);
    off_t total = 0;
    for (ssize_t got = 0; (got = readBody(http, piece.data(), piece.size())) > 0;) {
      for (ssize_t done = 0; done < got;) {
        const ssize_t put = ::write(file, piece.data() + done, static_cast<size_t>(got - done));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        done += put;
      }
      total += got;
      if (shallStop()) return false;
    }
    return total == length;
  }

  // ---- Pages -----------------------------------------------------------------

  // What a request is about: its queue, its drawing, and what is wished of it.
  struct Task {
    int queue = 0;         // its number
    std::string resource;  // of the queue
    std::string key;
    std::shared_ptr<Upload> upload;
    DrawingWish wish;
    Settings settings;
  };

  std::optional<Answer> readTask(pappl_client_t* client, Task& task) {
    const auto fields = readFields(client);
    if (!fields) return refusal(HTTP_STATUS_BAD_REQUEST, "the fields are not readable");
    const auto field = [&fields](std::string_view name) {
      const auto found = fields->find(name);
      return found == fields->end() ? std::string() : found->second;
    };
    const int queue = std::atoi(field("queue").c_str());
    pappl_printer_t* printer =
        queue > 0 ? papplSystemFindPrinter(system_, nullptr, queue, nullptr) : nullptr;
    const PrinterModel* model =
        printer == nullptr ? nullptr : findPrinterModel(papplPrinterGetDriverName(printer));
    if (model == nullptr) return refusal(HTTP_STATUS_NOT_FOUND, "there is no such queue");
    std::string error;
    if (!readWish(*fields, *model, task.wish, error))
      return refusal(HTTP_STATUS_BAD_REQUEST, error);
    task.key = field("upload");
    task.upload = uploads_.find(task.key);
    if (!task.upload) return refusal(HTTP_STATUS_GONE, "the drawing is no longer here");
    task.queue = queue;
    task.resource = resourceOf(printer);
    task.settings = settingsOf(printer, task, *model);
    return std::nullopt;
  }

  static Settings settingsOf(pappl_printer_t* printer, const Task& task,
                             const PrinterModel& model) {
    std::vector<ChosenOption> choices = choicesOf(model, printer, [&task](const char* name) {
      for (const auto& [option, value] : task.wish.options)
        if (std::string_view(option->name) == name) return value;
      return std::string();
    });
    choices.push_back({"PageSize", task.wish.page.medium.paper});
    MemoryFile log;
    const LogScope scope(log.get());
    return settingsFromChoices(model, choices);
  }

  // Makes the page of the task, unless it was the last, and does something with it; not too
  // many at once.
  template <class Work>
  Answer withPage(const Task& task, Work work) {
    if (!makers_.try_acquire_for(kMakerTime))
      return refusal(HTTP_STATUS_SERVICE_UNAVAILABLE, "the server is busy");
    const ScopeGuard release([this] { makers_.release(); });
    Upload& upload = *task.upload;
    const std::lock_guard lock(upload.mutex);
    if (upload.madeFor != task.wish.page) {
      upload.madeFor.reset();
      std::string error;
      if (!preparePage(upload.file, task.wish.page, world_, upload.page, error))
        return refusal(HTTP_STATUS_UNSUPPORTED_MEDIATYPE, "it " + error);
      upload.madeFor = task.wish.page;
    }
    return work(upload.page);
  }

  Answer showProof(pappl_client_t* client) {
    Task task;
    if (auto fault = readTask(client, task)) return *fault;
    return withPage(task, [&task](const PreparedPage& page) {
      std::string error;
      Proof proof;
      if (!proofOf(page, task.settings, shallStop, proof, error))
        return refusal(HTTP_STATUS_UNSUPPORTED_MEDIATYPE, "it " + error);
      std::string body = proofText(page, proof, task.settings) + "\n";
      if (proof.dots.rows != 0) {
        const std::string png = dotsPng(proof.dots, error);
        if (png.empty()) return refusal(HTTP_STATUS_SERVER_ERROR, error);
        body += png;
      }
      return answered(std::move(body), "application/octet-stream");
    });
  }

  Answer showBefore(pappl_client_t* client) {
    Task task;
    if (auto fault = readTask(client, task)) return *fault;
    return withPage(task, [](const PreparedPage& page) {
      uint32_t shrink = 1;
      while (page.pixels.size() / shrink / shrink > kMostBeforeDots) shrink *= 2;
      std::string error;
      const std::string png = pagePng(page, shrink, error);
      if (png.empty()) return refusal(HTTP_STATUS_SERVER_ERROR, error);
      return answered(written({{"shrink", shrink}}) + "\n" + png, "application/octet-stream");
    });
  }

  // ---- Jobs ------------------------------------------------------------------

  Answer startJob(pappl_client_t* client) {
    Task task;
    if (auto fault = readTask(client, task)) return *fault;
    std::string error;
    const int file = openAnonymousFile(error);
    if (file < 0) return refusal(HTTP_STATUS_SERVER_ERROR, error);
    const ScopeGuard closer([file] { ::close(file); });
    Answer made = withPage(task, [&error, file](const PreparedPage& page) {
      if (!writeDocument(page, file, error)) return refusal(HTTP_STATUS_SERVER_ERROR, error);
      return Answer{};
    });
    if (made.status != HTTP_STATUS_OK) return made;
    (void)::lseek(file, 0, SEEK_SET);
    const auto job = submitJob(papplClientGetHTTP(client), printWanted(task), file, error);
    if (!job) return refusal(HTTP_STATUS_SERVICE_UNAVAILABLE, error);
    return answered(written({{"job", jobs_.add(task.queue, *job, task.key)}}));
  }

  // With all options that change the picture, whatever becomes of the queue's defaults.
  static PrintWanted printWanted(const Task& task) {
    PrintWanted wanted;
    wanted.queue = task.resource;
    wanted.name = task.wish.name.empty() ? "drawing" : task.wish.name;
    wanted.paper = task.wish.page.medium;
    wanted.copies = task.wish.copies;
    wanted.options = task.wish.options;
    return wanted;
  }

  pappl_job_t* findJob(int printer, int job) const {
    pappl_printer_t* queue = papplSystemFindPrinter(system_, nullptr, printer, nullptr);
    return queue == nullptr ? nullptr : papplPrinterFindJob(queue, job);
  }

  // The job of a request; null when there is none.
  pappl_job_t* jobOf(pappl_client_t* client) {
    const auto fields = readFields(client);
    if (!fields || fields->size() != 1 || fields->count("job") == 0) return nullptr;
    const auto entry = jobs_.find(fields->find("job")->second);
    return entry ? findJob(entry->printer, entry->job) : nullptr;
  }

  Answer showState(pappl_client_t* client) {
    pappl_job_t* job = jobOf(client);
    if (job == nullptr) return refusal(HTTP_STATUS_GONE, "the job is no longer known");
    const ipp_jstate_t state = papplJobGetState(job);
    const char* message = isEnd(state) ? papplJobGetMessage(job) : nullptr;
    const pappl_preason_t reasons = papplPrinterGetReasons(papplJobGetPrinter(job));
    Json printer = Json::array();
    for (const auto& [reason, name] : kReasons)
      if ((reasons & reason) != 0) printer.push_back(name);
    if (isEnd(state)) forgetEnded();
    return answered(written({{"state", ippEnumString("job-state", static_cast<int>(state))},
                             {"number", papplJobGetID(job)},
                             {"message", message == nullptr ? "" : message},
                             {"printer", printer}}));
  }

  Answer cancelJob(pappl_client_t* client) {
    pappl_job_t* job = jobOf(client);
    if (job == nullptr) return refusal(HTTP_STATUS_GONE, "the job is no longer known");
    // A job that PAPPL is about to start would start all the same, without its document.
    for (int i = 0; i < kStartSlices && papplJobGetState(job) == IPP_JSTATE_PENDING; ++i)
      std::this_thread::sleep_for(kStartSlice);
    papplJobCancel(job);
    return answered("{}");
  }

  // ---- What is over ----------------------------------------------------------

  void forgetEnded() {
    const auto uploads = jobs_.endedUploads([this](const WebJobs::Entry& one) {
      pappl_job_t* job = findJob(one.printer, one.job);
      return job == nullptr || isEnd(papplJobGetState(job));
    });
    for (const std::string& upload : uploads) uploads_.forget(upload);
  }

  static bool tick(pappl_system_t* /*system*/, void* data) {
    auto& self = *static_cast<WebPage*>(data);
    self.uploads_.forgetOld();
    self.forgetEnded();
    return true;
  }

  pappl_system_t* const system_;
  const std::string token_;
  std::string page_;
  documents::World world_;
  Uploads uploads_;
  WebJobs jobs_;
  std::counting_semaphore<kMostMakers> makers_{kMostMakers};
};

const std::array<WebPage::Route, 11> WebPage::kRoutes = {
    {{"/print", "text/html", false, &WebPage::showPage},
     {"/print/page.js", "text/javascript", false, &WebPage::showScript},
     {"/print/page.css", "text/css", false, &WebPage::showStyle},
     {"/print/icon.svg", "image/svg+xml", false, &WebPage::showIcon},
     {"/print/queues", "application/json", true, &WebPage::listQueues},
     {"/print/upload", "application/json", true, &WebPage::takeUpload},
     {"/print/proof", "application/octet-stream", true, &WebPage::showProof},
     {"/print/before", "application/octet-stream", true, &WebPage::showBefore},
     {"/print/job", "application/json", true, &WebPage::startJob},
     {"/print/state", "application/json", true, &WebPage::showState},
     {"/print/cancel", "application/json", true, &WebPage::cancelJob}}};

}  // namespace

void addWebPage(pappl_system_t* system, const std::string& folder) {
  // As long as the process: requests may be under way when it ends.
  static WebPage* page = nullptr;
  page = new WebPage(system, folder);
  page->addTo(system);
}

}  // namespace app
