// SPDX-License-Identifier: Apache-2.0
// Draws the view: the page before and after, the grid between dots, the rulers. The dots
// come from the pictures as they are; nothing here makes any.

const GRID_FROM = 8; // screen pixels a dot
const LABEL_ROOM = 52; // CSS pixels between numbers of a ruler
const TICK_ROOM = 5;
const LOST_MARGIN = 3; // mm
const HATCH_STEP = 8; // screen pixels
const TICKS = [0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000];

function colour(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

// Gives the canvas as many pixels as the screen has below it, counted as browsers do that
// put boxes on whole ones: with one more or less they would stretch the dots.
function fitCanvas(canvas) {
  const scale = window.devicePixelRatio || 1;
  const box = canvas.getBoundingClientRect();
  const width = Math.max(1, Math.round(box.right * scale) - Math.round(box.left * scale));
  const height = Math.max(1, Math.round(box.bottom * scale) - Math.round(box.top * scale));
  if (canvas.width !== width) canvas.width = width;
  if (canvas.height !== height) canvas.height = height;
}

// The pixels of a picture that are in sight between two dots, and the dots that they take.
// Each is `shrink` dots wide; the first begins at dot `start`, or ends at it and the others
// lie before it if the picture is reversed.
function inSight(from, to, count, { shrink, start, reversed }) {
  const place = (dot) => (reversed ? start - dot : dot - start) / shrink;
  const ends = [place(from), place(to)].sort((one, other) => one - other);
  const first = Math.max(0, Math.floor(ends[0]) - (reversed ? 1 : 0));
  const last = Math.min(count, Math.ceil(ends[1]) + 1);
  const dot = (pixel) => (reversed ? start - pixel * shrink : start + pixel * shrink);
  return { first, count: last - first, from: dot(reversed ? last : first),
    to: dot(reversed ? first : last), reversed };
}

// The part of a picture that is in sight. `across` and `down` say where it lies.
function drawPicture(context, view, picture, across, down) {
  if (view.zoom * across.shrink < 1) {
    const seen = reducedPicture(picture, view, across, down);
    if (seen) context.drawImage(seen.canvas, seen.x, seen.y);
    return;
  }
  const x = inSight(view.x, view.x + view.width / view.zoom, picture.width, across);
  const y = inSight(view.y, view.y + view.height / view.zoom, picture.height, down);
  if (x.count <= 0 || y.count <= 0) return;
  const left = view.screenX(x.from);
  const right = view.screenX(x.to);
  const top = view.screenY(y.from);
  const bottom = view.screenY(y.to);
  context.save();
  context.imageSmoothingEnabled = false;
  context.translate(x.reversed ? left + right : 0, y.reversed ? top + bottom : 0);
  context.scale(x.reversed ? -1 : 1, y.reversed ? -1 : 1);
  context.drawImage(picture, x.first, y.first, x.count, y.count, left, top, right - left, bottom - top);
  context.restore();
}

// The page before lies on the paper as its dots do.
function drawBefore(context, view, { picture, page }, choice) {
  const { shrink, width, rows } = page.original;
  const lie = (reversed, size) => ({ shrink, start: reversed ? size : 0, reversed });
  drawPicture(context, view, picture, lie(choice.mirrored !== choice.halfTurn, width),
    lie(choice.halfTurn, rows));
}

// As the filter does it: each dot of the picture's columns, and no other. A page without
// ink stays without.
function drawAfter(context, view, { picture, proof, choice }) {
  const { row, rows } = proof;
  drawPicture(context, view, picture, { shrink: 1, start: 0, reversed: false },
    { shrink: 1, start: row, reversed: false });
  if (!choice.inverted || proof.black === 0) return;
  context.globalCompositeOperation = "difference";
  context.fillStyle = "#fff";
  const [left, top] = [view.screenX(0), view.screenY(row)];
  context.fillRect(left, top, view.screenX(proofData.page.columns) - left,
    view.screenY(row + rows) - top);
  context.globalCompositeOperation = "source-over";
}

// The side of the paper on which a side of the drawing lies.
function sideOnPaper(side, { mirrored, halfTurn }) {
  const across = { left: "right", right: "left" };
  const down = { top: "bottom", bottom: "top" };
  return (mirrored !== halfTurn && across[side]) || (halfTurn && down[side]) || side;
}

// Where ink is lost: what of the page lies beyond the head, or a margin beyond the page.
function lostPlace({ side, from, to }, choice) {
  const { original, page } = proofData;
  const where = sideOnPaper(side, choice);
  const isAcross = where === "left" || where === "right";
  const length = isAcross ? original.rows : original.width;
  const turned = isAcross ? choice.halfTurn : choice.mirrored !== choice.halfTurn;
  const start = turned ? length - to : from;
  const margin = LOST_MARGIN * (measure().name === "mm" ? measure()[isAcross ? "x" : "y"] : 8);
  const beyond = { left: -margin, top: -margin, right: page.columns, bottom: original.rows }[where];
  const deep = where === "right" ? Math.max(margin, original.width - page.columns) : margin;
  return isAcross ? { x: beyond, y: start, width: deep, height: to - from }
    : { x: start, y: beyond, width: to - from, height: deep };
}

function drawLost(context, view, choice) {
  for (const lost of pageOf(choice).lost.sides) {
    const { x, y, width, height } = lostPlace(lost, choice);
    const [left, top] = [view.screenX(x), view.screenY(y)];
    const right = Math.max(left + 4, view.screenX(x + width));
    const bottom = Math.max(top + 4, view.screenY(y + height));
    context.save();
    context.beginPath();
    context.rect(left, top, right - left, bottom - top);
    context.clip();
    context.beginPath();
    const [first, last] = [Math.max(left, 0) - view.height, Math.min(right, view.width) + view.height];
    for (let at = first - first % HATCH_STEP; at < last; at += HATCH_STEP) {
      context.moveTo(at, view.height);
      context.lineTo(at + view.height, 0);
    }
    context.strokeStyle = colour("--mark");
    context.lineWidth = HATCH_STEP / 4;
    context.stroke();
    context.restore();
  }
}

function clipped(context, left, right, height, draw) {
  if (right <= left) return;
  context.save();
  context.beginPath();
  context.rect(left, 0, right - left, height);
  context.clip();
  draw();
  context.restore();
}

function drawGrid(context, view, { row, rows }) {
  const { width } = proofData.page;
  const left = Math.max(0, view.screenX(0));
  const right = Math.min(view.width, view.screenX(width));
  const top = Math.max(0, view.screenY(row));
  const bottom = Math.min(view.height, view.screenY(row + rows));
  context.fillStyle = "rgb(128 138 152 / 45%)";
  for (let x = Math.max(0, Math.floor(view.x)); x <= width; ++x) {
    if (view.screenX(x) > right) break;
    context.fillRect(view.screenX(x), top, 1, bottom - top);
  }
  for (let y = Math.max(row, Math.floor(view.y)); y <= row + rows; ++y) {
    if (view.screenY(y) > bottom) break;
    context.fillRect(left, view.screenY(y), right - left, 1);
  }
}

// `split` is the place of the divider, from 0 to 1. A picture that is not there is null.
function drawPage(canvas, view, split, before, after) {
  const context = canvas.getContext("2d");
  const divide = Math.round(split * view.width);
  context.fillStyle = colour("--desk");
  context.fillRect(0, 0, view.width, view.height);
  clipped(context, 0, divide, view.height, () => {
    const choice = after?.choice ?? proofData.jobsWay;
    if (before) drawBefore(context, view, before, choice);
    drawLost(context, view, choice);
  });
  clipped(context, divide, view.width, view.height, () => {
    if (!after?.picture) return;
    drawAfter(context, view, after);
    if (view.zoom >= GRID_FROM) drawGrid(context, view, after.proof);
  });
}

// The smallest of the ticks that leaves room, for `perUnit` pixels a unit.
function tickFor(room, perUnit) {
  return TICKS.find((tick) => tick * perUnit >= room) ?? TICKS.at(-1);
}

function tickLabel(value) {
  return String(Math.round(value * 10) / 10);
}

// One ruler in its own direction: `at` gives the pixel of a dot, `mark` and `label` draw.
function drawTicks(first, last, perUnit, dotsPerUnit, at, mark, label) {
  const numbered = tickFor(LABEL_ROOM, perUnit);
  const small = tickFor(TICK_ROOM, perUnit);
  const everySo = Math.max(1, Math.round(numbered / small));
  const start = Math.max(0, Math.floor(first / dotsPerUnit / small));
  for (let i = start; i * small * dotsPerUnit <= last; ++i) {
    const place = at(i * small * dotsPerUnit);
    const major = i % everySo === 0;
    const middle = everySo % 2 === 0 && i % (everySo / 2) === 0;
    mark(place, major ? 1 : middle ? 0.55 : 0.32);
    if (major) label(place, tickLabel(i * small));
  }
}

function startRuler(canvas) {
  fitCanvas(canvas);
  const context = canvas.getContext("2d");
  context.clearRect(0, 0, canvas.width, canvas.height);
  const scale = window.devicePixelRatio || 1;
  context.font = `${Math.round(10 * scale)}px system-ui, "DejaVu Sans", sans-serif`;
  context.textBaseline = "top";
  return { context, scale, line: colour("--ruler-line"), text: colour("--soft") };
}

function drawTopRuler(canvas, view) {
  const { context, scale, line, text } = startRuler(canvas);
  const unit = measure();
  drawTicks(view.x, Math.min(sheetSize().width, view.x + view.width / view.zoom),
    unit.x * view.zoom / scale, unit.x, (dot) => view.screenX(dot),
    (place, share) => {
      context.fillStyle = line;
      const length = share * canvas.height * (share === 1 ? 1 : 0.8);
      context.fillRect(place, canvas.height - length, Math.max(1, Math.floor(scale)), length);
    },
    (place, number) => {
      context.fillStyle = text;
      context.fillText(number, place + 3 * scale, 2 * scale);
    });
}

function drawLeftRuler(canvas, view, band) {
  const { context, scale, line, text } = startRuler(canvas);
  const unit = measure();
  drawTicks(view.y, Math.min(sheetSize().height, view.y + view.height / view.zoom),
    unit.y * view.zoom / scale, unit.y, (dot) => view.screenY(dot),
    (place, share) => {
      context.fillStyle = line;
      const length = share * canvas.width * (share === 1 ? 1 : 0.6);
      context.fillRect(canvas.width - length, place, length, Math.max(1, Math.floor(scale)));
    },
    (place, number) => {
      context.fillStyle = text;
      context.fillText(number, 3 * scale, place + 2 * scale);
    });
  if (!band || band.black === 0) return;
  const from = view.screenY(band.row);
  context.fillStyle = colour("--mark");
  context.fillRect(canvas.width - 4 * scale, from, 4 * scale,
    Math.max(2 * scale, view.screenY(band.row + band.rows) - from));
}
