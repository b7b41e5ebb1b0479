// SPDX-License-Identifier: Apache-2.0
// Holds the parts together: what is chosen, what is seen, and when to draw.

const view = new View(sheetSize());
const chosen = { halftone: proofData.job.halftone, brightness: proofData.job.brightness };
const shown = { split: 0.5, before: null, after: null, proof: null };
let drawing = false; // a frame was asked for

function changed() {
  if (drawing) return;
  drawing = true;
  requestAnimationFrame(() => {
    drawing = false;
    draw();
  });
}

function draw() {
  drawPage(byId("canvas"), view, shown.split, shown.before, shown.after);
  drawTopRuler(byId("ruler-top"), view);
  drawLeftRuler(byId("ruler-left"), view, shown.proof?.band);
  byId("zoom").textContent =
    view.zoom < 1 ? `${formatNumber(view.zoom * 100, 0)} %` : `${formatNumber(view.zoom, view.zoom % 1 ? 1 : 0)} ×`;
  Object.assign(byId("stage").dataset, { zoom: view.zoom, x: view.x, y: view.y });
}

function moveDivider(split) {
  shown.split = Math.min(1, Math.max(0, split));
  const percent = Math.round(shown.split * 100);
  const divider = byId("divider");
  divider.style.left = `${shown.split * 100}%`;
  divider.setAttribute("aria-valuenow", String(percent));
  divider.setAttribute("aria-valuetext", `${percent} % before, ${100 - percent} % after`);
  byId("side-before").hidden = shown.split < 0.12;
  byId("side-after").hidden = shown.split > 0.88;
  changed();
}

// Shows a combination that is in the file. The former stays until the picture is decoded.
async function choose(halftone, brightness) {
  const proof = findProof(halftone, brightness);
  if (!proof) return;
  Object.assign(chosen, { halftone, brightness });
  showHalftones(chosen);
  showBrightnesses(chosen);
  showNotes(chosen, choose);
  showFigures(proof);
  const stage = byId("stage");
  stage.setAttribute("aria-busy", "true");
  byId("status").textContent = "Drawing…";
  try {
    const after = await loadPicture(proof.png);
    if (chosen.halftone !== halftone || chosen.brightness !== brightness) return;
    Object.assign(shown, { after, proof });
    byId("status").textContent = "";
  } catch {
    byId("status").textContent = "The browser could not decode this picture.";
  }
  stage.removeAttribute("aria-busy");
  Object.assign(stage.dataset, { halftone, brightness });
  changed();
}

async function showOriginal() {
  try {
    shown.before = await loadPicture(proofData.original.png);
  } catch {
    byId("status").textContent = "The browser could not decode the page before.";
  }
  changed();
}

function resize() {
  const canvas = byId("canvas");
  fitCanvas(canvas);
  view.resize(canvas.width, canvas.height);
  draw(); // at once: a canvas of a new size is blank
}

function showPointer(event) {
  const unit = measure();
  const place = placeIn(byId("page"), event);
  const x = Math.floor(view.x + place.x / view.zoom);
  const y = Math.floor(view.y + place.y / view.zoom);
  const inside = x >= 0 && y >= 0 && x < view.sheet.width && y < view.sheet.height;
  byId("pointer").textContent = !inside ? "" : (unit.name === "mm"
    ? `${formatNumber(x / unit.x, 1)}, ${formatNumber(y / unit.y, 1)} mm · ` : "") + `dot ${x}, ${y}`;
}

function showHeaviest() {
  const band = shown.proof?.band;
  if (!band) return;
  view.fitWidth();
  view.centreOn(view.sheet.width / 2, band.row + band.rows / 2);
  changed();
}

function listenToButtons() {
  const buttons = {
    "zoom-in": () => view.step(1), "zoom-out": () => view.step(-1), "zoom-fit": () => view.fitPage(),
    "zoom-width": () => view.fitWidth(), "zoom-one": () => view.zoomAt(1), "zoom-dots": () => view.zoomAt(8),
  };
  for (const [id, act] of Object.entries(buttons))
    byId(id).addEventListener("click", () => {
      act();
      changed();
    });
  byId("show-heaviest").addEventListener("click", showHeaviest);
}

function listen() {
  const page = byId("page");
  listenToPointers(page, view, changed);
  listenToWheel(page, view, changed);
  listenToKeys(page, view, changed);
  listenToDivider(byId("divider"), byId("view"), () => shown.split, moveDivider);
  listenToButtons();
  page.addEventListener("pointermove", showPointer);
  page.addEventListener("pointerleave", () => { byId("pointer").textContent = ""; });
  new ResizeObserver(resize).observe(byId("view"));
  window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", changed);
}

makeHalftones((halftone) => choose(halftone, chosen.brightness));
makeBrightnesses((brightness) => choose(chosen.halftone, brightness));
showAbout();
listen();
resize();
moveDivider(0.5);
showOriginal();
choose(chosen.halftone, chosen.brightness);
