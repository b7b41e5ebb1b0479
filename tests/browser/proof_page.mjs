// SPDX-License-Identifier: Apache-2.0
// Uses the pages of `drav proof --html` as people do: by mouse, keys and touch.
import assert from "node:assert/strict";
import fs from "node:fs";
import { before, describe, test } from "node:test";

import { areaIn, config, DESKTOP, Dots, newProof, PHONE, shotPath } from "./screen.mjs";

function dotsOf(page, file) {
  return new Dots(file, page.width, page.rows);
}

async function openProof(page, options) {
  const proof = await newProof(options, 15_000);
  await proof.open(page.html);
  return proof;
}

async function textOf(proof, selector) {
  return (await proof.page.locator(selector).textContent()).trim();
}

// Nothing was said on the console, and nothing but the file itself was asked for.
async function closeQuietly(proof, page) {
  assert.deepEqual(proof.complaints, []);
  assert.deepEqual(proof.requests.map((url) => decodeURI(url)), [`file://${page.html}`]);
  await proof.page.context().close();
}

// Where a dot of a turned page lies in the page as it was, by the switches that turn it.
function waysOf(width, rows) {
  return { "mirror": (x, y) => [width - 1 - x, y],
    "half-turn": (x, y) => [width - 1 - x, rows - 1 - y],
    "mirror half-turn": (x, y) => [x, rows - 1 - y] };
}

// Sets the switches of the page; those that are not named are off.
async function setWay(proof, ...ids) {
  for (const id of ["mirror", "half-turn", "invert"])
    await proof.page.locator(`#${id}`).setChecked(ids.includes(id));
  await proof.settled();
}

async function checkFigures(proof, dots) {
  assert.equal(await textOf(proof, "#coverage"), dots.share());
  const { from, to } = dots.heaviestBand();
  assert.equal(await textOf(proof, "#heaviest"), dots.share(from, to));
}

async function choose(proof, halftone) {
  await proof.page.locator(`#halftones input[value="${halftone}"]`).check();
  await proof.settled();
}

