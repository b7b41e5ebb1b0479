// SPDX-License-Identifier: Apache-2.0
// Holds the parts together: what is chosen, and what is shown of it.

const chosen = { ...proofData.job, ...proofData.jobsWay };

// Shows a combination that is in the file. The former stays until the picture is decoded.
async function choose(change) {
  const choice = { ...chosen, ...change };
  const proof = findProof(choice);
  if (!proof) return;
  Object.assign(chosen, choice);
  showChoice(chosen, proof, choose);
  showOriginal();
  const stage = byId("stage");
  stage.setAttribute("aria-busy", "true");
  byId("status").textContent = "Drawing…";
  try {
    const picture = proof.png ? await loadPicture(proof.png) : null;
    if (Object.keys(choice).some((key) => chosen[key] !== choice[key])) return;
    shown.after = { picture, proof, choice };
    byId("status").textContent = picture ? "" : "The page has no ink, so nothing of it prints.";
  } catch {
    byId("status").textContent = "The browser could not decode this picture.";
  }
  stage.removeAttribute("aria-busy");
  Object.assign(stage.dataset, { halftone: choice.halftone, brightness: choice.brightness });
  changed();
}

async function showOriginal() {
  const page = pageOf(chosen);
  try {
    const picture = await loadPicture(page.original.png);
    if (page !== pageOf(chosen)) return;
    shown.before = { picture, page };
  } catch {
    byId("status").textContent = "The browser could not decode the page before.";
  }
  changed();
}

makeHalftones((halftone) => choose({ halftone }));
makeBrightnesses((brightness) => choose({ brightness }));
makeSwitches(choose);
showAbout();
byId("copy").addEventListener("click", copyCommand);
startStage();
choose({});
