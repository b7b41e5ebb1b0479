// SPDX-License-Identifier: Apache-2.0
// Pictures made smaller: a pixel of the screen is the mean of all that lies below it. The
// browser's own scaling leaves some of it out, and fine halftones then show moiré.

const STRIP_ROWS = 256; // that are read back from a picture at a time

const greyLevels = new WeakMap(); // picture -> its levels, a byte each
const reduced = new WeakMap(); // picture -> { key, canvas, x, y }, as it was drawn last

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

// For each screen pixel from `first` on: from and to which of the picture's `count` pixels it
// reaches, with fractions.
function reaches(zoom, count, { shrink, start, reversed }) {
  const from = reversed ? start - count * shrink : start;
  const first = Math.floor(from * zoom);
  const last = Math.ceil((from + count * shrink) * zoom);
  const place = (pixel) => {
    const dot = pixel / zoom;
    return Math.min(count, Math.max(0, (reversed ? start - dot : dot - start) / shrink));
  };
  const ends = [];
  for (let pixel = first; pixel < last; ++pixel) {
    const [one, other] = [place(pixel), place(pixel + 1)];
    ends.push(reversed ? [other, one] : [one, other]);
  }
  return { first, ends };
}

// Adds to `sums`, for each screen pixel across, what it reaches of a row, `weight` times.
function addRow(sums, levels, at, prefix, across, weight) {
  let sum = 0;
  for (let x = 0; x < prefix.length; ++x) {
    prefix[x] = sum;
    sum += levels[at + x];
  }
  const upTo = (place) => {
    const whole = Math.floor(place);
    return whole < prefix.length ? prefix[whole] + (place - whole) * levels[at + whole] : sum;
  };
  across.forEach(([from, to], x) => { sums[x] += weight * (upTo(to) - upTo(from)); });
}

function writeRow(data, at, sums, across, tall, area) {
  sums.forEach((sum, x) => {
    const seen = (across[x][1] - across[x][0]) * tall;
    const level = seen > 0 ? Math.round(sum / seen) : 0;
    data.set([level, level, level, Math.round(255 * Math.min(1, seen / area))], at + 4 * x);
  });
}

// The picture as it is seen below 1 : 1, and where its canvas lies in screen pixels from the
// sheet's corner. Pixels that lie across its edge are as clear as they are empty.
function reducedPicture(picture, zoom, lieAcross, lieDown) {
  const key = JSON.stringify([zoom, lieAcross, lieDown]);
  if (reduced.get(picture)?.key === key) return reduced.get(picture);
  const levels = levelsOf(picture);
  const across = reaches(zoom, picture.width, lieAcross);
  const down = reaches(zoom, picture.height, lieDown);
  const area = 1 / (zoom * lieAcross.shrink) / (zoom * lieDown.shrink);
  const canvas = document.createElement("canvas");
  canvas.width = across.ends.length;
  canvas.height = down.ends.length;
  const context = canvas.getContext("2d");
  const image = context.createImageData(canvas.width, canvas.height);
  const prefix = new Float64Array(picture.width);
  down.ends.forEach(([from, to], y) => {
    const sums = new Float64Array(canvas.width);
    for (let row = Math.floor(from); row < to; ++row)
      addRow(sums, levels, row * picture.width, prefix, across.ends,
        Math.min(to, row + 1) - Math.max(from, row));
    writeRow(image.data, 4 * y * canvas.width, sums, across.ends, to - from, area);
  });
  context.putImageData(image, 0, 0);
  const made = { key, canvas, x: across.first, y: down.first };
  reduced.set(picture, made);
  return made;
}
