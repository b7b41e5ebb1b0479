// SPDX-License-Identifier: Apache-2.0
// Pictures made smaller: a pixel of the screen is the mean of all that lies below it. The
// browser's own scaling leaves some of it out, and fine halftones then show moiré.

const STRIP_ROWS = 256; // that are read back from a picture at a time

const greyLevels = new WeakMap(); // picture -> its levels, a byte each
const reduced = new WeakMap(); // picture -> { key, canvas }, as it was drawn last

function levelsOf(picture) {
  if (greyLevels.has(picture)) return greyLevels.get(picture);
  const { width, height } = picture;
  const levels = new Uint8Array(width * height);
  const canvas = document.createElement("canvas");
  canvas.width = width;
  canvas.height = Math.min(STRIP_ROWS, height);
  const context = canvas.getContext("2d", { willReadFrequently: true });
  for (let top = 0; top < height; top += STRIP_ROWS) {
    const rows = Math.min(STRIP_ROWS, height - top);
    context.drawImage(picture, 0, top, width, rows, 0, 0, width, rows);
    const { data } = context.getImageData(0, 0, width, rows);
    for (let from = 0, to = top * width; from < data.length; from += 4) levels[to++] = data[from];
  }
  greyLevels.set(picture, levels);
  return levels;
}

// Of the screen pixels from `least` to before `most`, those that the picture's `count` pixels
// reach: the first, and the places in the picture where they begin and the last one ends.
function placesOf(zoom, count, { shrink, start, reversed }, least, most) {
  const from = reversed ? start - count * shrink : start;
  const first = Math.max(least, Math.floor(from * zoom));
  const last = Math.min(most, Math.ceil((from + count * shrink) * zoom));
  const places = new Float64Array(Math.max(0, last - first) + 1);
  for (let i = 0; i < places.length; ++i) {
    const dot = (first + i) / zoom;
    places[i] = Math.min(count, Math.max(0, (reversed ? start - dot : dot - start) / shrink));
  }
  return { first, places };
}

// Sets `sums` to what each screen pixel across reaches of a row of the picture.
function sumRow(sums, levels, at, prefix, places) {
  const low = Math.floor(Math.min(places[0], places.at(-1)));
  const high = Math.ceil(Math.max(places[0], places.at(-1)));
  for (let x = low, sum = 0; x <= high; sum += levels[at + x], ++x) prefix[x] = sum;
  for (let i = 0, before = 0; i < places.length; ++i) {
    const whole = Math.floor(places[i]);
    const upTo = prefix[whole] + (places[i] - whole) * (whole < high ? levels[at + whole] : 0);
    if (i > 0) sums[i - 1] = Math.abs(upTo - before);
    before = upTo;
  }
}

// Writes a row of the screen from the sums of what it reaches, `tall` rows of the picture.
function writeRow(data, at, sums, places, tall, area) {
  for (let x = 0; x < sums.length; ++x, at += 4) {
    const seen = Math.abs(places[x + 1] - places[x]) * tall;
    data[at] = data[at + 1] = data[at + 2] = seen > 0 ? Math.round(sums[x] / seen) : 0;
    data[at + 3] = Math.round(255 * Math.min(1, seen / area));
  }
}

function reduce(image, levels, width, across, down, area) {
  const prefix = new Float64Array(width + 1);
  const row = new Float64Array(image.width);
  const sums = new Float64Array(image.width);
  let summed = -1; // the row of the picture that `row` holds
  for (let y = 0; y < image.height; ++y) {
    const from = Math.min(down[y], down[y + 1]);
    const to = Math.max(down[y], down[y + 1]);
    sums.fill(0);
    for (let line = Math.floor(from); line < to; ++line) {
      if (line !== summed) sumRow(row, levels, line * width, prefix, across);
      summed = line;
      const weight = Math.min(to, line + 1) - Math.max(from, line);
      for (let x = 0; x < sums.length; ++x) sums[x] += weight * row[x];
    }
    writeRow(image.data, 4 * y * image.width, sums, across, to - from, area);
  }
}

// What is in sight of the picture below 1 : 1, and where its canvas lies in the view; null for
// nothing. Pixels across its edge are as clear as they are empty.
function reducedPicture(picture, view, lieAcross, lieDown) {
  const left = Math.round(view.x * view.zoom);
  const top = Math.round(view.y * view.zoom);
  const across = placesOf(view.zoom, picture.width, lieAcross, left, left + view.width);
  const down = placesOf(view.zoom, picture.height, lieDown, top, top + view.height);
  const [width, height] = [across.places.length - 1, down.places.length - 1];
  if (width === 0 || height === 0) return null;
  const key = JSON.stringify([view.zoom, lieAcross, lieDown, across.first, down.first, width, height]);
  if (reduced.get(picture)?.key !== key) {
    const canvas = document.createElement("canvas");
    Object.assign(canvas, { width, height });
    const context = canvas.getContext("2d");
    const image = context.createImageData(width, height);
    const area = 1 / (view.zoom * lieAcross.shrink) / (view.zoom * lieDown.shrink);
    reduce(image, levelsOf(picture), picture.width, across.places, down.places, area);
    context.putImageData(image, 0, 0);
    reduced.set(picture, { key, canvas });
  }
  const { canvas } = reduced.get(picture);
  return { canvas, x: across.first - left, y: down.first - top };
}
