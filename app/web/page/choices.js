// SPDX-License-Identifier: Apache-2.0
// What can be chosen on the queue that is chosen, and what is.

const SWITCH_NAMES = ["mirror", "half-turn", "invert"];
const STEPPER_NAMES = ["brightness", "contrast"];

let queues = [];
let queue = null; // the one that is chosen
let papers = []; // that are offered on it
const picked = {}; // of the queue's options: attribute -> value

function labelOf(option, choice) {
  return say(OPTION_LABELS[option]?.[choice] ?? choice);
}

function findOption(name) {
  return queue.options.find((one) => one.name === name);
}

function makeQueues({ queues: all, default: standard }) {
  queues = all;
  byId("queue").replaceChildren(...queues.map(({ id, name }) => new Option(name, String(id))));
  const first = queues.find(({ id }) => id === standard) ?? queues[0];
  if (first) byId("queue").value = String(first.id);
}

function paperLabel({ name, width, length, isRoll }) {
  if (isRoll)
    return say("Roll, {width} mm wide", { width: formatNumber(width, Number.isInteger(width) ? 0 : 1) });
  const size = say("{width} × {length} mm",
    { width: formatNumber(width, 0), length: formatNumber(length, 0) });
  const known = /^(?:iso|na|om)_([a-z0-9]+)/.exec(name)[1];
  return `${known.length < 3 ? known.toUpperCase() : known[0].toUpperCase() + known.slice(1)}, ${size}`;
}

function paperValue({ width, length }) {
  return `${Math.round(width * 100)}x${Math.round(length * 100)}`;
}

// A page on a roll is as long as what stands on it, or as is said apart: a roll is offered
// once for its width, the queue's own where it has one.
function findPapers() {
  const [width, length] = queue.paper.split("x").map((side) => Number(side) / 100);
  const isOwn = (one) => paperValue(one) === queue.paper;
  const all = queue.papers.some(isOwn) ? queue.papers
    : [...queue.papers, { width, length, isRoll: true }];
  const rolls = new Map();
  for (const one of all)
    if (one.isRoll && (isOwn(one) || !rolls.has(one.width))) rolls.set(one.width, one);
  return all.filter((one) => !one.isRoll || rolls.get(one.width) === one);
}

function isOnRoll() {
  return papers.find((one) => paperValue(one) === byId("paper").value).isRoll;
}

function showLength() {
  byId("length-field").hidden = !isOnRoll();
}

function makePapers() {
  papers = findPapers();
  byId("paper").replaceChildren(...papers.map((one) => new Option(paperLabel(one), paperValue(one))));
  byId("paper").value = queue.paper;
  setNumber("length", "");
  showLength();
}

function makeHalftoneChoices(refresh) {
  const option = findOption("halftone-type");
  byId("halftones").replaceChildren(...option.values.map(({ value, choice }) =>
    choiceRow("halftone", value, labelOf(option.option, choice), () => {
      picked["halftone-type"] = value;
      refresh();
    })));
  byId("halftones").querySelector(`[value="${picked["halftone-type"]}"]`).checked = true;
}

function makeStepper(name) {
  const option = findOption(name);
  byId(name).closest("section").hidden = !option;
  if (!option) return;
  byId(name).replaceChildren(...option.values.map(({ value, choice }) =>
    new Option(labelOf(option.option, choice), value)));
  byId(name).value = picked[name];
  showStepper(name);
}

function showStepper(name) {
  const { selectedIndex, options } = byId(name);
  byId(`${name}-less`).disabled = selectedIndex <= 0;
  byId(`${name}-more`).disabled = selectedIndex >= options.length - 1;
}

function makeSwitchChoices() {
  for (const name of SWITCH_NAMES) {
    byId(name).closest("label").hidden = !findOption(name);
    byId(name).checked = picked[name] === "true";
  }
}

// Offers what the queue has, with its defaults.
function takeQueue(refresh) {
  queue = queues.find(({ id }) => String(id) === byId("queue").value);
  for (const name of Object.keys(picked)) delete picked[name];
  for (const { name } of queue.options) picked[name] = queue.defaults[name];
  makePapers();
  makeHalftoneChoices(refresh);
  STEPPER_NAMES.forEach(makeStepper);
  makeSwitchChoices();
}

function listenToStepper(name, refresh) {
  const select = byId(name);
  const take = () => {
    picked[name] = select.value;
    showStepper(name);
    refresh();
  };
  const step = (by) => () => {
    select.selectedIndex += by;
    take();
  };
  select.addEventListener("change", take);
  byId(`${name}-less`).addEventListener("click", step(-1));
  byId(`${name}-more`).addEventListener("click", step(1));
}

function listenToChoices(refresh) {
  byId("queue").addEventListener("change", () => {
    takeQueue(refresh);
    refresh();
  });
  STEPPER_NAMES.forEach((name) => listenToStepper(name, refresh));
  for (const name of SWITCH_NAMES)
    byId(name).addEventListener("change", ({ target }) => {
      picked[name] = String(target.checked);
      refresh();
    });
  byId("size").addEventListener("change", ({ target }) => {
    byId("width-field").hidden = target.value !== "width";
    refresh();
  });
  byId("paper").addEventListener("change", showLength);
  for (const id of ["paper", "turn", "clean", "lines"]) byId(id).addEventListener("change", refresh);
  for (const id of ["width", "length", "page-number"])
    byId(id).addEventListener("input", ({ target }) => {
      if (!target.checkValidity()) return;
      target.dataset.good = target.value;
      refresh();
    });
}

// What a field for a number said last that it may say.
function numberIn(id) {
  return byId(id).dataset.good ?? byId(id).defaultValue;
}

function setNumber(id, text) {
  byId(id).value = byId(id).dataset.good = text;
}

function hundredths(id) {
  return String(Math.round(Number(numberIn(id)) * 100));
}

// What makes the page, and what makes its dots: fields of a request.
function pageFields() {
  const size = byId("size").value;
  const hasLength = isOnRoll() && numberIn("length") !== "";
  return {
    queue: String(queue.id), paper: byId("paper").value,
    ...(hasLength ? { length: hundredths("length") } : {}),
    size: size === "width" ? hundredths("width") : size,
    turn: byId("turn").value, clean: String(byId("clean").checked),
    lines: String(byId("lines").checked),
    page: byId("page-field").hidden ? "1" : numberIn("page-number"),
  };
}

function allFields() {
  return { ...pageFields(), ...picked };
}
