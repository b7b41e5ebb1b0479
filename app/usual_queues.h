// SPDX-License-Identifier: Apache-2.0
// The queues that a model usually has. Few programs show a printer's own options, so each look
// has a queue of its own.
#ifndef APP_USUAL_QUEUES_H_
#define APP_USUAL_QUEUES_H_

#include <span>
#include <string>
#include <vector>

namespace app {

using CommandLine = std::vector<std::string>;

// What stands for "add -v URI -m MODEL -o queues=usual": command lines of this program, to be
// run one after the other until one fails. Stencil printers get "Stencil lines" and "Stencil
// shading", others "Receipt", which leaves out the blank paper after the last line. `-d NAME`
// gives other names: NAME itself to a single queue, NAME with a word behind it to several.
// Empty for every other command; empty with one line in `error` when the model is missing or
// not known.
std::vector<CommandLine> usualQueues(std::span<const char* const> arguments, std::string& error);

}  // namespace app

#endif  // APP_USUAL_QUEUES_H_