describe("a large page on a desktop", () => {
  const page = config.large;
  const tattoo = dotsOf(page, page.halftones.Tattoo);
  let proof;
  before(async () => { proof = await openProof(page, DESKTOP); });

  test("shows the job's own halftone and its figures", async () => {
    await proof.page.screenshot({ path: shotPath("desktop") });
    assert.equal(await proof.page.title(), "large.ras – proof");
    assert.equal(await textOf(proof, "#paper-length"), `${(page.rows * 25.4 / 300).toFixed(1)} mm`);
    assert.equal(await textOf(proof, "#coverage"), tattoo.share());
    const { from, to } = tattoo.heaviestBand();
    assert.equal(await textOf(proof, "#heaviest"), tattoo.share(from, to));
    const millimetres = (row) => (row * 25.4 / 300).toFixed(1);
    assert.equal(await textOf(proof, "#heaviest-place"),
      `${millimetres(from)} to ${millimetres(to)} mm from the top, ${to - from} rows`);
    assert.match(await textOf(proof, "#page-size"), /2400 × 1500 dots at 300 dpi\. .*: the right 6\.9 mm of the drawing/);
  });

  test("fits the page into the view", async () => {
    const { zoom, x } = await proof.view();
    const box = await proof.page.locator("#page").boundingBox();
    assert.ok(x < 0 && zoom * page.width < box.width && zoom * page.width > box.width * 0.8);
  });

  test("zoomed out, a pixel is the mean of the dots below it", async () => {
    await proof.keys("#divider", "Home");
    for (const halftone of ["Ordered", "Tattoo"]) {
      await choose(proof, halftone);
      await proof.compareMeans(dotsOf(page, page.halftones[halftone]), 200_000);
    }
    await proof.keys("#page", "-");
    await proof.compareMeans(tattoo, 50_000);
    await proof.keys("#page", "0");
  });

  test("hatches in the page before what lies beyond the head", async () => {
    const hatched = async () => {
      const { zoom, x } = await proof.view();
      const [left, right] = [page.width, page.inkWidth].map((dot) => Math.round((dot - x) * zoom));
      return proof.page.locator("#canvas").evaluate((canvas, parts) => {
        const context = new OffscreenCanvas(canvas.width, canvas.height).getContext("2d",
          { willReadFrequently: true });
        context.drawImage(canvas, 0, 0);
        return parts.map(([from, to]) => {
          const { data } = context.getImageData(from, 0, to - from, canvas.height);
          let count = 0;
          for (let at = 0; at < data.length; at += 4) count += data[at] - data[at + 1] > 100 ? 1 : 0;
          return count;
        });
      }, [[0, left - 1], [left + 1, right - 1]]);
    };
    assert.deepEqual(await hatched(), [0, 0], "after is hatched");
    await proof.keys("#divider", "End");
    const [beside, there] = await hatched();
    assert.ok(beside === 0 && there > 500, `${beside} and ${there} pixels are hatched`);
    assert.equal(await textOf(proof, "#accuracy"), "Exact dots, ink lost");
    assert.match(await textOf(proof, "#notes"), /Not on the paper: ink lost at the right: 6\.\d mm, /);
  });

  test("the line that prints what is shown is copied", async () => {
    await proof.page.context().grantPermissions(["clipboard-read", "clipboard-write"]);
    await choose(proof, "Burkes");
    await proof.page.locator("#copy").click();
    await proof.page.locator("#copied", { hasText: "Copied." }).waitFor();
    const line = "lp -d QUEUE -o HalftoneType=Burkes -o Brightness=0 -o StencilMirror=False " +
      "-o HalfTurn=False -o InvertPage=False";
    assert.equal(await textOf(proof, "#prints-with"), line);
    assert.equal(await proof.page.evaluate(() => navigator.clipboard.readText()), line);
    await choose(proof, "Tattoo");
    assert.equal(await textOf(proof, "#copied"), "");
  });

  test("a dot is a pixel at 1 : 1", async () => {
    await proof.keys("#divider", "Home");
    await proof.page.locator("#zoom-one").click();
    await proof.settled();
    assert.equal(await textOf(proof, "#zoom"), "1 ×");
    await proof.compareDots(tattoo, 400_000);
  });

  test("zoomed dots are those of the PNG, in several places", async () => {
    await proof.keys("#page", "8");
    assert.equal((await proof.view()).zoom, 8);
    await proof.compareDots(tattoo, 5000);
    await proof.page.screenshot({ path: shotPath("desktop-dots") });
    await proof.keys("#page", "Home", "ArrowLeft", "ArrowLeft", "ArrowLeft");
    await proof.compareDots(tattoo, 2000);
    await proof.keys("#page", "+", "+", "ArrowDown");
    assert.equal((await proof.view()).zoom, 16);
    await proof.compareDots(tattoo, 1000);
    await proof.keys("#page", "-", "-", "-", "End", "ArrowRight");
    assert.equal((await proof.view()).zoom, 6);
    await proof.compareDots(tattoo, 3000);
  });

  test("the right edge of the paper is where the driver cuts", async () => {
    await proof.keys("#page", "0", "ArrowRight", "ArrowRight", "ArrowRight", "ArrowRight", "8");
    await proof.keys("#page", ...Array(6).fill("ArrowLeft"));
    const { zoom, x } = await proof.view();
    const shot = await proof.shoot();
    const edge = page.width * zoom - Math.round(x * zoom);
    assert.ok(edge > 70 && edge < shot.width - 70, `edge at ${edge}`);
    const desk = shot.at(edge + 3 * zoom, 300);
    assert.ok(desk > 0 && desk < 255, "the desk looks like dots");
    for (let at = 60; at < shot.height - 10; at += 5) {
      assert.equal(shot.at(edge + 20, at), desk);
      assert.notEqual(shot.at(edge - 4, at), desk);
    }
  });

  test("every halftone shows its own dots and figures", async () => {
    await proof.keys("#page", "0", "8");
    const seen = new Set();
    for (const [halftone, file] of Object.entries(page.halftones)) {
      const dots = dotsOf(page, file);
      await choose(proof, halftone);
      await proof.compareDots(dots, 5000);
      assert.equal(await textOf(proof, "#coverage"), dots.share(), halftone);
      const { from, to } = dots.heaviestBand();
      assert.equal(await textOf(proof, "#heaviest"), dots.share(from, to), halftone);
      seen.add(await proof.digest());
    }
    assert.equal(seen.size, 10, "two halftones looked the same");
  });

  test("combinations that are not in the file cannot be chosen, and it says why", async () => {
    await choose(proof, "Burkes");
    assert.equal(await proof.page.locator("#brightness option:not(:disabled)").count(), 1);
    assert.ok(await proof.page.locator("#lighter").isDisabled());
    assert.match(await textOf(proof, "#brightness-note"), /for “Tattoo stencil” only/);
    assert.match(await textOf(proof, "#brightness-note"), /-o HalftoneType=Burkes/);
    await proof.page.locator("#brightness-note").scrollIntoViewIfNeeded();
    await proof.page.screenshot({ path: shotPath("desktop-missing") });
    await proof.page.locator("#brightness-note button").click();
    await proof.settled();
    assert.ok(await proof.page.locator('#halftones input[value="Tattoo"]').isChecked());
    assert.equal(await proof.page.locator("#brightness option:not(:disabled)").count(), 13);
    assert.ok(await proof.page.locator("#brightness-note").isHidden());
  });

  test("brightness switches under the driver's labels", async () => {
    await proof.page.locator("#brightness").selectOption({ label: "Lighter 20" });
    await proof.settled();
    await proof.compareDots(dotsOf(page, page.brightnesses["-20"]), 5000);
    assert.equal(await textOf(proof, "#coverage"), dotsOf(page, page.brightnesses["-20"]).share());
    assert.equal(await proof.page.locator("#halftones input:not(:disabled)").count(), 1);
    assert.match(await textOf(proof, "#halftone-note"), /at “Normal” only/);
    await proof.page.locator("#brightness").focus();
    await proof.page.keyboard.press("End"); // the last step
    for (let i = 0; i < 1; ++i) await proof.page.locator("#lighter").click();
    await proof.settled();
    assert.match(await proof.page.locator("#brightness option:checked").textContent(), /^Darker 10 /);
    await proof.compareDots(dotsOf(page, page.brightnesses["10"]), 5000);
    await proof.page.locator("#halftone-note button").click();
    await proof.settled();
    assert.equal(await textOf(proof, "#coverage"), tattoo.share());
  });

  test("mirrored and turned it shows the dots of the filter, and the side that is lost", async () => {
    for (const [ids, options, side] of [
      [["mirror"], "StencilMirror=True", "left"], [["half-turn"], "HalfTurn=True", "left"],
      [["mirror", "half-turn"], "StencilMirror=True HalfTurn=True", "right"],
      [["invert"], "InvertPage=True", "right"],
      [["invert", "mirror"], "InvertPage=True StencilMirror=True", "left"]]) {
      await setWay(proof, ...ids);
      const dots = dotsOf(page, page.ways[options]);
      await checkFigures(proof, dots);
      assert.match(await textOf(proof, "#page-size"), new RegExp(`the ${side} 6\\.9 mm of the drawing`));
      for (const option of options.split(" "))
        assert.match(await textOf(proof, "#prints-with"), new RegExp(`-o ${option}( |$)`));
      await proof.keys("#page", "0", "8");
      await proof.compareDots(dots, 5000);
      // The last columns of a row do not print, so they stay bare.
      await proof.keys("#page", "0", ...Array(4).fill("ArrowRight"), "8");
      await proof.keys("#page", ...Array(6).fill("ArrowLeft"));
      await proof.compareDots(dots, 2000);
    }
    await setWay(proof);
    await proof.keys("#page", "0", "8");
    await proof.compareDots(tattoo, 5000);
  });

  test("every halftone is inverted as the filter does it", async () => {
    for (const halftone of ["Ordered", "Tattoo_X8"]) {
      await choose(proof, halftone);
      await setWay(proof, "invert");
      const dots = dotsOf(page, page.ways[`InvertPage=True HalftoneType=${halftone}`]);
      await checkFigures(proof, dots);
      await proof.compareDots(dots, 5000);
    }
    await setWay(proof);
    await choose(proof, "Tattoo");
  });

  test("other ways round are there for the job's halftone alone, and it says why", async () => {
    await choose(proof, "Burkes");
    assert.ok(await proof.page.locator("#mirror").isDisabled());
    assert.ok(await proof.page.locator("#half-turn").isDisabled());
    assert.ok(await proof.page.locator("#invert").isEnabled());
    assert.match(await textOf(proof, "#switch-note"), /for “Tattoo stencil” at “Normal” only/);
    await proof.page.locator("#switch-note").scrollIntoViewIfNeeded();
    await proof.page.screenshot({ path: shotPath("desktop-stuck") });
    await proof.page.locator("#switch-note button").click();
    await proof.settled();
    assert.ok(await proof.page.locator("#switch-note").isHidden());
    await setWay(proof, "mirror");
    assert.equal(await proof.page.locator("#halftones input:not(:disabled)").count(), 1);
    assert.match(await textOf(proof, "#halftone-note"), /only with the page the way it was drawn/);
    assert.match(await textOf(proof, "#halftone-note"), /-o StencilMirror=True/);
    await proof.page.screenshot({ path: shotPath("desktop-mirrored") });
    await proof.page.locator("#halftone-note button").click();
    await proof.settled();
    assert.ok(!await proof.page.locator("#mirror").isChecked());
    assert.equal(await proof.page.locator("#halftones input:not(:disabled)").count(), 10);
  });

  test("the heaviest band is shown on demand", async () => {
    await proof.page.locator("#show-heaviest").click();
    await proof.settled();
    const { zoom, y } = await proof.view();
    const { from, to } = tattoo.heaviestBand();
    const { height } = await proof.page.locator("#page").boundingBox();
    assert.ok(Math.abs((from + to) / 2 - y - height / zoom / 2) < 2 / zoom);
  });

  test("says nothing on the console and asks for nothing", () => closeQuietly(proof, page));
});

