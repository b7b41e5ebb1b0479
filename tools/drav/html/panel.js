// SPDX-License-Identifier: Apache-2.0
// The choice of halftone, brightness and way round. A combination that the file does not hold
// cannot be chosen, and a note says why.

function halftoneName(index) {
  return splitLabel(proofData.halftones[index].label).name;
}

function brightnessName(index) {
  return splitLabel(proofData.brightnesses[index].label).name;
}

function makeHalftones(choose) {
  byId("halftone-group").hidden = proofData.halftones.length < 2;
  proofData.halftones.forEach(({ name, label }, index) => {
    byId("halftones").append(choiceRow("halftone", name, label, () => choose(index)));
  });
}

function makeBrightnesses(choose) {
  const select = byId("brightness");
  byId("brightness-group").hidden = proofData.brightnesses.length < 2;
  proofData.brightnesses.forEach(({ label }, index) => {
    select.append(new Option(label, String(index)));
  });
  select.addEventListener("change", () => choose(Number(select.value)));
  byId("lighter").addEventListener("click", () => choose(nextBrightness(select, -1)));
  byId("darker").addEventListener("click", () => choose(nextBrightness(select, 1)));
}

// The next step in a direction that is in the file; -1 for none.
function nextBrightness(select, direction) {
  for (let i = select.selectedIndex + direction; select.options[i]; i += direction)
    if (!select.options[i].disabled) return i;
  return -1;
}

const SWITCHES = { mirrored: "mirror", halfTurn: "half-turn", inverted: "invert", clean: "clean",
  lines: "lines" };

function makeSwitches(choose) {
  byId("switch-group").hidden = !Object.values(proofData.switches).includes(true);
  if (proofData.prepare) byId("switch-legend").textContent = "Mirror, turn, invert, clean";
  for (const [key, id] of Object.entries(SWITCHES)) {
    if (proofData.switches[key])
      byId(id).addEventListener("change", (event) => choose({ [key]: event.target.checked }));
    else
      byId(id).closest("label").remove();
  }
}

function showSwitches(chosen) {
  for (const [key, id] of Object.entries(SWITCHES)) {
    if (!proofData.switches[key]) continue;
    byId(id).checked = chosen[key];
    byId(id).disabled = !findProof({ ...chosen, [key]: !chosen[key] });
  }
}

// "mirrored and turned", as it is said of the page.
function wayName({ mirrored, halfTurn }) {
  const words = [mirrored ? "mirrored" : "", halfTurn ? "turned" : ""].filter(Boolean);
  return words.join(" and ") || (proofData.prepare ? "as it was asked for" : "the way it was drawn");
}

function showHalftones(chosen) {
  [...byId("halftones").children].forEach((row, index) => {
    const proof = findProof({ ...chosen, halftone: index });
    const input = row.querySelector("input");
    input.checked = index === chosen.halftone;
    input.disabled = !proof;
    row.title = proof ? "" : "Not in this file with the other choices";
    row.querySelector(".choice-share").textContent = proof
      ? formatShare(inkOf(proof, chosen).black, proofData.page.width * proof.rows) : "not in file";
  });
}

function showBrightnesses(chosen) {
  const select = byId("brightness");
  [...select.options].forEach((option, index) => {
    option.disabled = !findProof({ ...chosen, brightness: index });
    const { label } = proofData.brightnesses[index];
    option.textContent = option.disabled ? `${label} – not in this file` : label;
  });
  select.value = String(chosen.brightness);
  byId("lighter").disabled = nextBrightness(select, -1) < 0;
  byId("darker").disabled = nextBrightness(select, 1) < 0;
}

// Why choices are missing, and the way out: a button, or the options of another proof.
function showNote(note, text, buttonText, click, command) {
  note.replaceChildren(text);
  note.hidden = !text;
  if (buttonText) {
    const button = element("button", "link", buttonText);
    button.type = "button";
    button.addEventListener("click", click);
    note.append(" ", button);
  }
  if (command) note.append(element("code", "", command));
}

const TOO_LARGE = "What is crossed out was left out to keep this file small. For it, make a proof with";

