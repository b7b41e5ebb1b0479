// SPDX-License-Identifier: Apache-2.0
// Figures of a page and how they are written.

// Dots of the whole proof and of its heaviest band, as they are seen.
function inkOf(proof, choice) {
  return choice.inverted ? proof.inverted : proof;
}

// The size of what is shown: the dots, and what the driver cuts off at their right.
function sheetSize() {
  return {
    width: Math.max(proofData.page.width, proofData.original.width),
    height: Math.max(proofData.page.rows, proofData.original.rows),
  };
}

// Units of the rulers: millimetres, or dots for a page that does not tell its resolution.
function measure() {
  const { dotsPerInchX, dotsPerInchY } = proofData.page;
  if (dotsPerInchX > 0 && dotsPerInchY > 0)
    return { name: "mm", digits: 1, x: dotsPerInchX / 25.4, y: dotsPerInchY / 25.4 };
  return { name: say("dots"), digits: 0, x: 1, y: 1 };
}

const formatted = new Map();

function formatNumber(value, digits) {
  if (!formatted.has(digits))
    formatted.set(digits, new Intl.NumberFormat(document.documentElement.lang, {
      minimumFractionDigits: digits, maximumFractionDigits: digits }));
  return formatted.get(digits).format(value);
}

// "6.0 %"; with more digits where they would all be 0.
function formatShare(black, dots) {
  const percent = dots > 0 ? 100 * black / dots : 0;
  return `${formatNumber(percent, percent > 0 && percent < 0.05 ? 3 : 1)} %`;
}

function formatLength(dots, dotsPerUnit, unit) {
  return `${formatNumber(dots / dotsPerUnit, unit.digits)} ${unit.name}`;
}

// "Burkes" and "photos, light grain" of "Burkes (photos, light grain)".
function splitLabel(label) {
  const parts = /^(.*?)\s*\(([^()]*)\)$/.exec(label);
  return parts ? { name: parts[1], use: parts[2] } : { name: label, use: "" };
}
