// SPDX-License-Identifier: Apache-2.0
// Prints from the page of the printer application as people do: on a desktop by drop, mouse
// and keys, on a phone by touch.
import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { test } from "node:test";

import { config, DESKTOP, newProof, PHONE, shotPath } from "./screen.mjs";

async function openPage(options) {
  const proof = await newProof(options, 30_000);
  proof.page.on("filechooser", () => {}); // so that no window of the system's opens in between
  await proof.page.goto(config.url);
  await proof.page.locator("body[data-ready]").waitFor();
  return proof;
}

async function closeQuietly(proof) {
  assert.deepEqual(proof.complaints, []);
  for (const url of proof.requests) assert.ok(url.startsWith(config.url), url);
  await proof.page.context().close();
}

function shoot(proof, name) {
  return proof.page.screenshot({ path: shotPath(name) });
}

// Milliseconds until the proof that `act` asks for is on the screen, without the page before.
async function timed(proof, act) {
  await proof.page.evaluate(() => {
    const old = shown.after;
    window.shownAt = new Promise((done) => {
      const look = () => (shown.after !== old ? requestAnimationFrame(() => done(performance.now()))
        : setTimeout(look, 5));
      look();
    });
  });
  const start = await proof.page.evaluate(() => performance.now());
  await act();
  const end = await proof.page.evaluate(() => window.shownAt);
  await proof.page.waitForFunction(() => !document.getElementById("stage").hasAttribute("aria-busy"));
  return Math.round(end - start);
}

async function drop(proof, file) {
  const transfer = await proof.page.evaluateHandle(([name, text]) => {
    const bytes = Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
    const data = new DataTransfer();
    data.items.add(new File([bytes], name, { type: "image/png" }));
    return data;
  }, [path.basename(file), fs.readFileSync(file).toString("base64")]);
  await proof.page.dispatchEvent("#drop", "dragover", { dataTransfer: transfer });
  await proof.page.dispatchEvent("#drop", "drop", { dataTransfer: transfer });
}

async function waitState(proof, state) {
  await proof.page.locator(`#state[data-state="${state}"]`).waitFor();
}

test("a drawing is dropped, changed and printed; the dots are those on the screen", async () => {
  const proof = await openPage(DESKTOP);
  const { page } = proof;
  await shoot(proof, "print-empty");
  assert.equal(await page.locator("#print").isDisabled(), true);
  const first = await timed(proof, () => drop(proof, config.drawing));
  await shoot(proof, "print-desktop");
  assert.equal(await page.title(), "Print a drawing");
  assert.equal(await page.locator("#subtitle").textContent(), path.basename(config.drawing));
  assert.match(await page.locator("#art-size").textContent(), /^202\.9 × 287\.\d mm on paper$/);

  const changes = [await timed(proof, () => page.locator('#halftones input[value="stucki"]').check())];
  changes.push(await timed(proof, async () => {
    await page.locator("#brightness-less").focus();
    await page.keyboard.press("Enter");
  }));
  changes.push(await timed(proof, () => page.locator("#mirror").check()));
  console.log(`proof of a page of A4 after ${first} ms, changes after ${changes} ms`);
  assert.equal(await page.locator("#brightness").inputValue(), "-5");

  await page.locator("#divider").focus();
  await page.keyboard.press("Home");
  await page.locator("#page").focus();
  await page.keyboard.press("1");
  await page.evaluate(() => new Promise((done) => {
    for (const id of ["side-after", "divider", "status"]) document.getElementById(id).hidden = true;
    document.activeElement.blur(); // its outline lies over dots
    requestAnimationFrame(() => requestAnimationFrame(done));
  }));
  await shoot(proof, "print-dots");
  const shot = await proof.shoot();
  const { zoom, x, y } = await proof.view();
  assert.equal(zoom, 1);
  const rows = [];
  for (let row = 0; row < shot.height; ++row)
    for (let column = 0; column < shot.width; ++column) rows.push(shot.at(column, row));
  fs.writeFileSync(path.join(config.folder, "shown.grey"), Buffer.from(rows));
  fs.writeFileSync(path.join(config.folder, "shown.json"), JSON.stringify(
    { x: Math.round(x), y: Math.round(y), width: shot.width, height: shot.height }));

  await page.locator("#print").click();
  await waitState(proof, "completed");
  assert.match(await page.locator("#state").textContent(), /^Printed\. Paper used: 297\.\d mm\.$/);
  await shoot(proof, "print-printed");
  await page.locator("#state").evaluate((element) => { delete element.dataset.state; });
  // The server has forgotten the drawing with its job; the page brings it again.
  await timed(proof, () => page.locator("#invert").check());
  await closeQuietly(proof);
});

