// SPDX-License-Identifier: Apache-2.0
// The language of the page, and what is shown: the parts of the proof read it here.

// Of the languages that the reader wants, the first that is here.
function findLanguage() {
  for (const tag of navigator.languages) {
    const [language, ...rest] = tag.toLowerCase().split("-");
    if (language === "en") return "";
    if (language === "zh" && rest.some((part) => ["tw", "hk", "mo", "hant"].includes(part))) continue;
    const found = Object.keys(CATALOGUES).find((one) => one.split("_")[0] === language);
    if (found) return found;
  }
  return "";
}

const language = findLanguage();
const catalogue = CATALOGUES[language] ?? {};
document.documentElement.lang = language.replace("_", "-") || "en";

// Says the texts of the page in that language.
function translatePage() {
  const texts = document.createTreeWalker(document.documentElement, NodeFilter.SHOW_TEXT);
  while (texts.nextNode()) {
    const text = texts.currentNode.data.trim();
    if (text) texts.currentNode.data = texts.currentNode.data.replace(text, () => say(text));
  }
  for (const name of ["aria-label", "title", "placeholder", "aria-roledescription"])
    for (const element of document.querySelectorAll(`[${name}]`))
      element.setAttribute(name, say(element.getAttribute(name)));
}

// As drav proof --html has it in its file. A page of A4 until there is another.
const proofData = {
  page: { width: 2400, columns: 2400, rows: 3508, dotsPerInchX: 300, dotsPerInchY: 300 },
  original: { width: 2480, rows: 3508, shrink: 1 },
  lost: { sides: [] },
  jobsWay: { mirrored: false, halfTurn: false, inverted: false },
};

// There is one page at a time, whatever is chosen.
function pageOf() {
  return proofData;
}
