// SPDX-License-Identifier: Apache-2.0
// What the page says: English, or what `catalogue` has for it.

// `{name}` in the text stands for a value.
function say(text, values = {}) {
  return (catalogue[text] ?? text).replace(/\{(\w+)\}/g, (whole, name) => values[name] ?? whole);
}