describe("a small page by mouse and keys", () => {
  const page = config.small;
  const tattoo = dotsOf(page, page.halftones.Tattoo);
  const ink = fs.readFileSync(page.ink);
  let proof;
  before(async () => { proof = await openProof(page, DESKTOP); });

  test("every control is reached by Tab, named, and seen to have the focus", async () => {
    const reached = [];
    for (let i = 0; i < 30; ++i) {
      await proof.page.keyboard.press("Tab");
      const found = await proof.page.evaluate(() => {
        const here = document.activeElement;
        const marked = ["outlineStyle", "outlineWidth"].map((key) => [here, here.parentElement,
          ...here.children].map((part) => getComputedStyle(part)[key]));
        return { id: here.id || here.name, name: here.getAttribute("aria-label") ||
          here.labels?.[0]?.textContent || here.textContent,
        seen: marked[0].some((style, i) => style !== "none" && parseFloat(marked[1][i]) >= 2) };
      });
      if (!found.id) break;
      if (reached.includes(found.id)) continue;
      assert.ok(found.name.trim(), `${found.id} has no name`);
      assert.ok(found.seen, `the focus on ${found.id} is not seen`);
      reached.push(found.id);
    }
    assert.deepEqual(reached, ["zoom-out", "zoom-in", "zoom-fit", "zoom-width", "zoom-one",
      "zoom-dots", "page", "divider", "show-heaviest", "copy", "halftone", "lighter", "brightness",
      "darker", "mirror", "half-turn", "invert"]);
  });

  test("holds every combination", async () => {
    assert.equal(await proof.page.title(), "a <!--<script> & 'c'.ras – proof");
    await proof.page.locator("#brightness").selectOption({ label: "Lighter 20" });
    assert.equal(await proof.page.locator("#halftones input:not(:disabled)").count(), 10);
    assert.ok(await proof.page.locator("#halftone-note").isHidden());
    await proof.page.locator("#brightness").selectOption({ label: "Normal" });
  });

  test("before is at the left of the divider and after at its right", async () => {
    await proof.keys("#page", "8");
    await checkBothSides(0.5);
    const box = await proof.page.locator("#divider").boundingBox();
    const view = await proof.page.locator("#view").boundingBox();
    await proof.page.mouse.move(box.x + box.width / 2, box.y + 200);
    await proof.page.mouse.down();
    await proof.page.mouse.move(view.x + view.width * 0.7, box.y + 260, { steps: 4 });
    await proof.page.mouse.up();
    await proof.settled();
    await checkBothSides(0.7);
    await proof.page.screenshot({ path: shotPath("divider") });
    await proof.keys("#divider", "PageDown", "PageDown", "ArrowLeft", "ArrowLeft");
    await checkBothSides(0.46);
    assert.equal(await proof.page.locator("#divider").getAttribute("aria-valuenow"), "46");
    await proof.keys("#divider", "End");
    assert.equal(await proof.page.locator("#divider").getAttribute("aria-valuetext"),
      "100 % before, 0 % after");
    await proof.keys("#divider", "Home", "PageUp", "PageUp", "PageUp", "PageUp", "PageUp");
  });

  async function checkBothSides(split) {
    const { width } = await proof.page.locator("#page").boundingBox();
    const divide = Math.round(width * split);
    const before = await proof.compare((x, y) => 255 - ink[y * page.inkWidth + x],
      { width: page.inkWidth, rows: page.rows }, { left: 0, top: 50, right: divide - 30 });
    const after = await proof.compare((x, y) => tattoo.isDot(x, y) ? 0 : 255, tattoo,
      { left: divide + 30, top: 50 }, 1);
    assert.ok(before > 1500 && after > 1500, `${before} and ${after} dots`);
  }

  test("the page before lies as its dots do", async () => {
    const { inkWidth: width, rows } = page;
    const lies = waysOf(width, rows);
    await proof.keys("#divider", "End");
    const box = await proof.page.locator("#page").boundingBox();
    for (const [ids, place] of Object.entries(lies)) {
      await setWay(proof, ...ids.split(" "));
      const inkAt = (x, y) => {
        const [inkX, inkY] = place(x, y);
        return ink[inkY * width + inkX];
      };
      await proof.keys("#page", "0", "8");
      const before = await proof.compare((x, y) => 255 - inkAt(x, y), { width, rows },
        { left: 60, top: 50, right: Math.round(box.width) - 30 });
      assert.ok(before > 5000, `${before} pixels`);
      await proof.keys("#page", "0"); // no key makes so small a page smaller than its dots
      await proof.page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
      await proof.page.mouse.wheel(0, 5000);
      await proof.page.waitForFunction(() => Number(document.getElementById("stage").dataset.zoom) < 1);
      await proof.settled();
      await proof.compareMeans({ width, rows,
        blackIn: (...edges) => areaIn((x, y) => inkAt(x, y) / 255, ...edges) }, 15_000);
    }
    await setWay(proof);
    await proof.keys("#divider", "Home", ...Array(5).fill("PageUp"));
    await proof.keys("#page", "0", "8");
  });

  test("the mouse drags the page, and the wheel zooms where it is", async () => {
    const from = await proof.view();
    const box = await proof.page.locator("#page").boundingBox();
    const at = { x: box.x + 200, y: box.y + 500 };
    await proof.page.mouse.move(at.x, at.y);
    await proof.page.mouse.down();
    await proof.page.mouse.move(at.x - 80, at.y - 40, { steps: 3 });
    await proof.page.mouse.up();
    await proof.settled();
    const dragged = await proof.view();
    assert.deepEqual([dragged.x, dragged.y], [from.x + 10, from.y + 5]);
    assert.match(await textOf(proof, "#pointer"), /^[\d.]+, [\d.]+ mm · dot \d+, \d+$/);
    await proof.page.mouse.wheel(0, 300);
    await proof.page.waitForFunction((zoom) => Number(document.getElementById("stage").dataset.zoom) < zoom,
      dragged.zoom);
    const zoomed = await proof.view();
    const below = ({ zoom, x, y }) => [x + 120 / zoom, y + 460 / zoom];
    below(zoomed).forEach((dot, i) => assert.ok(Math.abs(dot - below(dragged)[i]) < 1 / zoomed.zoom));
  });

  test("keys move and zoom", async () => {
    await proof.keys("#page", "1");
    const start = await proof.view();
    await proof.keys("#page", "ArrowRight", "ArrowDown");
    const moved = await proof.view();
    assert.ok(moved.x > start.x && moved.y > start.y);
    await proof.keys("#page", "ArrowLeft", "ArrowUp");
    const back = await proof.view();
    assert.ok(Math.abs(back.x - start.x) < 1e-6 && Math.abs(back.y - start.y) < 1e-6);
    await proof.keys("#page", "+");
    assert.equal((await proof.view()).zoom, 2);
    await proof.keys("#page", "-");
    assert.equal((await proof.view()).zoom, 1);
    for (let i = 0; i < 60; ++i) await proof.page.keyboard.press("ArrowRight");
    await proof.settled();
    assert.ok((await proof.view()).x < page.inkWidth, "the page was lost out of sight");
    await proof.keys("#page", "0");
  });

  test("the ruler follows", async () => {
    await proof.keys("#page", "8");
    await checkTicks("#ruler-top", "x", page.inkWidth);
    await checkTicks("#ruler-left", "y", page.rows);
    await proof.keys("#page", "ArrowRight", "ArrowDown");
    await checkTicks("#ruler-top", "x", page.inkWidth);
    await checkTicks("#ruler-left", "y", page.rows);
    await proof.keys("#page", "0");
  });

  // At 8 pixels a dot there is a number each millimetre, whose line spans the ruler.
  async function checkTicks(selector, axis, size) {
    const shot = await proof.shoot(selector);
    const length = axis === "x" ? shot.width : shot.height;
    const levels = [...Array(length).keys()].map((i) => axis === "x" ? shot.at(i, 0) : shot.at(0, i));
    const found = [...levels.keys()].filter((i) => levels[i] < 200);
    const view = await proof.view();
    const expected = [];
    for (let i = 0; i * 300 / 25.4 <= size; ++i) {
      const place = Math.round(i * 300 / 25.4 * view.zoom) - Math.round(view[axis] * view.zoom);
      if (place >= 0 && place < length) expected.push(place);
    }
    assert.ok(expected.length >= 4, `${expected.length} lines`);
    assert.deepEqual(found, expected, selector);
  }

  test("arrow keys go through the halftones", async () => {
    await proof.page.locator('#halftones input[value="Tattoo"]').focus();
    await proof.page.keyboard.press("ArrowDown");
    await proof.settled();
    assert.equal(await textOf(proof, "#coverage"), dotsOf(page, page.halftones.Tattoo_X8).share());
  });

  test("says nothing on the console and asks for nothing", () => closeQuietly(proof, page));
});

