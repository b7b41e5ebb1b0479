// SPDX-License-Identifier: Apache-2.0
#include "app/web/http_answer.h"

#include <array>
#include <nlohmann/json.hpp>

namespace app {
namespace {

// libcups knows none of these fields. It writes the value of a field that it knows as it is,
// so the others go as further lines of that one.
constexpr const char* kServer =
    "drav-printer-app\r\n"
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
    "connect-src 'self'; img-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store";

constexpr int kPatience = 10'000;  // milliseconds, for the next bytes of a client
constexpr size_t kMostDropped = size_t{1} << 20U;

}  // namespace

Answer refusal(http_status_t status, std::string_view error) {
  const nlohmann::json body = {{"error", error}};
  return {status, "application/json",
          body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
}

bool sendAnswer(pappl_client_t* client, const Answer& answer, bool endsConnection) {
  http_t* http = papplClientGetHTTP(client);
  if (endsConnection) dropBody(http);
  httpClearFields(http);
  httpSetField(http, HTTP_FIELD_SERVER, kServer);
  httpSetField(http, HTTP_FIELD_CONTENT_TYPE, answer.type.c_str());
  if (endsConnection) httpSetField(http, HTTP_FIELD_CONNECTION, "close");
  httpSetLength(http, answer.body.size());
  if (httpWriteResponse(http, answer.status) != 0) return false;
  if (httpWrite2(http, answer.body.data(), answer.body.size()) < 0) return false;
  (void)httpFlushWrite(http);
  return !endsConnection;
}

void dropBody(http_t* http) {
  std::array<char, 8192> bytes{};
  size_t dropped = 0;
  while (httpGetState(http) == HTTP_STATE_POST_RECV && dropped < kMostDropped &&
         httpWait(http, 200) != 0) {
    const ssize_t got = httpRead2(http, bytes.data(), bytes.size());
    if (got <= 0) break;
    dropped += static_cast<size_t>(got);
  }
}

ssize_t readBody(http_t* http, char* bytes, size_t size) {
  if (httpGetState(http) != HTTP_STATE_POST_RECV) return 0;
  if (httpGetRemaining(http) > 0 && httpWait(http, kPatience) == 0) return -1;
  const ssize_t got = httpRead2(http, bytes, size);
  // Fewer bytes than were announced.
  if (got <= 0 && httpGetState(http) == HTTP_STATE_POST_RECV && httpGetRemaining(http) > 0)
    return -1;
  return got;
}

}  // namespace app
