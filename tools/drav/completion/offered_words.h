// SPDX-License-Identifier: Apache-2.0
// Words that a shell offers and that only this machine knows.
#ifndef TOOLS_DRAV_COMPLETION_OFFERED_WORDS_H_
#define TOOLS_DRAV_COMPLETION_OFFERED_WORDS_H_

#include <string>
#include <vector>

// "queues": the names that the scheduler tells, none when it does not answer soon.
// "options": "NAME=" of every option of our own models. "NAME=": the choices of that one.
// "settings": every "NAME=CHOICE". Nothing for any other kind.
std::vector<std::string> offeredWords(const std::string& kind);

#endif  // TOOLS_DRAV_COMPLETION_OFFERED_WORDS_H_
