// SPDX-License-Identifier: Apache-2.0
// The browser of a test program, what is on the screen of a proof, and what ought to be.
import assert from "node:assert/strict";
import fs from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";
import { after, before } from "node:test";

const BAND_ROWS = 96;

export const DESKTOP = { viewport: { width: 1200, height: 800 }, colorScheme: "light" };
export const PHONE = { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true,
  deviceScaleFactor: 2, colorScheme: "dark" };

// What the program is told; its folder has the package that drives the browser.
export const config = JSON.parse(fs.readFileSync(process.argv[2], "utf8"));
const { chromium } = createRequire(path.join(config.folder, "package.json"))("playwright-core");

let browser;
let decode;
before(async () => {
  browser = await chromium.launch({ executablePath: config.chromium,
    chromiumSandbox: process.getuid() !== 0 });
  decode = await makeDecoder(browser);
});
after(() => browser.close());

export function shotPath(name) {
  return path.join(config.folder, `${name}.png`);
}

// Area of what is black in a part whose edges may lie within dots; `shareOf` says how much of
// a dot is.
export function areaIn(shareOf, left, right, top, bottom) {
  let area = 0;
  for (let y = Math.floor(top); y < bottom; ++y)
    for (let x = Math.floor(left); x < right; ++x)
      area += shareOf(x, y) * (Math.min(right, x + 1) - Math.max(left, x)) *
        (Math.min(bottom, y + 1) - Math.max(top, y));
  return area;
}

// The dots of a page as a PNG of drav proof has them.
export class Dots {
  constructor(file, width, rows) {
    this.packed = fs.readFileSync(file);
    Object.assign(this, { width, rows });
    assert.equal(this.packed.length, width / 8 * rows);
  }

  isDot(x, y) {
    return (this.packed[y * this.width / 8 + (x >> 3)] >> (7 - x % 8) & 1) === 1;
  }

  black(from = 0, to = this.rows) {
    let count = 0;
    for (const byte of this.packed.subarray(from * this.width / 8, to * this.width / 8))
      for (let rest = byte; rest; rest &= rest - 1) ++count;
    return count;
  }

  // "12.3 %" of a part of the rows.
  share(from = 0, to = this.rows) {
    return `${(100 * this.black(from, to) / ((to - from) * this.width)).toFixed(1)} %`;
  }

  // Area of the dots in a part whose edges may lie within dots.
  blackIn(...edges) {
    return areaIn((x, y) => (x < this.width && y < this.rows && this.isDot(x, y) ? 1 : 0), ...edges);
  }

  heaviestBand() {
    let best = { share: -1 };
    for (let from = 0; from < this.rows; from += BAND_ROWS) {
      const to = Math.min(this.rows, from + BAND_ROWS);
      const share = this.black(from, to) / (to - from);
      if (share > best.share) best = { share, from, to };
    }
    return best;
  }
}

// A grey picture of part of the screen, in the screen's own pixels.
class Shot {
  constructor({ width, height, levels }, box) {
    Object.assign(this, { levels, pitch: width, left: box.x, top: box.y });
    this.width = Math.min(box.width, width - box.x);
    this.height = Math.min(box.height, height - box.y);
  }

  at(x, y) {
    return this.levels[(this.top + y) * this.pitch + this.left + x];
  }
}

// Decodes screenshots in a window of its own, so that no other goes to the background.
async function makeDecoder(browser) {
  const page = await browser.newPage();
  return async (png) => {
    const { width, height, text } = await page.evaluate(async (address) => {
      const image = new Image();
      image.src = address;
      await image.decode();
      const canvas = new OffscreenCanvas(image.width, image.height);
      const context = canvas.getContext("2d");
      context.drawImage(image, 0, 0);
      const { data } = context.getImageData(0, 0, image.width, image.height);
      let text = "";
      for (let at = 1; at < data.length; at += 4) text += String.fromCharCode(data[at]);
      return { width: image.width, height: image.height, text: btoa(text) };
    }, `data:image/png;base64,${png.toString("base64")}`);
    return { width, height, levels: Buffer.from(text, "base64") };
  };
}

// A page of a proof that is open, with all that it said and asked for.
class Proof {
  constructor(page, decode) {
    Object.assign(this, { page, decode, complaints: [], requests: [] });
    page.on("console", (message) => this.complaints.push(`${message.type()}: ${message.text()}`));
    page.on("pageerror", (error) => this.complaints.push(`error: ${error.message}`));
    page.on("dialog", (dialog) => this.complaints.push(`dialog: ${dialog.message()}`));
    page.on("request", (request) => {
      if (!request.url().startsWith("data:")) this.requests.push(request.url());
    });
  }

  async open(file) {
    await this.page.goto(`file://${encodeURI(file)}`);
    await this.settled();
  }

