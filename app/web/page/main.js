// SPDX-License-Identifier: Apache-2.0
// Holds the parts together: the drawing, its proof, and when to ask for another.

let artwork = null; // the file, its key at the server, and what kind it is
let asked = 0; // proofs that were wished for
let made = 0;
let isMaking = false;
let before = ""; // the fields of the page that is shown before

const drawingWords = {
  turned: "It was turned a quarter to the left to fit the paper.",
  reduced: "It was reduced to fit the paper.",
  "first-frame": "Only the first of its pictures is printed.",
  resolution: "The resolution that it states does not count.",
};

function showTrouble(text) {
  const place = document.body.classList.contains("empty") ? byId("trouble") : null;
  byId("trouble").hidden = !place || !text;
  if (place) place.textContent = text;
  else byId("status").textContent = text;
}

function troubleOf(refusal) {
  if (refusal.status === 413) return say("The drawing is larger than {size} MB.", { size: 256 });
  if (refusal.status === 415)
    return `${say("This drawing cannot be printed:")} ${refusal.message}`;
  return refusal.message;
}

async function send() {
  const answer = await sendFile(artwork.file, (share) => {
    byId("status").textContent = say("Sending… {percent} %",
      { percent: formatNumber(100 * share, 0) });
  });
  Object.assign(artwork, { key: answer.upload, hasPages: answer.hasPages });
}

// Asks once more with the file sent again if the server has forgotten it.
async function withDrawing(work) {
  if (!artwork.key) await send();
  try {
    return await work(artwork.key);
  } catch (refusal) {
    if (refusal.status !== GONE) throw refusal;
    await send();
    return work(artwork.key);
  }
}

async function takeFile(file) {
  if (!file) return;
  artwork = { file, key: "", hasPages: false };
  before = "";
  showState("");
  showTrouble("");
  byId("subtitle").textContent = file.name;
  setNumber("page-number", "1");
  byId("page-field").hidden = true;
  showButtons(false);
  try {
    byId("drop").setAttribute("aria-busy", "true");
    await send();
    byId("page-field").hidden = !artwork.hasPages;
    document.body.classList.remove("empty");
    byId("accuracy").hidden = byId("change").hidden = false;
    resize();
    await refresh();
  } catch (refusal) {
    showEmpty();
    showTrouble(troubleOf(refusal));
  } finally {
    byId("drop").removeAttribute("aria-busy");
  }
}

function showEmpty() {
  artwork = null;
  document.body.classList.add("empty");
  byId("accuracy").hidden = byId("change").hidden = true;
  byId("subtitle").textContent = "";
  byId("file").value = byId("camera").value = "";
  showButtons(false);
}

function showNotes({ art, notes, lost, leftOutFrame }) {
  const unit = measure();
  byId("art-size").textContent = say("{width} × {length} on paper", {
    width: formatNumber(art.width / unit.x, unit.digits),
    length: formatLength(art.rows, unit.y, unit) });
  const sides = {
    left: "{length} at the left", right: "{length} at the right", top: "{length} at the top",
    bottom: "{length} at the bottom" };
  const lostTexts = lost.map(({ side, beyond, ink, all }) =>
    `${say(sides[side], { length: formatLength(beyond, unit[side === "left" || side === "right" ? "x" : "y"], unit) })} (${formatShare(ink, all)})`);
  byId("lost").hidden = lost.length === 0;
  byId("lost").textContent =
    `${say("Ink beyond the paper does not print:")} ${lostTexts.join(", ")}`;
  const texts = notes.map(({ kind, text }) => (drawingWords[kind] ? say(drawingWords[kind]) : text));
  if (leftOutFrame) texts.push(say("The page prints without its frame, which is too large for it."));
  byId("notes").replaceChildren(...texts.map((text) => element("li", "", text)));
}

