
"use strict";
// The page is whole without this: it narrows down and folds what is there.
{
  const all = (selector, within = document) => [...within.querySelectorAll(selector)];
  const byId = id => document.getElementById(id);
  const items = all(".item").map(element => ({
    element, state: element.dataset.state, stage: element.closest(".stage").dataset.stage, text: null
  }));
  const folds = all("#plan details");
  const number = new Intl.NumberFormat("en");
  let before = null; // what was unfolded before a filter unfolded what it found

  const isShown = (item, text, stage, states) => {
    if ((stage && item.stage !== stage) || (states.size && !states.has(item.state))) return false;
    if (!text) return true;
    item.text ??= item.element.textContent.toLowerCase();
    return item.text.includes(text);
  };

  const unfoldFound = filtering => {
    if (filtering && !before) before = new Map(folds.map(fold => [fold, fold.open]));
    if (filtering) for (const fold of all(".product:not(.out), .stage:not(.out)")) fold.open = true;
    if (!filtering && before) {
      for (const [fold, open] of before) fold.open = open;
      before = null;
    }
  };

  const filter = () => {
    const text = byId("text").value.trim().toLowerCase();
    const stage = byId("stage").value;
    const states = new Set(all(".choice :checked").map(box => box.value));
    const filtering = Boolean(text || stage || states.size);
    let shown = 0;
    const holders = new Set();
    for (const item of items) {
      const found = isShown(item, text, stage, states);
      item.element.classList.toggle("out", !found);
      if (!found) continue;
      ++shown;
      const holder = item.element.closest(".stage");
      holders.add(holder).add(holder.parentElement);
    }
    for (const holder of all(".stage, .product")) holder.classList.toggle("out", filtering && !holders.has(holder));
    unfoldFound(filtering);
    byId("shown").value = `${number.format(shown)} of ${number.format(items.length)} items`;
    byId("nothing").hidden = shown !== 0 || !items.length;
  };

  let waiting = 0;
  byId("text").addEventListener("input", () => {
    clearTimeout(waiting);
    waiting = setTimeout(filter, 120);
  });
  for (const control of all("#stage, .choice input")) control.addEventListener("change", filter);
  const foldAll = open => {
    before = null;
    for (const fold of folds) fold.open = open;
  };
  byId("unfold").addEventListener("click", () => foldAll(true));
  byId("fold").addEventListener("click", () => foldAll(false));

  // Paper shows everything, and can't be unfolded. Browsers that print folded parts from the style alone need no help.
  let printed = [];
  addEventListener("beforeprint", () => {
    printed = all("details:not([open])");
    for (const fold of printed) fold.open = true;
  });
  addEventListener("afterprint", () => {
    for (const fold of printed) fold.open = false;
    printed = [];
  });

  const form = document.querySelector(".controls");
  form.addEventListener("submit", event => event.preventDefault());
  form.hidden = false;
  filter();
}