describe("a phone, by touch, in the dark", () => {
  const page = config.large;
  const tattoo = dotsOf(page, page.halftones.Tattoo);
  let proof;
  let touch;
  before(async () => {
    proof = await openProof(page, PHONE);
    const session = await proof.page.context().newCDPSession(proof.page);
    touch = async (type, ...points) => {
      await session.send("Input.dispatchTouchEvent", { type,
        touchPoints: points.map(([x, y], id) => ({ x, y, id })) });
      // A finger that leaves at full speed is a fling, which eats the next tap.
      if (type === "touchMove") await proof.page.waitForTimeout(60);
    };
  });

  test("has no more width than the screen", async () => {
    await proof.page.screenshot({ path: shotPath("phone"), fullPage: true });
    const [width, inner] = await proof.page.evaluate(
      () => [document.documentElement.scrollWidth, window.innerWidth]);
    assert.ok(width <= 390 && inner === 390, `${width} of ${inner}`);
  });

  test("the list is reached beside the picture", async () => {
    const bottom = await proof.page.locator("#page").evaluate((box) => box.getBoundingClientRect().bottom);
    for (const halftone of Object.keys(page.halftones)) {
      const row = proof.page.locator(`#halftones label:has(input[value="${halftone}"])`);
      await row.evaluate((label) => label.scrollIntoView({ block: "nearest" }));
      const box = await row.boundingBox();
      // Boxes end within pixels, and lists scroll by whole ones.
      assert.ok(box.y > bottom - 1 && box.y + box.height < 845, `${halftone} at ${box.y}`);
      assert.equal(await proof.page.evaluate(() => window.scrollY), 0);
    }
    assert.ok(bottom > 844 * 0.45, `the picture ends at ${bottom}`);
    assert.equal(await proof.page.locator("#halftones input").first().evaluate(
      (input) => input.closest("section").getBoundingClientRect().top
        < document.getElementById("figures").getBoundingClientRect().top), true);
  });

  test("is dark", async () => {
    const [ground, text] = await proof.page.evaluate(() => [
      getComputedStyle(document.querySelector(".panel")).backgroundColor,
      getComputedStyle(document.body).color].map((value) => Number(/\d+/.exec(value)[0])));
    assert.ok(ground < 60 && text > 200, `${text} on ${ground}`);
    await proof.page.emulateMedia({ colorScheme: "light" });
    const light = await proof.page.locator(".panel").evaluate(
      (panel) => getComputedStyle(panel).backgroundColor);
    assert.equal(light, "rgb(255, 255, 255)");
    await proof.page.emulateMedia({ colorScheme: "dark" });
  });

  test("two fingers zoom", async () => {
    const before = await proof.view();
    await touch("touchStart", [180, 300], [180, 340]);
    for (const apart of [40, 60, 80]) await touch("touchMove", [180, 320 - apart], [180, 320 + apart]);
    await touch("touchEnd");
    await proof.settled();
    const { zoom } = await proof.view();
    assert.ok(Math.abs(zoom / before.zoom - 4) < 0.2, `${before.zoom} to ${zoom}`);
  });

  test("one finger moves the page, and the browser does not scroll", async () => {
    const before = await proof.view();
    await touch("touchStart", [100, 300]);
    for (const way of [10, 20, 30, 40]) await touch("touchMove", [100 - way, 300 - 2 * way]);
    await touch("touchEnd");
    await proof.settled();
    const { zoom, x, y } = await proof.view();
    assert.ok(Math.abs((x - before.x) * zoom - 80) < 2 && Math.abs((y - before.y) * zoom - 160) < 2);
    assert.equal(await proof.page.evaluate(() => window.scrollY), 0);
  });

  test("a finger moves the divider", async () => {
    const view = await proof.page.locator("#view").boundingBox();
    const middle = view.x + view.width / 2;
    await touch("touchStart", [middle, 400]);
    for (const way of [10, 40, 80]) await touch("touchMove", [middle - way, 400]);
    await touch("touchEnd");
    await proof.settled();
    const expected = Math.round(100 * (0.5 - 80 / view.width));
    assert.equal(await proof.page.locator("#divider").getAttribute("aria-valuenow"), String(expected));
  });

  test("a tap chooses a halftone, and a screen with finer pixels shows its dots", async () => {
    await proof.page.locator("#zoom-dots").tap();
    await proof.page.waitForFunction(() => document.getElementById("stage").dataset.zoom === "8");
    await proof.page.locator("#halftones label").nth(4).tap();
    await proof.settled();
    const halftone = await proof.page.locator("#halftones input:checked").getAttribute("value");
    const dots = dotsOf(page, page.halftones[halftone]);
    assert.notEqual(halftone, "Tattoo");
    assert.equal(await textOf(proof, "#coverage"), dots.share());
    await proof.keys("#divider", "Home");
    await proof.compareDots(dots, 3000);
    await proof.keys("#divider", "PageUp", "PageUp", "PageUp", "PageUp", "PageUp");
    await proof.page.evaluate(() => window.scrollTo(0, 0));
    await proof.page.screenshot({ path: shotPath("phone-dots") });
    await proof.page.locator("#halftones label").first().tap();
    await proof.settled();
    assert.equal(await textOf(proof, "#coverage"), tattoo.share());
  });

  test("buttons are large enough for fingers", async () => {
    const boxes = await proof.page.locator("button:visible:not(.link), select, label.choice").evaluateAll(
      (list) => list.map((one) => [one.id || one.className, one.getBoundingClientRect().height]));
    for (const [name, height] of boxes) assert.ok(height >= 38, `${name}: ${height}`);
  });

  test("a tap mirrors the page", async () => {
    await proof.page.locator("label", { hasText: "Mirrored" }).tap();
    await proof.settled();
    await proof.page.locator("#mirror").scrollIntoViewIfNeeded();
    await proof.page.screenshot({ path: shotPath("phone-switches") });
    await proof.page.evaluate(() => window.scrollTo(0, 0));
    await proof.keys("#divider", "Home");
    await proof.compareDots(dotsOf(page, page.ways["StencilMirror=True"]), 3000);
  });

  test("says nothing on the console and asks for nothing", () => closeQuietly(proof, page));
});

