// The theme, the menu of narrow pages, a button that copies code, and the search. Without it, all pages can be read.
"use strict";

const root = document.body.dataset.root;

function setUpTheme() {
  const button = document.getElementById("theme");
  const names = { auto: "Auto", light: "Light", dark: "Dark" };
  const current = () => document.documentElement.dataset.theme || "auto";
  const show = () => {
    button.querySelector("span").textContent = names[current()];
    button.title = "Colours: " + names[current()] + ". Press for the next.";
  };
  button.hidden = false;
  button.addEventListener("click", () => {
    const order = ["auto", "light", "dark"];
    const next = order[(order.indexOf(current()) + 1) % order.length];
    if (next === "auto") delete document.documentElement.dataset.theme;
    else document.documentElement.dataset.theme = next;
    try { localStorage.setItem("theme", next); } catch (error) { /* lasts as long as the page */ }
    show();
  });
  show();
}

function setUpMenu() {
  const link = document.querySelector(".open-menu");
  link.addEventListener("click", (event) => {
    event.preventDefault();
    const isOpen = document.body.classList.toggle("menu-open");
    link.textContent = isOpen ? "Close" : "Menu";
  });
}

function setUpCopying() {
  for (const pre of document.querySelectorAll(".codehilite pre")) {
    const button = document.createElement("button");
    button.type = "button";
    button.className = "copy";
    button.textContent = "Copy";
    button.addEventListener("click", async () => {
      button.textContent = (await copy(pre.textContent.trimEnd() + "\n")) ? "Copied" : "Not copied";
      setTimeout(() => { button.textContent = "Copy"; }, 1500);
    });
    pre.parentElement.append(button);
  }
}

async function copy(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch (error) {
    const area = document.createElement("textarea");
    area.value = text;
    document.body.append(area);
    area.select();
    const isCopied = document.execCommand("copy");
    area.remove();
    return isCopied;
  }
}

// The index is a script: pages that are opened from a file may load nothing else.
let loading = null;
function loadIndex() {
  loading = loading || new Promise((done, failed) => {
    const script = document.createElement("script");
    script.src = root + "search-index.js";
    script.onload = () => done(window.searchIndex);
    script.onerror = failed;
    document.head.append(script);
  });
  return loading;
}

function score(entry, words) {
  const title = entry.t.toLowerCase(), page = entry.p.toLowerCase(), text = entry.x.toLowerCase();
  let sum = entry.k === "Inside" ? -3 : 0;
  for (const word of words) {
    if (title === word) sum += 60;
    else if (title.startsWith(word)) sum += 30;
    else if (title.includes(word)) sum += 18;
    else if (page.includes(word)) sum += 8;
    else if (text.includes(word)) sum += 2 + (text.indexOf(word) < 200 ? 2 : 0);
    else return -Infinity;
  }
  return sum - title.length / 100;
}

function excerpt(text, words) {
  const at = Math.max(0, ...words.map((word) => text.toLowerCase().indexOf(word)));
  const begin = Math.max(0, at - 40);
  return (begin ? "…" : "") + text.slice(begin, begin + 130) + (begin + 130 < text.length ? "…" : "");
}

function result(entry, words) {
  const link = document.createElement("a");
  link.href = root + entry.u;
  link.setAttribute("role", "option");
  for (const [tag, text] of [["b", entry.t], ["small", entry.p === entry.t ? entry.k : entry.p], ["span", excerpt(entry.x, words)]]) {
    const part = document.createElement(tag);
    part.textContent = text;
    link.append(part);
  }
  return link;
}

function setUpSearch() {
  const field = document.getElementById("search"), found = document.getElementById("found");
  field.hidden = false;
  const close = () => { found.hidden = true; };
  async function search() {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    if (!words.length) return close();
    const index = await loadIndex();
    const best = index.map((entry) => [score(entry, words), entry]).filter(([points]) => points > -Infinity)
      .sort((one, other) => other[0] - one[0]).slice(0, 12);
    found.replaceChildren(...best.map(([, entry]) => result(entry, words)));
    if (!best.length) found.textContent = "Nothing found";
    found.hidden = false;
  }
  field.addEventListener("focus", loadIndex);
  field.addEventListener("input", search);
  document.addEventListener("click", (event) => { if (!event.target.closest(".search")) close(); });
  document.addEventListener("keydown", (event) => {
    const isTyping = /^(INPUT|TEXTAREA)$/.test(document.activeElement.tagName);
    if (event.key === "/" && !isTyping) { event.preventDefault(); field.focus(); }
    if (event.key === "Escape") { close(); field.blur(); }
    if (found.hidden || !["ArrowDown", "ArrowUp", "Enter"].includes(event.key)) return;
    const links = [...found.querySelectorAll("a")], at = links.indexOf(document.activeElement);
    if (event.key === "Enter") { if (at < 0 && links.length) links[0].click(); return; }
    event.preventDefault();
    const next = at + (event.key === "ArrowDown" ? 1 : -1);
    if (next < 0) field.focus(); else if (links[next]) links[next].focus();
  });
}

setUpTheme();
setUpMenu();
setUpCopying();
setUpSearch();
// For links to a search, as `index.html?q=retry`.
const asked = new URLSearchParams(location.search).get("q");
if (asked) {
  const field = document.getElementById("search");
  field.value = asked;
  field.dispatchEvent(new Event("input"));
}