function showNotes(chosen, choose) {
  const { job, halftones, brightnesses } = proofData;
  const someHalftone = halftones.some((_, index) => !findProof({ ...chosen, halftone: index }));
  const someBrightness = brightnesses.some((_, index) => !findProof({ ...chosen, brightness: index }));
  if (!isJobsWay(chosen) && (someHalftone || someBrightness)) {
    const way = jobsWay();
    showNote(byId("halftone-note"),
      `What is crossed out is in this file only with the page ${wayName(way)}.`,
      `Show it ${wayName(way)}`, () => choose(way),
      `drav proof ${[...switchesOf(chosen), optionsOf(chosen)].join(" ")} --html …`);
    showNote(byId("brightness-note"), "");
    return;
  }
  if (someHalftone && chosen.brightness !== job.brightness)
    showNote(byId("halftone-note"),
      `Other halftones are in this file at “${brightnesses[job.brightness].label}” only.`,
      `Back to ${brightnessName(job.brightness)}`,
      () => choose({ brightness: job.brightness }),
      `drav proof -o Brightness=${brightnesses[chosen.brightness].name} --html …`);
  else showNote(byId("halftone-note"), someHalftone ? TOO_LARGE : "", "", null,
    someHalftone ? "drav proof -o HalftoneType=… --html …" : "");
  if (someBrightness && chosen.halftone !== job.halftone)
    showNote(byId("brightness-note"),
      `Other steps are in this file for “${halftoneName(job.halftone)}” only.`,
      `Back to ${halftoneName(job.halftone)}`,
      () => choose({ halftone: job.halftone }),
      `drav proof -o HalftoneType=${halftones[chosen.halftone].name} --html …`);
  else showNote(byId("brightness-note"), someBrightness ? TOO_LARGE : "", "", null,
    someBrightness ? "drav proof -o Brightness=… --html …" : "");
}

// Why the page cannot be mirrored or turned, and the way out.
function showSwitchNote(chosen, choose) {
  const { job, switches, halftones } = proofData;
  const stuck = ["mirrored", "halfTurn", "clean", "lines"].some((key) => switches[key] && byId(SWITCHES[key]).disabled);
  if (!stuck) showNote(byId("switch-note"), "");
  else if (chosen.halftone === job.halftone && chosen.brightness === job.brightness)
    showNote(byId("switch-note"), TOO_LARGE, "", null,
      "drav proof -o StencilMirror=… -o HalfTurn=… --html …");
  else showNote(byId("switch-note"),
    `Other ways round are in this file for “${halftoneName(job.halftone)}” at ` +
      `“${brightnessName(job.brightness)}” only.`,
    "Back to it", () => choose({ ...job }),
    `drav proof -o HalftoneType=${halftones[chosen.halftone].name} -o StencilMirror=… --html …`);
}

function aboutNotes() {
  const { original, notes, approximation, maker, lost } = proofData;
  const list = approximation
    ? [`Approximate: a print queue may send other dots. ${approximation}`]
    : ["After: every dot as the printer gets it, made by the filter that prints."];
  if (lost.text) list.push(`Not on the paper: ${lost.text}. Before shows it hatched.`);
  if (maker) list.push(`The page was drawn by ${maker}.`);
  list.push("Before: the page in grey as it reaches the filter, mirrored and turned along with " +
    `its dots${original.shrink > 1 ? `, reduced to 1/${original.shrink}` : ""}.`);
  list.push("Paper length is that of the page, without feeds and cuts.");
  return [...list, ...notes];
}

function showAbout() {
  const { title, driver, number, approximation, lost, options, version } = proofData;
  document.title = `${title} – proof`;
  byId("title").textContent = title;
  byId("subtitle").textContent = `Page ${number} · ${driver}`;
  byId("accuracy").textContent =
    (approximation ? "Approximate" : "Exact dots") + (lost.text ? ", ink lost" : "");
  byId("accuracy").classList.toggle("warns", approximation !== "" || lost.text !== "");
  byId("notes").append(...aboutNotes().map((text) => element("li", "", text)));
  if (approximation) byId("notes").firstElementChild.className = "warns";
  for (const [name, value] of [["Made with", options], ["Made by", `drav ${version}`]])
    byId("facts").append(element("dt", "", name), element("dd", "", value));
  byId("unit").textContent = measure().name;
}

// Without the clipboard of the system the text is selected at least.
async function copyCommand() {
  const text = byId("prints-with");
  try {
    await navigator.clipboard.writeText(text.textContent);
    byId("copied").textContent = "Copied.";
  } catch {
    getSelection().selectAllChildren(text);
    byId("copied").textContent = document.execCommand("copy") ? "Copied." : "Copy what is selected.";
  }
}

// All that tells of a choice, once there is a proof of it.
function showChoice(chosen, proof, choose) {
  showHalftones(chosen);
  showBrightnesses(chosen);
  showSwitches(chosen);
  showNotes(chosen, choose);
  showSwitchNote(chosen, choose);
  showFigures(proof, chosen);
  showSize(chosen);
  byId("prints-with").textContent = commandOf(chosen);
  byId("copied").textContent = "";
}
