#pragma once

#include <string_view>

namespace twupdate::cli {

/// The style sheet of the report. Nothing is shown by colour alone: outcomes have words and signs,
/// the bars of the timeline stripes and outlines.
constexpr std::string_view kReportStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1c2128; --quiet: #565f69; --line: #d3d9e0; --tint: #f3f5f8;
  --schema: #2a6fb0; --data: #d98a1f; --stripe: #6f4300; --span: #b9c3ce;
  --good: #1b6e3c; --bad: #b3261e; --note: #7a5200; --shade: #9aa4b0;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #14181d; --ink: #e7eaee; --quiet: #a5afba; --line: #363e48; --tint: #1e242b;
    --schema: #5aa2e0; --data: #e0a047; --stripe: #5c3a05; --span: #4a5561;
    --good: #6fce97; --bad: #ff9a90; --note: #ecc069; --shade: #6b7784;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif;
  overflow-wrap: anywhere;
}
main { max-width: 68rem; margin: 0 auto; padding: 1.5rem 1rem 4rem; }
h1 { font-size: 1.7rem; line-height: 1.2; margin: 0 0 .25rem; }
h2 { font-size: 1.25rem; margin: 2.5rem 0 .5rem; padding-top: 1rem; border-top: 1px solid var(--line); }
h3 { font-size: 1rem; margin: 1.5rem 0 .25rem; }
p, ul, ol { margin: .5rem 0; }
.quiet, caption, footer { color: var(--quiet); }
.outcome {
  margin: 1rem 0; padding: .75rem 1rem; background: var(--tint);
  border-left: .35rem solid var(--note);
}
.outcome strong { color: var(--note); }
.outcome.good { border-color: var(--good); }
.outcome.good strong, .good-word { color: var(--good); }
.outcome.bad { border-color: var(--bad); }
.outcome.bad strong, .bad-word { color: var(--bad); font-weight: 600; }
dl.figures {
  display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr));
  gap: .5rem; margin: 1rem 0;
}
dl.figures div {
  background: var(--tint); padding: .5rem .75rem;
  display: flex; flex-direction: column; justify-content: space-between;
}
dl.figures dt { color: var(--quiet); font-size: .875rem; }
dl.figures dd { margin: 0; font-size: 1.2rem; font-weight: 600; font-variant-numeric: tabular-nums; }
/* Where a table goes on behind an edge the edge is shaded: the shades stay, and what covers them
   moves along with the table. */
.scroll {
  overflow-x: auto; margin: .75rem 0;
  background:
    linear-gradient(to right, var(--paper) 40%, transparent) left / 3rem 100% no-repeat local,
    linear-gradient(to left, var(--paper) 40%, transparent) right / 3rem 100% no-repeat local,
    linear-gradient(to right, var(--shade), transparent) left / 1rem 100% no-repeat scroll,
    linear-gradient(to left, var(--shade), transparent) right / 1rem 100% no-repeat scroll;
}
.scroll:focus-visible { outline: 2px solid var(--schema); outline-offset: 2px; }
table { border-collapse: collapse; width: 100%; font-size: .9375rem; white-space: nowrap; }
caption { text-align: left; padding-bottom: .35rem; white-space: normal; }
th, td { text-align: left; vertical-align: top; padding: .3rem .75rem .3rem 0; border-bottom: 1px solid var(--line); }
thead th { color: var(--quiet); font-weight: 600; }
tbody th { font-weight: 400; }
.words { white-space: normal; min-width: 15rem; }
.number { text-align: right; font-variant-numeric: tabular-nums; }
td.number + td:not(.number), th.number + th:not(.number), th.number + td:not(.number) { padding-left: .75rem; }
td:last-child, th:last-child { padding-right: 0; }
code { font: .875rem/1.45 ui-monospace, "DejaVu Sans Mono", Consolas, monospace; unicode-bidi: isolate; }
code.sql { display: block; background: var(--tint); padding: .4rem .6rem; overflow-wrap: anywhere; }
ol.statements { padding-left: 1.75rem; }
ol.statements li { margin: .75rem 0; }
ul.legend { list-style: none; padding: 0; display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; font-size: .875rem; }
ul.legend svg { vertical-align: -2px; margin-right: .4rem; }
figure { margin: .75rem 0; }
svg.timeline { display: block; overflow: hidden; }
svg text { fill: var(--ink); font: 12px system-ui, -apple-system, "Segoe UI", "DejaVu Sans", sans-serif; }
svg text.axis { fill: var(--quiet); }
svg .span { fill: var(--span); }
svg .schema { fill: var(--schema); }
svg .data { fill: var(--data); }
svg .stripe { fill: var(--stripe); }
svg .step { fill: none; stroke: var(--ink); stroke-width: 1; }
svg .grid { stroke: var(--line); }
svg .interrupted { stroke: var(--bad); stroke-width: 4; }
@media print {
  :root {
    color-scheme: light;
    --paper: #ffffff; --ink: #000000; --quiet: #444444; --line: #bbbbbb; --tint: #f4f4f4;
    --schema: #2a6fb0; --data: #d98a1f; --stripe: #6f4300; --span: #b9c3ce;
    --good: #1b6e3c; --bad: #b3261e; --note: #7a5200;
  }
  body { font-size: 10pt; }
  main { max-width: none; padding: 0; }
  .scroll { overflow: visible; background: none; }
  table { white-space: normal; }
  svg.timeline, svg.timeline *, .outcome { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  h2, h3, caption { break-after: avoid; }
  tr, li { break-inside: avoid; }
}
)css";

}  // namespace twupdate::cli
