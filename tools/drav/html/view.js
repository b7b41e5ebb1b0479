// SPDX-License-Identifier: Apache-2.0
// Which part of the sheet is seen, and how large.

const STEPS = [1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48]; // screen pixels a dot
const LEAST_SEEN = 48; // screen pixels of the sheet that cannot be moved out of sight

// x and y are the dot at the top left corner of the view, zoom the screen pixels a dot.
// A screen pixel is the smallest that the screen has, so that dots come out alike.
class View {
  constructor(sheet) {
    this.sheet = sheet;
    this.width = 1;
    this.height = 1;
    this.zoom = 1;
    this.x = 0;
    this.y = 0;
    this.fitted = "page";
  }

  resize(width, height) {
    const middle = this.middle();
    this.width = Math.max(1, width);
    this.height = Math.max(1, height);
    if (this.fitted === "page") this.fitPage();
    else if (this.fitted === "width") this.fitWidth(this.y);
    else this.centreOn(middle.x, middle.y);
  }

  middle() {
    return { x: this.x + this.width / this.zoom / 2, y: this.y + this.height / this.zoom / 2 };
  }

  pageZoom() {
    return this.evenZoom(Math.min(this.width / this.sheet.width, this.height / this.sheet.height));
  }

  widthZoom() {
    return this.evenZoom(this.width / this.sheet.width);
  }

  // With a margin, and whole above 1, where uneven dots would be seen.
  evenZoom(zoom) {
    const fitting = Math.min(STEPS.at(-1), 0.96 * zoom);
    return fitting > 1 ? Math.floor(fitting) : fitting;
  }

  fitPage() {
    this.zoom = this.pageZoom();
    this.centreOn(this.sheet.width / 2, this.sheet.height / 2);
    this.fitted = "page";
  }

  fitWidth(y = 0) {
    this.zoom = this.widthZoom();
    this.x = (this.sheet.width - this.width / this.zoom) / 2;
    this.y = y;
    this.clamp();
    this.fitted = "width";
  }

  centreOn(x, y) {
    this.x = x - this.width / this.zoom / 2;
    this.y = y - this.height / this.zoom / 2;
    this.clamp();
  }

  // The dot below a place of the view stays there.
  zoomAt(zoom, atX = this.width / 2, atY = this.height / 2) {
    const dotX = this.x + atX / this.zoom;
    const dotY = this.y + atY / this.zoom;
    const least = Math.min(this.pageZoom(), STEPS[0]) / 2;
    this.zoom = Math.min(STEPS.at(-1), Math.max(least, zoom));
    this.x = dotX - atX / this.zoom;
    this.y = dotY - atY / this.zoom;
    this.fitted = "";
    this.clamp();
  }

  // The next of the steps: halves below 1, so that what is drawn is even.
  step(direction, atX, atY) {
    const steps = [...STEPS];
    while (steps[0] > this.pageZoom()) steps.unshift(steps[0] / 2);
    const near = 1.001;
    const next = direction > 0
      ? steps.find((zoom) => zoom > this.zoom * near)
      : steps.findLast((zoom) => zoom < this.zoom / near);
    if (next !== undefined) this.zoomAt(next, atX, atY);
  }

  panBy(pixelsX, pixelsY) {
    this.x += pixelsX / this.zoom;
    this.y += pixelsY / this.zoom;
    if (this.fitted === "page") this.fitted = "";
    this.clamp();
  }

  clamp() {
    const clampOne = (at, seen, size) => {
      const least = Math.min(LEAST_SEEN / this.zoom, size, seen);
      return Math.min(size - least, Math.max(least - seen, at));
    };
    this.x = clampOne(this.x, this.width / this.zoom, this.sheet.width);
    this.y = clampOne(this.y, this.height / this.zoom, this.sheet.height);
  }

  // Where a dot's top left corner is drawn, in whole screen pixels.
  screenX(dot) {
    return Math.round(dot * this.zoom) - Math.round(this.x * this.zoom);
  }

  screenY(dot) {
    return Math.round(dot * this.zoom) - Math.round(this.y * this.zoom);
  }
}
