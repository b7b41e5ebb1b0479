// SPDX-License-Identifier: Apache-2.0
// Parts of the panel, and the figures of a page.

function byId(id) {
  return document.getElementById(id);
}

function element(name, className, ...children) {
  const made = document.createElement(name);
  if (className) made.className = className;
  made.append(...children);
  return made;
}

// A choice of several: a radio button, what it is and what for, and room for a figure.
function choiceRow(group, value, label, choose) {
  const input = element("input");
  Object.assign(input, { type: "radio", name: group, value });
  input.addEventListener("change", choose);
  const { name, use } = splitLabel(label);
  const text = element("span", "", element("span", "choice-name", name));
  if (use) text.append(element("span", "choice-use", use));
  return element("label", "choice", input, text, element("span", "choice-share"));
}

function showFigures(proof, chosen) {
  const { width } = proofData.page;
  const { rows } = proof;
  const unit = measure();
  const { black, band } = inkOf(proof, chosen);
  const left = proofData.page.rows - rows;
  const from = proof.row + band.row;
  byId("paper-length").textContent = formatLength(rows, unit.y, unit);
  byId("paper-saved").textContent =
    left > 0
    ? say("{length} of blank paper left out", { length: formatLength(left, unit.y, unit) }) : "";
  byId("coverage").textContent = formatShare(black, width * rows);
  byId("heaviest").textContent =
    band.black ? formatShare(band.black, width * band.rows) : say("no ink at all");
  byId("heaviest-place").textContent = band.black
    ? say("{from} to {to} from the top, {rows} rows", {
      from: formatNumber(from / unit.y, unit.digits),
      to: formatLength(from + band.rows, unit.y, unit), rows: band.rows })
    : "";
  byId("show-heaviest").hidden = !band.black;
}

function showSize(chosen) {
  const { page, original } = proofData;
  const unit = measure();
  const across = unit.name === "mm"
    ? `${say("{length} wide", { length: formatLength(page.width, unit.x, unit) })}, ` : "";
  const rate = page.dotsPerInchX > 0 && page.dotsPerInchY > 0
    ? ` ${say("at {rate} dpi", { rate: page.dotsPerInchX === page.dotsPerInchY
      ? page.dotsPerInchX : `${page.dotsPerInchX} x ${page.dotsPerInchY}` })}` : "";
  byId("page-size").textContent =
    `${across}${say("{columns} × {rows} dots", { columns: page.width, rows: page.rows })}${rate}`;
  const cut = original.width - page.columns;
  if (cut > 0)
    byId("page-size").textContent += `. ${say(chosen.mirrored !== chosen.halfTurn
      ? "The print head is narrower: the left {length} of the drawing do not print."
      : "The print head is narrower: the right {length} of the drawing do not print.",
    { length: formatLength(cut, unit.x, unit) })}`;
}
