// SPDX-License-Identifier: Apache-2.0
// What a browser says with a request: fields, where it comes from, and whether it may.
#ifndef APP_WEB_REQUEST_H_
#define APP_WEB_REQUEST_H_

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace app {

using Fields = std::map<std::string, std::string, std::less<>>;

inline constexpr size_t kMostFieldBytes = 4096;  // of all fields together, as they are sent

// "name=a%20drawing&copies=2". Nothing for a text that is not like that, is too long, holds
// control characters, or has a field twice.
std::optional<Fields> parseFields(std::string_view text);

// Whether that value of the field Host means this server and nothing else: an address, this
// machine's name, "localhost" or a name of the local network. Any other name could be one
// that its owner has pointed at this machine to read the page (DNS rebinding).
bool isOwnHost(std::string_view host, std::string_view ownName);

// Whether the request comes from the server's own page. REQUIRES: isOwnHost(host).
bool isOwnOrigin(std::string_view origin, std::string_view host, bool isEncrypted);

// Whether the field Authorization is "Bearer <token>".
bool isAuthorized(std::string_view authorization, std::string_view token);

// 32 hexadecimal digits that nobody can guess. Throws std::runtime_error when the system
// gives no random numbers.
std::string randomKey();

}  // namespace app

#endif  // APP_WEB_REQUEST_H_