describe("a trimmed job that is mirrored and inverted", () => {
  const page = config.trimmed;
  const asked = dotsOf(page, page.asked);
  let proof;
  before(async () => { proof = await openProof(page, DESKTOP); });

  test("opens as it was asked for, at its place on the page", async () => {
    for (const [id, on] of [["mirror", true], ["half-turn", false], ["invert", true]])
      assert.equal(await proof.page.locator(`#${id}`).isChecked(), on, id);
    await checkFigures(proof, asked);
    const millimetres = (rows) => `${(rows * 25.4 / 300).toFixed(1)} mm`;
    assert.equal(await textOf(proof, "#paper-length"), millimetres(page.rows));
    assert.equal(await textOf(proof, "#paper-saved"),
      `${millimetres(page.pageRows - page.rows)} of blank paper left out`);
    await proof.keys("#divider", "Home");
    await proof.keys("#page", "8");
    await proof.compareDots(asked, 3000, page.from);
    await proof.page.screenshot({ path: shotPath("trimmed") });
  });

  test("shows the page as drawn too", async () => {
    await setWay(proof);
    await proof.compareDots(dotsOf(page, page.plain), 3000, page.from);
    await checkFigures(proof, dotsOf(page, page.plain));
  });

  test("says nothing on the console and asks for nothing", () => closeQuietly(proof, page));
});

