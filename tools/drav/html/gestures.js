// SPDX-License-Identifier: Apache-2.0
// Mouse, touch and keys on the page and on the divider.

const KEY_SHARE = 0.12; // of the view that an arrow key moves
const WHEEL_PACE = 0.0016;

// Places of an event in screen pixels of the view.
function placeIn(element, event) {
  const box = element.getBoundingClientRect();
  const scale = window.devicePixelRatio || 1;
  return { x: (event.clientX - box.left) * scale, y: (event.clientY - box.top) * scale };
}

// What the fingers, or the mouse, hold: their middle, and how far they are apart.
function gripOf(places) {
  const list = [...places.values()];
  const x = list.reduce((sum, place) => sum + place.x, 0) / list.length;
  const y = list.reduce((sum, place) => sum + place.y, 0) / list.length;
  const spread = list.length < 2 ? 0 : Math.hypot(list[0].x - list[1].x, list[0].y - list[1].y);
  return { x, y, spread };
}

function listenToPointers(page, view, changed) {
  const places = new Map();
  const forget = (event) => {
    places.delete(event.pointerId);
    page.classList.toggle("moving", places.size > 0);
  };
  page.addEventListener("pointerdown", (event) => {
    if (event.button > 1) return;
    page.setPointerCapture(event.pointerId);
    places.set(event.pointerId, placeIn(page, event));
    page.classList.add("moving");
  });
  page.addEventListener("pointermove", (event) => {
    if (!places.has(event.pointerId)) return;
    const before = gripOf(places);
    places.set(event.pointerId, placeIn(page, event));
    const after = gripOf(places);
    view.panBy(before.x - after.x, before.y - after.y);
    if (before.spread > 0 && after.spread > 0)
      view.zoomAt(view.zoom * after.spread / before.spread, after.x, after.y);
    changed();
  });
  for (const name of ["pointerup", "pointercancel", "lostpointercapture"])
    page.addEventListener(name, forget);
}

function listenToWheel(page, view, changed) {
  page.addEventListener("wheel", (event) => {
    event.preventDefault();
    const lines = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 20 : 1;
    const place = placeIn(page, event);
    if (event.shiftKey) view.panBy((event.deltaX + event.deltaY) * lines, 0);
    else view.zoomAt(view.zoom * Math.exp(-event.deltaY * lines * WHEEL_PACE), place.x, place.y);
    changed();
  }, { passive: false });
  page.addEventListener("dblclick", (event) => {
    const place = placeIn(page, event);
    view.step(event.shiftKey ? -1 : 1, place.x, place.y);
    changed();
  });
}

function pageKeys(view) {
  const move = (x, y) => () => view.panBy(x * KEY_SHARE * view.width, y * KEY_SHARE * view.height);
  return {
    ArrowLeft: move(-1, 0), ArrowRight: move(1, 0), ArrowUp: move(0, -1), ArrowDown: move(0, 1),
    PageUp: move(0, -7), PageDown: move(0, 7),
    Home: () => view.centreOn(view.middle().x, 0),
    End: () => view.centreOn(view.middle().x, view.sheet.height),
    "+": () => view.step(1), "=": () => view.step(1), "-": () => view.step(-1),
    0: () => view.fitPage(), 1: () => view.zoomAt(1), 2: () => view.fitWidth(), 8: () => view.zoomAt(8),
  };
}

function listenToKeys(page, view, changed) {
  const keys = pageKeys(view);
  page.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || !Object.hasOwn(keys, event.key)) return;
    event.preventDefault();
    keys[event.key]();
    changed();
  });
}

// `move` takes the place of the divider, from 0 to 1.
function listenToDivider(divider, area, position, move) {
  const follow = (event) => {
    const box = area.getBoundingClientRect();
    move((event.clientX - box.left) / box.width);
  };
  divider.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    divider.setPointerCapture(event.pointerId);
    follow(event);
  });
  divider.addEventListener("pointermove", (event) => {
    if (divider.hasPointerCapture(event.pointerId)) follow(event);
  });
  const steps = { ArrowLeft: -0.02, ArrowDown: -0.02, ArrowRight: 0.02, ArrowUp: 0.02,
    PageDown: -0.1, PageUp: 0.1, Home: -1, End: 1 };
  divider.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || !Object.hasOwn(steps, event.key)) return;
    event.preventDefault();
    move(position() + steps[event.key]);
  });
}
