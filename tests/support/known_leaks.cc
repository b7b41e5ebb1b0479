// SPDX-License-Identifier: Apache-2.0
// What the leak check leaves alone: fontconfig, which cairo draws text with, keeps
// its patterns until the end of the program; cupsMarkOptions loses a list of its own
// when a job has the option "media" (where the stack has its name). PAPPL's main loop keeps
// the options of its command line.
extern "C" {
const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:cupsMarkOptions\nleak:cupsAddOption\n";
}
const char* __lsan_default_options();
const char* __lsan_default_options() { return "print_suppressions=0"; }
}
