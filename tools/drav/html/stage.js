// SPDX-License-Identifier: Apache-2.0
// What is seen of the page, and when to draw.

const view = new View(sheetSize());
// `before` has the picture and its page, `after` the picture, its proof and its choice; the
// picture of a page that prints no row is null.
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
  divider.setAttribute("aria-valuetext", say("{before} % before, {after} % after", { before: percent, after: 100 - percent }));
  byId("side-before").hidden = shown.split < 0.12;
  byId("side-after").hidden = shown.split > 0.88;
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
    ? `${formatNumber(x / unit.x, 1)}, ${formatNumber(y / unit.y, 1)} mm · ` : "") + say("dot {x}, {y}", { x, y });
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
}

// REQUIRES: the page has the elements of viewer.html.
function startStage() {
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
  resize();
  moveDivider(0.5);
}
