#pragma once

namespace cvtwalk {

/// The parts of the page that are the same on every host.
namespace HtmlAssets {

inline constexpr const char* kHead = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta http-equiv="Content-Security-Policy"
      content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; base-uri 'none'; form-action 'none'">
<meta name="referrer" content="no-referrer">
)html";

inline constexpr const char* kStyle = R"css(<style>
:root { color-scheme: light dark; --paper: #fbfbf9; --card: #ffffff; --ink: #1d2329; --soft: #525c66; --line: #d5d9dd;
  --link: #0b5cad; --bar: #2a7d4f; --warning: #96590a; --bad: #b3261e; --track: #e3e6e8; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #14181c; --card: #1c2227; --ink: #e8ebee; --soft: #aab4be; --line: #39424a; --link: #8cc2ff;
    --bar: #5fc48f; --warning: #f0b35c; --bad: #ff8a80; --track: #39424a; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
header, main, footer { max-width: 72rem; margin: 0 auto; padding: 0 1rem; }
header { padding-top: 1.5rem; }
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0 0 .25rem; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; }
p { margin: .25rem 0 .75rem; }
.soft { color: var(--soft); }
a { color: var(--link); }
.skip { position: absolute; left: -100rem; }
.skip:focus { left: 1rem; top: 1rem; background: var(--card); padding: .5rem 1rem; }
:focus-visible { outline: 3px solid var(--link); outline-offset: 2px; }
nav ul { display: flex; flex-wrap: wrap; gap: .25rem 1rem; list-style: none; padding: 0; margin: .75rem 0 0; }
.glance { display: grid; grid-template-columns: repeat(auto-fit, minmax(10rem, 1fr)); gap: .75rem; margin: 1rem 0;
  padding: 0; }
.glance > div { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; padding: .6rem .8rem; }
.glance dt { color: var(--soft); font-size: .85rem; }
.glance dd { margin: 0; font-size: 1.15rem; font-variant-numeric: tabular-nums; overflow-wrap: anywhere; }
.scroll { overflow-x: auto; border: 1px solid var(--line); border-radius: .5rem; background: var(--card); }
table { border-collapse: collapse; width: 100%; font-size: .92rem; }
caption { text-align: left; padding: .5rem .6rem; color: var(--soft); }
th, td { text-align: left; padding: .35rem .6rem; border-top: 1px solid var(--line); vertical-align: top; }
thead th { border-top: 0; white-space: nowrap; }
td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
td.t { overflow-wrap: anywhere; min-width: 5rem; }
td.u { white-space: nowrap; }
th button { font: inherit; font-weight: 700; color: inherit; background: none; border: 0; padding: 0; cursor: pointer; }
th[aria-sort=ascending] button::after { content: " \25B2"; }
th[aria-sort=descending] button::after { content: " \25BC"; }
.bar { display: inline-block; width: 8rem; max-width: 30vw; height: .7rem; border-radius: .35rem; background: var(--track);
  overflow: hidden; margin-right: .5rem; vertical-align: baseline; }
.bar > span { display: block; height: 100%; background: var(--bar); }
.bar > .warning { background: var(--warning); }
.bar > .bad { background: var(--bad); }
.tools { display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: end; margin: 0 0 .5rem; }
.tools label { display: block; font-size: .85rem; color: var(--soft); }
input { font: inherit; color: inherit; background: var(--card); border: 1px solid var(--soft); border-radius: .35rem;
  padding: .35rem .5rem; width: 16rem; max-width: 90vw; }
footer { padding-bottom: 2rem; margin-top: 2rem; }
@media (max-width: 40rem) {
  .bar { width: 3.5rem; }
  th, td { padding: .3rem .4rem; }
  table { font-size: .85rem; }
}
@media print { .tools, nav, .skip { display: none; } }
</style>
)css";

/// Search and sorting of tables; without scripts the page is still complete, and the tools are hidden.
inline constexpr const char* kScript = R"js(<script>
"use strict";
for (const tools of document.querySelectorAll(".tools")) {
  const table = document.getElementById(tools.dataset.table);
  const body = table.tBodies[0];
  const rows = Array.from(body.rows);
  const input = tools.querySelector("input");
  const status = tools.querySelector("[role=status]");
  const search = () => {
    const wanted = input.value.toLowerCase();
    let shown = 0;
    for (const row of rows) {
      row.hidden = !row.textContent.toLowerCase().includes(wanted);
      shown += row.hidden ? 0 : 1;
    }
    status.textContent = shown + " of " + rows.length + " shown";
  };
  input.addEventListener("input", search);
  tools.hidden = false;
  search();
  Array.from(table.tHead.rows[0].cells).forEach((head, place) => {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = head.textContent;
    head.textContent = "";
    head.append(button);
    const key = (row) => {
      const cell = row.cells[place];
      return cell.dataset.v === undefined ? cell.textContent.toLowerCase() : Number(cell.dataset.v);
    };
    button.addEventListener("click", () => {
      const first = head.classList.contains("n") ? "descending" : "ascending";
      const other = first === "ascending" ? "descending" : "ascending";
      const order = head.getAttribute("aria-sort") === first ? other : first;
      for (const each of table.tHead.rows[0].cells) { each.removeAttribute("aria-sort"); }
      head.setAttribute("aria-sort", order);
      const sign = order === "ascending" ? 1 : -1;
      rows.sort((a, b) => {
        const x = key(a), y = key(b);
        return x < y ? -sign : x > y ? sign : 0;
      });
      body.append(...rows);
    });
  });
}
</script>
)js";

}  // namespace HtmlAssets

}  // namespace cvtwalk
