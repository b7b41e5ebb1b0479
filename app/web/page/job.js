// SPDX-License-Identifier: Apache-2.0
// Printing, and how the job goes.

const POLL = 700; // milliseconds
const JOB_STATES = {
  pending: "The drawing waits for its turn.",
  "pending-held": "The drawing waits for its turn.",
  processing: "The drawing prints.",
  "processing-stopped": "The drawing prints.",
  canceled: "The print was cancelled.",
  aborted: "The drawing did not print.",
};
const PRINTER_REASONS = {
  offline: "The printer is away or switched off.",
  "cover-open": "The printer is open.",
  "media-empty": "The printer has no paper.",
  "media-low": "The paper is nearly at its end.",
  other: "The printer reports a fault.",
};

let job = ""; // its key; empty when none is under way

function showState(text, warns) {
  byId("state").textContent = text;
  byId("state").classList.toggle("warns", Boolean(warns));
}

function showButtons(isReady) {
  byId("print").disabled = !isReady || job !== "";
  byId("cancel").hidden = job === "";
  byId("copies-field").hidden = job !== "";
}

// Paper of the pages alone, without feeds and cuts.
function paperUsed(proof, copies) {
  const unit = measure();
  return formatLength(proof.rows * copies, unit.y, unit);
}

function stateText({ state, message, printer }, proof, copies) {
  if (state === "completed")
    return say("Printed. Paper used: {length}.", { length: paperUsed(proof, copies) });
  const waits = state === "processing" && printer.includes("offline");
  const texts = [say((!waits && JOB_STATES[state]) || JOB_STATES.pending)];
  if (state === "aborted" && message) texts.push(message);
  if (state !== "canceled") texts.push(...printer.map((reason) => say(PRINTER_REASONS[reason])));
  return texts.join(" ");
}

async function followJob(proof, copies) {
  while (job) {
    const answer = await askJson("state", { job });
    const isOver = ["completed", "canceled", "aborted"].includes(answer.state);
    showState(stateText(answer, proof, copies),
      answer.state === "aborted" || (!isOver && answer.printer.length > 0));
    byId("state").dataset.state = answer.state;
    if (isOver) job = "";
    else await new Promise((done) => { setTimeout(done, POLL); });
  }
}

// Prints what is shown.
async function printShown(fields, proof, copies) {
  showState(say("The drawing goes to the printer."));
  delete byId("state").dataset.state;
  try {
    job = (await askJson("job", { ...fields, copies: String(copies) })).job;
    showButtons(true);
    await followJob(proof, copies);
  } catch (refusal) {
    job = "";
    showState(`${say("The drawing did not print.")} ${refusal.message}`, true);
    byId("state").dataset.state = "refused";
    return refusal.status;
  } finally {
    showButtons(true);
  }
  return 0;
}

async function cancelJob() {
  byId("cancel").disabled = true;
  try {
    await askJson("cancel", { job });
  } catch {
    // The state says what has become of it.
  }
  byId("cancel").disabled = false;
}
