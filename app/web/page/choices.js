// SPDX-License-Identifier: Apache-2.0
// What can be chosen on the queue that is chosen, and what is.

const SWITCH_NAMES = ["mirror", "half-turn", "invert"];
const STEPPER_NAMES = ["brightness", "contrast"];

let queues = [];
let queue = null; // the one that is chosen
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
  const size = say("{width} × {length} mm",
    { width: formatNumber(width, 0), length: formatNumber(length, 0) });
  if (isRoll) return say("Roll {size}", { size });
  const known = /^(?:iso|na|om)_([a-z0-9]+)/.exec(name)[1];
  return `${known.length < 3 ? known.toUpperCase() : known[0].toUpperCase() + known.slice(1)}, ${size}`;
}

function paperValue({ width, length }) {
  return `${Math.round(width * 100)}x${Math.round(length * 100)}`;
}

function makePapers() {
  const select = byId("paper");
  select.replaceChildren(...queue.papers.map((one) => new Option(paperLabel(one), paperValue(one))));
  if (![...select.options].some(({ value }) => value === queue.paper)) {
    const [width, length] = queue.paper.split("x").map((side) => Number(side) / 100);
    select.append(new Option(paperLabel({ width, length, isRoll: true }), queue.paper));
  }
  select.value = queue.paper;
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
  for (const id of ["paper", "turn", "clean", "lines"]) byId(id).addEventListener("change", refresh);
  for (const id of ["width", "page-number"])
    byId(id).addEventListener("input", ({ target }) => {
      if (target.checkValidity() && target.value !== "") refresh();
    });
}

// What makes the page, and what makes its dots: fields of a request.
function pageFields() {
  const size = byId("size").value;
  return {
    queue: String(queue.id), paper: byId("paper").value,
    size: size === "width" ? String(Math.round(Number(byId("width").value) * 100)) : size,
    turn: byId("turn").value, clean: String(byId("clean").checked),
    lines: String(byId("lines").checked),
    page: byId("page-field").hidden ? "1" : byId("page-number").value,
  };
}

function allFields() {
  return { ...pageFields(), ...picked };
}
