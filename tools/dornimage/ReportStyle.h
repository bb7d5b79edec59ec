#ifndef DORNIMAGE_TOOLS_DORNIMAGE_REPORTSTYLE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_REPORTSTYLE_H

/// How the report looks, in light and dark surroundings and on paper.
constexpr char reportStyle[] = R"(
:root { color-scheme: light dark; --back: #f4f5f7; --card: #fff; --text: #1d2530; --faint: #5c6773; --line: #d8dde3;
  --kept: #1f7a4d; --unsure: #9a5b00; --empty: #45609a; --failed: #b3261e; --bar: #5b83c4; }
@media (prefers-color-scheme: dark) { :root { --back: #14181d; --card: #1e242b; --text: #e4e8ed; --faint: #9aa6b2;
  --line: #37414c; --kept: #57c48d; --unsure: #e0a04a; --empty: #90aee8; --failed: #f2837b; --bar: #5f8fd8; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1.5rem; max-width: 76rem; background: var(--back); color: var(--text);
  font: 15px/1.45 system-ui, sans-serif; }
h1 { margin: 0 0 .25rem; font-size: 1.6rem; } h2 { margin: 2rem 0 .75rem; font-size: 1.15rem; }
a { color: inherit; text-underline-offset: .15em; } img { display: block; max-width: 100%; height: auto; background: #fff; }
code { font-size: .9em; overflow-wrap: anywhere; } bdi, dd { overflow-wrap: anywhere; }
.faint, figcaption, dt { color: var(--faint); }
.totals { display: flex; flex-wrap: wrap; gap: .75rem; margin: 1.25rem 0 0; padding: 0; list-style: none; }
.totals li, .card, article { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; }
.totals li { padding: .5rem 1rem; min-width: 6.5rem; } .totals b { display: block; font-size: 1.5rem; line-height: 1.3; }
.card { padding: .75rem 1rem; }
table { border-collapse: collapse; width: 100%; } td { padding: .15rem .75rem .15rem 0; white-space: nowrap; }
td.number { text-align: right; font-variant-numeric: tabular-nums; } td.bar { width: 100%; }
td.bar i { display: block; height: .8rem; min-width: 1px; border-radius: .2rem; background: var(--bar); }
.sheet { display: grid; grid-template-columns: repeat(auto-fill, minmax(7rem, 1fr)); gap: .75rem; margin: 0; padding: 0;
  list-style: none; }
.sheet a { position: relative; display: flex; flex-direction: column; height: 100%; padding: .4rem; background: var(--card);
  border: 2px solid var(--line); border-radius: .4rem; text-decoration: none; }
.sheet .view { display: grid; place-items: center; height: 8.5rem; position: relative; overflow: hidden; }
.sheet img { max-height: 8.5rem; width: auto; box-shadow: 0 0 0 1px var(--line); }
.sheet .label { display: flex; justify-content: space-between; gap: .25rem; margin-top: .3rem; font-size: .85rem; }
.sheet .empty, .sheet .unsure, .sheet .failed { border-color: currentcolor; }
.sheet .empty .view::after { content: ""; position: absolute; inset: 0;
  background: repeating-linear-gradient(135deg, transparent 0 9px, #45609a55 9px 12px); }
.kept .fate, .totals .kept { color: var(--kept); } .unsure .fate, .sheet .unsure, .totals .unsure { color: var(--unsure); }
.empty .fate, .sheet .empty, .totals .empty { color: var(--empty); }
.failed .fate, .sheet .failed, .totals .failed { color: var(--failed); } .fate { font-weight: 600; }
article { display: grid; grid-template-columns: minmax(0, 3fr) minmax(0, 2fr); gap: 0 1.5rem; margin: 0 0 1rem;
  padding: .75rem 1rem 1rem; }
article:target { outline: 2px solid var(--bar); } article h3 { grid-column: 1 / -1; margin: 0 0 .75rem; font-size: 1rem; }
article h3 .fate { float: right; margin-left: 1rem; } .pair { display: flex; gap: 1rem; align-items: flex-start; }
figure { flex: 1 1 0; min-width: 0; margin: 0; } figure img { box-shadow: 0 0 0 1px var(--line); }
figcaption { margin-top: .35rem; font-size: .85rem; }
.none { display: grid; place-items: center; min-height: 6rem; padding: 1rem; color: var(--faint); text-align: center;
  border: 1px dashed var(--line); }
dl { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: .2rem 1rem; margin: 0; align-content: start; }
dd { margin: 0; } dd ul { margin: 0; padding-left: 1.1rem; }
@media (max-width: 46rem) { article { display: block; } dl { margin-top: .75rem; } }
@media print { body { background: none; } article { break-inside: avoid; } }
)";

#endif
