// SPDX-License-Identifier: Apache-2.0
// Holds the parts together: what is chosen, what is seen, and when to draw.

const view = new View(sheetSize());
const chosen = { ...proofData.job, ...proofData.jobsWay };
// `before` has the picture and its page, `after` the picture, its proof and its choice; the picture of a page that prints no row
// is null.
const shown = { split: 0.5, before: null, after: null };
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
  drawLeftRuler(byId("ruler-left"), view, heaviestBand());
  byId("zoom").textContent =
    view.zoom < 1 ? `${formatNumber(view.zoom * 100, 0)} %` : `${formatNumber(view.zoom, view.zoom % 1 ? 1 : 0)} ×`;
  Object.assign(byId("stage").dataset, { zoom: view.zoom, x: view.x, y: view.y });
}

// Where the heaviest band of what is shown lies on the page.
function heaviestBand() {
  if (!shown.after) return undefined;
  const { proof, choice } = shown.after;
  const { band } = inkOf(proof, choice);
  return { ...band, row: proof.row + band.row };
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
  const band = heaviestBand();
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
  byId("copy").addEventListener("click", copyCommand);
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

makeHalftones((halftone) => choose({ halftone }));
makeBrightnesses((brightness) => choose({ brightness }));
makeSwitches(choose);
showAbout();
listen();
resize();
moveDivider(0.5);
choose({});
