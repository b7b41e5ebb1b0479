// SPDX-License-Identifier: Apache-2.0
// What the leak check leaves alone: fontconfig, which cairo draws text with, keeps
// its patterns until the end of the program.
extern "C" {
const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
}