function showProof({ figures, picture }) {
  const { page, original, lost, mirrored, halfTurn } = figures;
  const wasSize = `${page.width}x${page.rows}` === `${proofData.page.width}x${proofData.page.rows}`;
  Object.assign(proofData, { page, lost: { sides: lost } });
  Object.assign(proofData.original, original);
  const choice = { mirrored, halfTurn, inverted: false }; // the server has inverted
  shown.after = { picture, proof: figures, choice };
  view.sheet = sheetSize();
  if (!wasSize) view.fitted = "page";
  view.resize(view.width, view.height);
  byId("unit").textContent = measure().name;
  byId("status").textContent = picture ? "" : say("The page has no ink, so nothing of it prints.");
  showFigures(figures, choice);
  showSize(choice);
  showNotes(figures);
  changed();
}

// The page before changes with the page alone.
async function showBefore() {
  const fields = pageFields();
  const text = JSON.stringify(fields);
  if (text === before) return;
  const { figures, picture } = await withDrawing((upload) => askPicture("before", { upload, ...fields }));
  if (text !== JSON.stringify(pageFields())) return;
  before = text;
  proofData.original.shrink = figures.shrink;
  shown.before = { picture, page: proofData };
  changed();
}

async function makeProof() {
  const fields = allFields();
  if (JSON.stringify(pageFields()) !== before) shown.before = null;
  const proof = await withDrawing((upload) => askPicture("proof", { upload, ...fields }));
  if (asked !== made) return;
  artwork.shown = { fields, proof: proof.figures };
  showProof(proof);
  showButtons(true);
  await showBefore();
}

// Makes the proof of what is chosen. Choices that come while one is made share the next.
async function refresh() {
  ++asked;
  if (isMaking || !artwork) return;
  isMaking = true;
  const stage = byId("stage");
  stage.setAttribute("aria-busy", "true");
  byId("status").textContent = say("Drawing…");
  showButtons(false);
  while (made !== asked) {
    made = asked;
    try {
      await makeProof();
    } catch (refusal) {
      if (asked !== made) continue;
      shown.after = shown.before = null;
      before = "";
      changed();
      byId("status").textContent = troubleOf(refusal);
    }
  }
  isMaking = false;
  stage.removeAttribute("aria-busy");
  stage.dataset.made = String(made);
}

async function print() {
  const { fields, proof } = artwork.shown;
  const copies = byId("copies").checkValidity() ? Number(byId("copies").value) || 1 : 1;
  byId("print").disabled = true;
  const name = artwork.file.name.slice(0, 60);
  const status = await printShown({ upload: artwork.key, ...fields, name }, proof, copies);
  // The server forgets it with its job: what comes next brings it again.
  if (status === 0 || status === GONE) artwork.key = "";
}

function listenToFiles() {
  byId("choose").addEventListener("click", () => byId("file").click());
  byId("photo").addEventListener("click", () => byId("camera").click());
  byId("change").addEventListener("click", () => {
    showEmpty();
    byId("choose").focus();
  });
  for (const id of ["file", "camera"])
    byId(id).addEventListener("change", ({ target }) => takeFile(target.files[0]));
  document.addEventListener("paste", ({ clipboardData }) => takeFile(clipboardData.files[0]));
  for (const name of ["dragenter", "dragover"])
    document.addEventListener(name, (event) => {
      event.preventDefault();
      document.body.classList.add("dragging");
    });
  document.addEventListener("dragleave", (event) => {
    if (!event.relatedTarget) document.body.classList.remove("dragging");
  });
  document.addEventListener("drop", (event) => {
    event.preventDefault();
    document.body.classList.remove("dragging");
    takeFile(event.dataTransfer.files[0]);
  });
}

async function start() {
  translatePage();
  startStage();
  listenToFiles();
  byId("print").addEventListener("click", print);
  byId("cancel").addEventListener("click", cancelJob);
  try {
    makeQueues(await askJson("queues"));
    if (queues.length === 0) throw new Refusal(0, say("No printer has been added yet."));
    takeQueue(refresh);
    listenToChoices(refresh);
    document.body.dataset.ready = "true";
  } catch (refusal) {
    showTrouble(refusal.message);
    byId("choose").disabled = byId("photo").disabled = true;
  }
}

start();
