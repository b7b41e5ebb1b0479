// SPDX-License-Identifier: Apache-2.0
// What the file holds: figures, and pictures that are decoded when they are wanted.

const proofData = JSON.parse(document.getElementById("data").textContent);
const catalogue = {}; // English alone
const MOST_DECODED = 4; // pictures; one of A4 takes 34 MB

const decoded = new Map(); // data address -> promise of an image, the latest used last

function loadPicture(address) {
  const known = decoded.get(address);
  decoded.delete(address);
  const picture = known ?? decodePicture(address);
  decoded.set(address, picture);
  for (const oldest of decoded.keys()) {
    if (decoded.size <= MOST_DECODED) break;
    if (oldest !== proofData.original.png) decoded.delete(oldest);
  }
  return picture;
}

async function decodePicture(address) {
  const image = new Image();
  image.src = address;
  await image.decode();
  return image;
}

// The proof of a choice, which InvertPage does not change: the browser inverts.
function findProof(choice) {
  return proofData.proofs.find((proof) =>
    ["halftone", "brightness", "mirrored", "halfTurn", "clean", "lines"].every(
      (key) => proof[key] === choice[key]));
}

// The way round of the job, and how its page is prepared.
function jobsWay() {
  const { inverted, ...way } = proofData.jobsWay;
  return way;
}

function isJobsWay(choice) {
  return Object.entries(jobsWay()).every(([key, value]) => choice[key] === value);
}

// The page that a choice is made of: as the job prepares it, or otherwise.
function pageOf({ clean, lines }) {
  return proofData.others?.find((page) => page.clean === clean && page.lines === lines) ?? proofData;
}

const CHOSEN_HERE = ["halftonetype", "brightness", "stencilmirror", "halfturn", "invertpage"];

// As a shell takes it.
function quoted(text) {
  return /^[\w=.,:+@%/-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`;
}

// What prints a choice, with all else that was asked of the proof.
function commandOf(choice) {
  const others = proofData.given.filter(([name]) => !CHOSEN_HERE.includes(name.toLowerCase()))
    .map(([name, value]) => `-o ${quoted(`${name}=${value}`)}`);
  return [...prepareOf(choice), "lp -d QUEUE", optionsOf(choice), ...others].join(" ");
}

// What makes the page of a choice, for a pipe into lp; nothing for a page that is not prepared.
function prepareOf(choice) {
  const { title, prepare } = proofData;
  if (!prepare) return [];
  return ["drav prepare", quoted(title), ...prepare.map(quoted), ...switchesOf(choice), "-O - |"];
}

function switchesOf(choice) {
  return ["clean", "lines"].filter((key) => choice[key]).map((key) => `--${key}`);
}

// The options of a choice.
function optionsOf(choice) {
  const { halftones, brightnesses, switches } = proofData;
  const options = [["HalftoneType", halftones[choice.halftone].name],
    ["Brightness", brightnesses[choice.brightness].name]];
  for (const [key, name] of [["mirrored", "StencilMirror"], ["halfTurn", "HalfTurn"],
    ["inverted", "InvertPage"]])
    if (switches[key]) options.push([name, choice[key] ? "True" : "False"]);
  return options.filter(([, value]) => value).map(([name, value]) => `-o ${name}=${value}`).join(" ");
}
