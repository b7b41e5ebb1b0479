// SPDX-License-Identifier: Apache-2.0
// Answers of the web page, with the fields that keep browsers careful.
#ifndef APP_WEB_HTTP_ANSWER_H_
#define APP_WEB_HTTP_ANSWER_H_

#include <pappl/pappl.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace app {

struct Answer {
  http_status_t status = HTTP_STATUS_OK;
  std::string type = "application/json";
  std::string body;
};

// A refusal; the page shows `error`.
Answer refusal(http_status_t status, std::string_view error);

// Sends it. False when the connection is to be closed, as it is when `endsConnection` says
// so: the request was not read to its end.
bool sendAnswer(pappl_client_t* client, const Answer& answer, bool endsConnection);

// Reads the rest of a request that nobody wants, but not much of it: a client that is still
// sending does not see an answer before it has sent all.
void dropBody(http_t* http);

// Reads the next bytes of a request's body: how many, 0 at its end, -1 when the client is
// gone or says nothing for too long.
ssize_t readBody(http_t* http, char* bytes, size_t size);

}  // namespace app

#endif  // APP_WEB_HTTP_ANSWER_H_
