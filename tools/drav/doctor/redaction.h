// SPDX-License-Identifier: Apache-2.0
// Takes out of a text what a supporter need not know: names of users, titles of
// jobs, and passwords in device addresses.
#ifndef TOOLS_DRAV_DOCTOR_REDACTION_H_
#define TOOLS_DRAV_DOCTOR_REDACTION_H_

#include <set>
#include <string>
#include <string_view>

// The device address without the part before an @ and without the values of
// options that may be secret (password, user, token and the like).
std::string redactUri(const std::string& uri);

// Whether a queue's attribute of this name is left out: descriptions and places
// that people wrote, and lists of users.
bool isPersonalAttribute(const std::string& name);

class Redactor {
 public:
  // Notes a user name or a job title that must appear nowhere. Names that every
  // system has (root, lp, anonymous) are not secret, and names of one letter are not.
  void hide(const std::string& personal);

  // Notes the names and titles that lines of the scheduler's log tell.
  void learn(std::string_view logLine);

  // The line without anything noted, without the values in which the scheduler's
  // log has names and titles, and with its addresses redacted.
  std::string redact(const std::string& line) const;

 private:
  std::set<std::string> hidden_;
};

#endif  // TOOLS_DRAV_DOCTOR_REDACTION_H_
