#pragma once

// What makes a page of records look and move. It needs no other file, and asks the reader for light or dark.

namespace kyv_internal {

// Parts that belong together have a hue, k0 to k6: full for values, a line below for their offsets.
inline constexpr int kPageHues = 7;

inline constexpr char kPageStyle[] = R"css(
:root { color-scheme: light dark; --ground: #fff; --ink: #1b1f24; --dim: #57606a; --line: #d0d7de; --card: #f6f8fa;
  --bad: #b3261e; --lit: #0b57d0; --strong: 68%; --light: 86%; --edge: 48%; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #0d1117; --ink: #e6edf3; --dim: #9aa4af; --line: #30363d; --card: #161b22;
    --bad: #ff8a80; --lit: #8ab4f8; --strong: 42%; --light: 25%; --edge: 58%; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1.5rem; max-width: 110rem; background: var(--ground); color: var(--ink);
  font: 15px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.5rem; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 1.1rem; margin: 0 0 .75rem; }
h2 small, header p, footer { color: var(--dim); font-weight: normal; }
header p { margin: .25rem 0 0; }
section { margin: 1.5rem 0; padding: 1rem 1.25rem 1.25rem; border: 1px solid var(--line); border-radius: .6rem;
  background: var(--card); }
dl { display: flex; flex-wrap: wrap; gap: .5rem; margin: 0 0 1rem; }
dl div { padding: .3rem .7rem; border: 1px solid var(--line); border-radius: .4rem; background: var(--ground); }
dt { font-size: .75rem; color: var(--dim); }
dd { margin: 0; }
.panes { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-start; }
pre, table { margin: 0; background: var(--ground); border: 1px solid var(--line); border-radius: .4rem; }
pre, .hex, .number, td.text { font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: 13px; }
pre { padding: .6rem .8rem; line-height: 1.75; overflow-x: auto; flex: 0 1 auto; max-width: 100%; }
pre i { font-style: normal; color: var(--dim); }
.values { flex: 1 1 42rem; overflow-x: auto; }
table { border-collapse: separate; border-spacing: 0; width: 100%; }
th, td { padding: .3rem .5rem; font-size: 14px; text-align: left; vertical-align: top; border-bottom: 1px solid var(--line); }
thead th, thead .number { font: .75rem system-ui, sans-serif; color: var(--dim); }
tbody tr:last-child > * { border-bottom: 0; }
tbody th { font-weight: 600; min-width: 6.5rem; overflow-wrap: break-word; }
.number { text-align: right; white-space: nowrap; }
.hex { white-space: nowrap; }
td.text { min-width: 9rem; overflow-wrap: anywhere; }
.k0 { --hue: 205; } .k1 { --hue: 36; } .k2 { --hue: 130; } .k3 { --hue: 275; } .k4 { --hue: 178; } .k5 { --hue: 322; }
.k6 { --hue: 68; }
pre span { padding: .12em 0; border-radius: .2em; }
.column, .option { background: hsl(var(--hue) var(--strong) var(--light)); }
tr.column, tr.option { background: none; }
tr.column > :first-child, tr.option > :first-child { background: hsl(var(--hue) var(--strong) var(--light)); }
pre .entry { box-shadow: inset 0 -.2em hsl(var(--hue) 60% var(--edge)); border-radius: 0; }
pre .word { box-shadow: inset 0 -.2em var(--line); border-radius: 0; }
.gap { color: var(--dim); }
pre .gap { background: repeating-linear-gradient(45deg, transparent 0 4px, var(--line) 4px 5px); }
pre .overlap { background: repeating-linear-gradient(-45deg, transparent 0 4px, var(--bad) 4px 5px); }
.absent td.text, .absent .hex { color: var(--dim); font-style: italic; }
.fault { color: var(--bad); font-weight: 600; }
tr.fault td { padding-top: 0; }
pre .bad { text-decoration: underline wavy var(--bad); }
[data-t] { cursor: pointer; }
:focus-visible { outline: 2px dashed var(--lit); outline-offset: 1px; }
section:has(.lit) pre span:not(.lit) { opacity: .4; }
pre .lit { outline: 2px solid var(--lit); font-weight: 700; }
tr.lit > *, dl .lit { background: color-mix(in srgb, var(--lit) 22%, var(--ground)); }
)css";

inline constexpr char kPageScript[] = R"js(
for (const section of document.querySelectorAll('section')) {
  const marked = [...section.querySelectorAll('[data-t]')];
  let kept = [];
  const tiesOf = event => event.target.closest('[data-t]')?.dataset.t.split(' ');
  const light = ties => {
    for (const each of marked) each.classList.toggle('lit', each.dataset.t.split(' ').some(tie => ties.includes(tie)));
  };
  section.addEventListener('mouseover', event => light(tiesOf(event) ?? kept));
  section.addEventListener('mouseleave', () => light(kept));
  section.addEventListener('focusin', event => light(tiesOf(event) ?? kept));
  section.addEventListener('focusout', () => light(kept));
  section.addEventListener('click', event => {
    const ties = tiesOf(event) ?? [];
    kept = ties.join() === kept.join() ? [] : ties;
    light(kept);
  });
}
)js";

}  // namespace kyv_internal