  // Waits until nothing is left to decode or to draw.
  async settled() {
    await this.page.waitForFunction(() => {
      const stage = document.getElementById("stage");
      return stage.dataset.halftone !== undefined && !stage.hasAttribute("aria-busy");
    });
    await this.page.evaluate(() => new Promise((done) => {
      requestAnimationFrame(() => requestAnimationFrame(done));
    }));
  }

  async view() {
    const data = await this.page.locator("#stage").evaluate((stage) => ({ ...stage.dataset }));
    return { zoom: Number(data.zoom), x: Number(data.x), y: Number(data.y) };
  }

  async keys(selector, ...keys) {
    await this.page.locator(selector).focus();
    for (const key of keys) await this.page.keyboard.press(key);
    await this.settled();
  }

  // What the screen shows where the element is. Shots of elements would be cut at whole
  // CSS pixels, beside those of the screen.
  async shoot(selector = "#canvas") {
    const box = await this.page.locator(selector).evaluate((element) => {
      window.scrollTo(0, 0);
      const { left, top, width, height } = element.getBoundingClientRect();
      return Object.fromEntries(Object.entries({ x: left, y: top, width, height }).map(
        ([name, value]) => [name, Math.round(value * window.devicePixelRatio)]));
    });
    return new Shot(await this.decode(await this.page.screenshot({ scale: "device" })), box);
  }

  // Compares dots that lie whole within a part of the screen, given in screen pixels, with
  // what `levelOf` says of them; gives how many were compared.
  async compare(levelOf, sheet, part, inset = 0) {
    const shot = await this.shoot();
    const { zoom, x, y } = await this.view();
    assert.equal(zoom, Math.round(zoom), "dots that are not alike");
    const left = Math.round(x * zoom);
    const top = Math.round(y * zoom);
    const right = Math.min(part.right ?? shot.width, shot.width);
    const bottom = Math.min(part.bottom ?? shot.height, shot.height);
    let compared = 0;
    const first = Math.max(sheet.from ?? 0, Math.ceil((top + part.top) / zoom));
    for (let row = first; row < sheet.rows; ++row) {
      if ((row + 1) * zoom - top > bottom) break;
      for (let column = Math.max(0, Math.ceil((left + part.left) / zoom)); column < sheet.width; ++column) {
        if ((column + 1) * zoom - left > right) break;
        const level = levelOf(column, row);
        for (let dy = inset; dy < zoom; ++dy)
          for (let dx = inset; dx < zoom; ++dx) {
            const seen = shot.at(column * zoom - left + dx, row * zoom - top + dy);
            if (seen !== level)
              assert.fail(`dot ${column}, ${row} at ${dx}, ${dy}: ${seen} instead of ${level}`);
          }
        ++compared;
      }
    }
    return compared;
  }

  // All dots on the screen that no label and no handle covers; zoomed in there is a line
  // of the grid at the left and at the top of each. `from` is the row of the page that
  // prints first.
  async compareDots(dots, least, from = 0) {
    const { zoom } = await this.view();
    const scale = await this.page.evaluate(() => window.devicePixelRatio);
    const part = { left: 60 * scale, top: 40 * scale };
    const compared = await this.compare((x, y) => dots.isDot(x, y - from) ? 0 : 255,
      { width: dots.width, from, rows: from + dots.rows }, part, zoom >= 8 ? 1 : 0);
    assert.ok(compared >= least, `only ${compared} dots were compared`);
  }

  // Below 1 : 1, pixels of the screen that lie whole on the page, with the mean of their dots.
  async compareMeans(dots, least) {
    const shot = await this.shoot();
    const { zoom, x, y } = await this.view();
    assert.ok(zoom < 1, `${zoom} is not below 1 : 1`);
    const [left, top] = [Math.round(x * zoom), Math.round(y * zoom)];
    let compared = 0;
    for (let row = 40; row < shot.height; ++row)
      for (let column = 60; column < shot.width; ++column) {
        const [from, to] = [(column + left) / zoom, (column + left + 1) / zoom];
        const [above, below] = [(row + top) / zoom, (row + top + 1) / zoom];
        if (from < 0 || above < 0 || to > dots.width || below > dots.rows) continue;
        const level = 255 - 255 * dots.blackIn(from, to, above, below) * zoom * zoom;
        const seen = shot.at(column, row);
        if (Math.abs(seen - level) > 1)
          assert.fail(`pixel ${column}, ${row} at ${zoom}: ${seen} instead of ${level}`);
        ++compared;
      }
    assert.ok(compared >= least, `only ${compared} pixels were compared`);
  }

  // What tells one picture on the screen from another.
  async digest() {
    const canvas = this.page.locator("#canvas");
    return canvas.evaluate((element) => element.toDataURL());
  }
}

// On a screen of its own, before it has gone anywhere; it waits so many milliseconds for what
// is looked for.
export async function newProof(options, patience) {
  const context = await browser.newContext(options);
  context.setDefaultTimeout(patience);
  return new Proof(await context.newPage(), decode);
}