describe("a page that was prepared", () => {
  const page = config.prepared;
  let proof;
  before(async () => { proof = await openProof(page, DESKTOP); });

  test("is cleaned or not, and drawn in lines or not", async () => {
    await proof.keys("#divider", "Home");
    await proof.keys("#page", "8");
    for (const [switches, dots] of Object.entries(page.dots)) {
      for (const id of ["clean", "lines"])
        await proof.page.locator(`#${id}`).setChecked(switches.includes(id));
      await proof.settled();
      await checkFigures(proof, dotsOf(page, dots));
      await proof.compareDots(dotsOf(page, dots), 3000);
      const asked = switches.split(" ").filter(Boolean).map((one) => `--${one} `).join("");
      assert.ok((await textOf(proof, "#prints-with")).startsWith(
        `drav prepare art.png --model dravr582 --paper X48MMY100MM ${asked}-O - | lp -d QUEUE `));
    }
    await proof.page.screenshot({ path: shotPath("prepared") });
  });

  test("says nothing on the console and asks for nothing", () => closeQuietly(proof, page));
});

test("a page before that is half as large lies as its dots do", async () => {
  const page = config.shrunk;
  const { width, rows } = page;
  const ink = fs.readFileSync(page.ink);
  const lies = { "": (x, y) => [x, y], ...waysOf(width, rows) };
  const proof = await openProof(page, DESKTOP);
  assert.match(await textOf(proof, "#notes"), /reduced to 1\/2\./);
  await proof.keys("#divider", "End");
  const box = await proof.page.locator("#page").boundingBox();
  for (const [ids, place] of Object.entries(lies)) {
    await setWay(proof, ...ids.split(" "));
    // The mean of the four pixels of which one lies here.
    const inkAt = (x, y) => {
      const [inkX, inkY] = place(x, y);
      const at = (inkY - inkY % 2) * width + inkX - inkX % 2;
      return (ink[at] + ink[at + 1] + ink[at + width] + ink[at + width + 1]) / 4;
    };
    await proof.keys("#page", "0", "-"); // away from the knob of the slider
    await proof.compareMeans({ width, rows,
      blackIn: (...edges) => areaIn((x, y) => inkAt(x, y) / 255, ...edges) }, 100_000);
    await proof.keys("#page", "8");
    const before = await proof.compare((x, y) => 255 - inkAt(x, y), { width, rows },
      { left: 60, top: 50, right: Math.round(box.width) - 30 });
    assert.ok(before > 5000, `${before} pixels`);
  }
  await closeQuietly(proof, page);
});

test("a page without ink is not inverted", async () => {
  const page = config.blank;
  const proof = await openProof(page, DESKTOP);
  assert.ok(await proof.page.locator("#invert").isChecked());
  await proof.keys("#divider", "Home");
  await proof.keys("#page", "8");
  await proof.compareDots(dotsOf(page, page.asked), 3000);
  assert.equal(await textOf(proof, "#heaviest"), "no ink at all");
  await closeQuietly(proof, page);
});

test("a desktop in the dark", async () => {
  const proof = await openProof(config.large, { ...DESKTOP, colorScheme: "dark" });
  await proof.keys("#divider", "ArrowRight");
  await proof.page.screenshot({ path: shotPath("desktop-dark") });
  await closeQuietly(proof, config.large);
});

// Layout falls between the screen's pixels there; the dots must not.
test("a screen with one and a half pixels for one", async () => {
  const page = config.small;
  const proof = await openProof(page, { ...DESKTOP, deviceScaleFactor: 1.5 });
  await proof.keys("#divider", "Home");
  for (const key of ["8", "1"]) {
    await proof.keys("#page", key);
    await proof.compareDots(dotsOf(page, page.halftones.Tattoo), 10_000);
  }
  await closeQuietly(proof, page);
});
