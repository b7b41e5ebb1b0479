// SPDX-License-Identifier: Apache-2.0
// model_digests: writes the table of digests to standard output. Every byte is
// the plain model's; nothing of the product is linked.
#include <cstdio>
#include <string>

#include "tests/golden/digest_cases.h"
#include "tests/golden/digest_table.h"
#include "tests/model/stream.h"

namespace {

// False when the job does not end as a job of one page does.
bool digestsOf(const model::JobResult& result, JobDigests& digests) {
  if (result.exitStatus != 0 || result.saved.size() != 2 || result.saved[0].kind != "origin" ||
      result.saved[1].kind != "dithered") {
    return false;
  }
  digests.printed = fnv1a64(result.stdoutBytes);
  digests.origin = fnv1a64(result.saved[0].bytes);
  digests.dithered = fnv1a64(result.saved[1].bytes);
  return true;
}

}  // namespace

int main() {
  std::fputs(digestTableHead().c_str(), stdout);
  model::RasterPage page;
  const DigestCase* pageOf = nullptr;
  for (const DigestCase& job : digestCases()) {
    if (pageOf == nullptr || !pageOf->samePage(job)) page = digestPage(job);
    pageOf = &job;
    DigestRow row = {job, {}};
    if (!digestsOf(model::runJob(digestSettings(job), {page}), row.digests)) {
      std::fprintf(stderr, "model_digests: this job prints no page: %s\n",
                   digestRowText(row).c_str());
      return 2;
    }
    std::printf("%s\n", digestRowText(row).c_str());
  }
  return std::fflush(stdout) == 0 ? 0 : 2;
}
