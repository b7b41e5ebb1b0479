// SPDX-License-Identifier: Apache-2.0
#include "app/web/request.h"

#include <arpa/inet.h>
#include <strings.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace app {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::string_view kScheme = "Bearer ";

bool isSame(std::string_view one, std::string_view other) {
  return one.size() == other.size() && ::strncasecmp(one.data(), other.data(), one.size()) == 0;
}

std::optional<char> decodedByte(std::string_view digits) {
  if (digits.size() < 2) return std::nullopt;
  unsigned value = 0;
  for (const char digit : digits.substr(0, 2)) {
    const size_t place = kDigits.find(digit >= 'A' && digit <= 'F' ? digit + ('a' - 'A') : digit);
    if (place == kDigits.npos) return std::nullopt;
    value = value * 16 + static_cast<unsigned>(place);
  }
  return static_cast<char>(value);
}

// application/x-www-form-urlencoded
std::optional<std::string> decoded(std::string_view text) {
  std::string out;
  for (size_t at = 0; at < text.size(); ++at) {
    char letter = text[at];
    if (letter == '+') letter = ' ';
    if (letter == '%') {
      const auto byte = decodedByte(text.substr(at + 1));
      if (!byte) return std::nullopt;
      letter = *byte;
      at += 2;
    }
    if (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F) return std::nullopt;
    out += letter;
  }
  return out;
}

// Without its port.
std::string_view nameOf(std::string_view host) {
  if (host.starts_with('[')) return host.substr(0, host.find(']') + 1);
  return host.substr(0, host.rfind(':'));
}

bool isAddress(std::string_view name) {
  std::array<unsigned char, sizeof(in6_addr)> address{};
  if (name.starts_with('['))
    return ::inet_pton(AF_INET6, std::string(name.substr(1, name.size() - 2)).c_str(),
                       address.data()) == 1;
  return ::inet_pton(AF_INET, std::string(name).c_str(), address.data()) == 1;
}

}  // namespace

std::optional<Fields> parseFields(std::string_view text) {
  if (text.size() > kMostFieldBytes) return std::nullopt;
  Fields fields;
  while (!text.empty()) {
    const std::string_view pair = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(text.size(), pair.size() + 1));
    const size_t equals = pair.find('=');
    if (equals == pair.npos || equals == 0) return std::nullopt;
    auto name = decoded(pair.substr(0, equals));
    auto value = decoded(pair.substr(equals + 1));
    if (!name || !value || !fields.emplace(std::move(*name), std::move(*value)).second)
      return std::nullopt;
  }
  return fields;
}

bool isOwnHost(std::string_view host, std::string_view ownName) {
  const std::string_view name = nameOf(host);
  const auto endsWith = [name](std::string_view end) {
    return name.size() > end.size() && isSame(name.substr(name.size() - end.size()), end);
  };
  return isAddress(name) || isSame(name, "localhost") || isSame(name, ownName) ||
         endsWith(".local") || endsWith(".local.");
}

bool isOwnOrigin(std::string_view origin, std::string_view host, bool isEncrypted) {
  const std::string own = (isEncrypted ? "https://" : "http://") + std::string(host);
  return isSame(origin, own);
}

bool isAuthorized(std::string_view authorization, std::string_view token) {
  if (authorization.size() != kScheme.size() + token.size() ||
      !isSame(authorization.substr(0, kScheme.size()), kScheme))
    return false;
  // As long for a wrong first letter as for a wrong last one.
  unsigned different = 0;
  for (size_t at = 0; at < token.size(); ++at)
    different |= static_cast<unsigned char>(authorization[kScheme.size() + at] ^ token[at]);
  return different == 0;
}

std::string randomKey() {
  std::array<unsigned char, 16> bytes{};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("the system gives no random numbers");
  std::string key;
  for (const unsigned char byte : bytes) {
    key += kDigits[byte >> 4U];
    key += kDigits[byte & 15U];
  }
  return key;
}

}  // namespace app