test("on a phone, in German and in the dark", async () => {
  const proof = await openPage({ ...PHONE, locale: "de-DE" });
  const { page } = proof;
  await shoot(proof, "print-phone-empty");
  assert.equal(await page.locator("#photo").isVisible(), true);
  assert.equal(await page.locator("#photo").textContent(), "Foto aufnehmen");
  assert.equal(await page.locator("html").getAttribute("lang"), "de");
  const chooser = page.waitForEvent("filechooser");
  await page.locator("#choose").tap();
  await timed(proof, async () => (await chooser).setFiles(config.small));
  assert.equal(await page.locator("#halftones .choice-name").first().textContent(), "Schwellwert");
  await shoot(proof, "print-phone");
  const wide = await page.evaluate(() => document.documentElement.scrollWidth);
  assert.equal(wide, 390);
  const box = await page.locator("#print").boundingBox();
  assert.ok(box.y + box.height <= 844 && box.height >= 44, JSON.stringify(box));
  await page.locator("#print").tap();
  await waitState(proof, "completed");
  assert.match(await page.locator("#state").textContent(), /^Gedruckt\. Papierverbrauch: /);
  await closeQuietly(proof);
});

test("a roll is as long as is said; a job for a printer that is away is cancelled", async () => {
  const proof = await openPage(DESKTOP);
  const { page } = proof;
  await page.locator("#queue").selectOption({ label: "Away" });
  assert.deepEqual(await page.locator("#paper option").allTextContents(),
    ["Roll, 72 mm wide", "Roll, 80 mm wide"]);
  const rows = () => page.evaluate(() => proofData.page.rows);
  const chooser = page.waitForEvent("filechooser");
  await page.locator("#choose").click();
  await timed(proof, async () => (await chooser).setFiles(config.small));
  const ofDrawing = 600; // which is wider than the roll, and turned
  assert.equal(await rows(), ofDrawing);
  await timed(proof, () => page.locator("#length").fill("50.5"));
  const stated = Math.round(50.5 * 203 / 25.4);
  assert.equal(await rows(), stated);
  await shoot(proof, "print-roll");
  await page.locator("#length").fill("5"); // no paper is as short
  await page.locator("#length:invalid").waitFor();
  await timed(proof, () => page.locator("#mirror").check());
  assert.equal(await rows(), stated);
  await timed(proof, () => page.locator("#length").fill(""));
  assert.equal(await rows(), ofDrawing);
  await page.locator("#print").click();
  await page.locator("#state", { hasText: "The drawing waits for its turn. The printer is away or switched off." }).waitFor();
  await shoot(proof, "print-away");
  await page.locator("#cancel").click();
  await waitState(proof, "canceled");
  assert.equal(await page.locator("#state").textContent(), "The print was cancelled.");
  await timed(proof, () => page.locator("#queue").selectOption({ label: "Stencil" }));
  assert.equal(await page.locator("#length").isVisible(), false);
  await closeQuietly(proof);
});

test("in each language the page is as wide as the phone", async () => {
  const titles = new Set();
  for (const locale of ["de-DE", "es-ES", "fr-FR", "ja-JP", "zh-CN"]) {
    const proof = await openPage({ ...PHONE, locale });
    const { page } = proof;
    titles.add(await page.locator("h1").textContent());
    await page.evaluate(() => { // all that can be shown
      document.body.classList.remove("empty");
      for (const id of ["width-field", "length-field", "page-field", "cancel"]) byId(id).hidden = false;
    });
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 390, locale);
    for (const id of ["print", "cancel"])
      assert.ok(await page.locator(`#${id}`).evaluate((one) => one.scrollWidth <= one.clientWidth),
        `${locale}: ${id}`);
    await closeQuietly(proof);
  }
  titles.add("Print a drawing");
  assert.equal(titles.size, 6, [...titles].join());
});

test("by keys alone, with a file that is no drawing first", async () => {
  const proof = await openPage({ ...DESKTOP, colorScheme: "dark" });
  const { page } = proof;
  for (const [file, state] of [[config.text, false], [config.small, true]]) {
    await page.locator("#choose").focus();
    const chooser = page.waitForEvent("filechooser");
    await page.keyboard.press("Enter");
    await (await chooser).setFiles(file);
    if (!state) {
      await page.locator("#trouble").waitFor();
      assert.match(await page.locator("#trouble").textContent(), /^This drawing cannot be printed: /);
      continue;
    }
    await page.locator("#print:enabled").waitFor();
  }
  await shoot(proof, "print-dark");
  // From the page before the panel to the last button.
  await page.locator("#divider").focus();
  const reached = [];
  for (let i = 0; i < 40 && reached.at(-1) !== "print"; ++i) {
    await page.keyboard.press("Tab");
    reached.push(await page.evaluate(() => document.activeElement.id || document.activeElement.name));
  }
  for (const id of ["queue", "paper", "size", "turn", "clean", "lines", "halftone", "brightness",
    "contrast", "mirror", "half-turn", "invert", "copies", "print"])
    assert.ok(reached.includes(id), `${id} is not among ${reached}`);
  await page.keyboard.press("Enter");
  await waitState(proof, "completed");
  assert.equal(proof.complaints.filter((text) => !text.includes("415")).length, 0);
  await page.context().close();
});
