"use strict";
// Puts the figures of a live run together from what the program tells: the history at first, then every epoch.

const kMostPoints = 6000;   // then every second one of the older half goes
const kDraw_ms = 500;

const byId = id => document.getElementById(id);
let points = [], satellites = [], stale = true, asTrack = document.body.dataset.mode === "kinematic";
const sky = new Sky(byId("sky"), byId("sky-note"));

function takeHistory(history) {
  points = history.points;
  stale = true;
}

function takeEpoch(epoch) {
  satellites = epoch.solution.sky;
  stale = true;
  if (points.length > 0 && epoch.point[0] <= points.at(-1)[0]) return;
  points.push(epoch.point);
  if (points.length > kMostPoints) points = points.filter((_, i) => i > kMostPoints / 2 || i % 2 === 0);
}

function shownPoints() {
  const span_s = Number(byId("window").value);
  if (span_s === 0 || points.length === 0) return points;
  const from = points.at(-1)[0] - span_s;
  return points.filter(p => p[0] >= from);
}

function draw() {
  if (!stale || document.hidden) return;
  stale = false;
  const shown = shownPoints();
  drawSeries(byId("series"), byId("series-note"), shown, byId("scale").value);
  drawPlaceFigure(byId("track"), byId("track-note"), shown, asTrack);
  sky.show(satellites);
}

/** Of two buttons one is pressed. */
function choice(first, second, isSecond, chosen) {
  const press = second_ => {
    byId(first).setAttribute("aria-pressed", String(!second_));
    byId(second).setAttribute("aria-pressed", String(second_));
    chosen(second_);
    stale = true;
    draw();
  };
  byId(first).addEventListener("click", () => press(false));
  byId(second).addEventListener("click", () => press(true));
  press(isSecond);
}

byId("figures").hidden = false;
choice("as-scatter", "as-track", asTrack, track => { asTrack = track; });
choice("of-phase", "of-code", false, code => sky.of(code ? "code" : "phase"));
for (const event of ["resize", "visibilitychange"]) window.addEventListener(event, () => { stale = true; });
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => { stale = true; });
for (const id of ["window", "scale"]) byId(id).addEventListener("change", () => { stale = true; draw(); });
setInterval(draw, kDraw_ms);
keepInTouch({ history: takeHistory, epoch: takeEpoch });
