"use strict";
// Draws positions: east, north, up and the state over time, and the places in the plane. A point is
// [seconds, state, east, north, up], [seconds, 0] without a position. States differ by colour and by mark.

const kStates = ["no position", "codes", "float", "extra-wide-lane", "wide-lane", "fixed"];
const kMarks = ["○", "✕", "▲", "◇", "◆", "●"];
const kNoTime = "------";

function colourOf(name) {
  return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

/** The context of a canvas of its present width and the given height, cleared, in CSS pixels. */
function surfaceOf(canvas, height) {
  const ratio = window.devicePixelRatio || 1, width = canvas.clientWidth;
  canvas.style.height = `${height}px`;
  canvas.width = Math.round(width * ratio);
  canvas.height = Math.round(height * ratio);
  const c = canvas.getContext("2d");
  c.scale(ratio, ratio);
  c.font = "11px system-ui, sans-serif";
  return { c, width, height };
}

function drawMark(c, x, y, state, r) {
  c.beginPath();
  if (state === 5) c.arc(x, y, r, 0, 2 * Math.PI);
  else if (state === 3 || state === 4) {
    c.moveTo(x, y - 1.4 * r), c.lineTo(x + 1.4 * r, y), c.lineTo(x, y + 1.4 * r), c.lineTo(x - 1.4 * r, y);
    c.closePath();
  } else if (state === 2) {
    c.moveTo(x, y - 1.2 * r), c.lineTo(x + 1.2 * r, y + r), c.lineTo(x - 1.2 * r, y + r);
    c.closePath();
  } else {
    c.moveTo(x - r, y - r), c.lineTo(x + r, y + r), c.moveTo(x + r, y - r), c.lineTo(x - r, y + r);
  }
  if (state === 1 || state === 3) c.stroke();
  else c.fill();
}

// ---- numbers ----

function quantile(sorted, share) {
  return sorted.length === 0 ? 0 : sorted[Math.min(sorted.length - 1, Math.floor(share * sorted.length))];
}

function sortedOf(values) { return Float64Array.from(values).sort(); }

/** A length with the unit that suits its size. */
function lengthText(m, size = Math.abs(m)) {
  if (size < 0.0995) return `${(m * 1000).toFixed(size < 0.00995 ? 1 : 0)} mm`;
  if (size < 0.995) return `${(m * 100).toFixed(0)} cm`;
  return size < 9950 ? `${m.toFixed(size < 10 ? 1 : 0)} m` : `${(m / 1000).toFixed(1)} km`;
}

/** 1, 2 or 5 times a power of ten, so that about `count` steps make the span. */
function stepOf(span, count) {
  const raw = span / count, power = 10 ** Math.floor(Math.log10(raw));
  return power * ([1, 2, 5].find(k => k * power >= raw) ?? 10);
}

function timeText(seconds, withSeconds) {
  if (!Number.isFinite(seconds)) return kNoTime;
  return new Date(seconds * 1000).toISOString().slice(11, withSeconds ? 19 : 16);
}

function timeStep(span, count) {
  const steps = [1, 2, 5, 10, 30, 60, 120, 300, 600, 1800, 3600, 7200, 14400, 21600, 43200, 86400];
  return steps.find(s => span / s <= count) ?? 86400 * Math.ceil(span / count / 86400);
}

function bestState(points) { return points.reduce((best, p) => Math.max(best, p[1]), 0); }

/** Median of the positions of the best state. */
function centreOf(points) {
  const state = bestState(points), best = points.filter(p => p[1] === state && state > 0);
  return { state, at: [2, 3, 4].map(k => quantile(sortedOf(best.map(p => p[k])), 0.5)) };
}

/** The states of the points as a legend: mark, word and number. */
function writeLegend(place, points, text) {
  place.replaceChildren(text);
  for (let state = 5; state >= 0; --state) {
    const count = points.filter(p => p[1] === state).length;
    if (count === 0) continue;
    const mark = document.createElement("span");
    mark.className = `state state${state}`;
    mark.textContent = `${kMarks[state]} ${kStates[state]}`;
    place.append(" ", mark, ` ${count}`);
  }
}

// ---- over time ----

const kLeft = 66, kRight = 8, kPanel = 110, kGap = 14, kRow = 12, kAxis = 20;

function rangeOf(points, centre, scale) {
  if (scale !== "auto" && scale !== "all") return Number(scale);
  const away = sortedOf(points.filter(p => p[1] > 0).flatMap(p => centre.map((m, k) => Math.abs(p[k + 2] - m))));
  const size = scale === "all" ? quantile(away, 1) * 1.05 : quantile(away, 0.9) * 1.6;
  return Math.max(size, 0.005);
}

function drawTimeAxis(s, from, to, top, bottom) {
  const step = timeStep(to - from, (s.width - kLeft) / 70);
  const x = t => kLeft + (t - from) / (to - from) * (s.width - kLeft - kRight);
  s.c.textAlign = "center";
  for (let t = Math.ceil(from / step) * step; t <= to; t += step) {
    s.c.fillStyle = colourOf("--line");
    s.c.fillRect(x(t), top, 1, bottom - top);
    s.c.fillStyle = colourOf("--mute");
    const half = 26;
    s.c.fillText(timeText(t, step < 60), Math.min(Math.max(x(t), half), s.width - half), bottom + 14);
  }
  return x;
}

function drawPanel(s, top, name, range) {
  const y = v => top + kPanel / 2 - v / range * kPanel / 2, step = stepOf(2 * range, 4);
  s.c.textAlign = "right";
  for (let k = -Math.floor(range / step); k <= range / step; ++k) {
    s.c.fillStyle = colourOf("--line");
    s.c.fillRect(kLeft, y(k * step), s.width - kLeft - kRight, 1);
    s.c.fillStyle = colourOf("--mute");
    s.c.fillText(lengthText(k * step, step), kLeft - 5, y(k * step) + 4);
  }
  s.c.save();
  s.c.fillStyle = colourOf("--fg");
  s.c.textAlign = "center";
  s.c.translate(11, top + kPanel / 2);
  s.c.rotate(-Math.PI / 2);
  s.c.fillText(name, 0, 0);
  s.c.restore();
  return y;
}

function drawValues(s, points, k, centre, range, x, y) {
  let outside = 0;
  for (const p of points) {
    if (p[1] === 0) continue;
    const v = p[k] - centre, inside = Math.abs(v) <= range;
    s.c.fillStyle = s.c.strokeStyle = s.colours[p[1]];
    if (inside) drawMark(s.c, x(p[0]), y(v), p[1], points.length > 600 ? 1.2 : 2);
    else s.c.fillRect(x(p[0]), y(Math.sign(v) * range) - 2, 1.5, 4), ++outside;
  }
  return outside;
}

/** Rows of the states that occur, the best on top. \return the height */
function drawStates(s, points, top, x, width_s) {
  const states = [5, 4, 3, 2, 1, 0].filter(state => points.some(p => p[1] === state));
  states.forEach((state, row) => {
    const y = top + row * kRow;
    s.c.textAlign = "right";
    s.c.fillStyle = colourOf("--mute");
    s.c.fillText(state === 3 ? "extra-wide" : state === 0 ? "none" : kStates[state], kLeft - 5, y + 9);
    s.c.fillStyle = s.colours[state];
    for (const p of points)
      if (p[1] === state) s.c.fillRect(x(p[0]), y + 2, Math.max(x(p[0] + width_s) - x(p[0]), 1.5), kRow - 4);
  });
}

function drawSeries(canvas, note, points, scale) {
  const rows = new Set(points.map(p => p[1])).size, bottom = 3 * (kPanel + kGap) + rows * kRow + 4;
  const s = surfaceOf(canvas, bottom + kAxis);
  if (points.length === 0) return note.replaceChildren("No epoch has come yet.");
  s.colours = kStates.map((_, i) => colourOf(`--state${i}`));
  const from = points[0][0], to = Math.max(points.at(-1)[0], from + 10);
  const { state, at } = centreOf(points), range = rangeOf(points, at, scale);
  const x = drawTimeAxis(s, from, to, 0, bottom);
  let outside = 0;
  ["east", "north", "up"].forEach((name, i) => {
    const y = drawPanel(s, i * (kPanel + kGap), name, range);
    outside += drawValues(s, points, i + 2, at[i], range, x, y);
  });
  const steps = sortedOf(points.slice(1).map((p, i) => p[0] - points[i][0]));
  drawStates(s, points, 3 * (kPanel + kGap), x, Math.min(quantile(steps, 0.5), (to - from) / 20));
  const what = state > 0 ? `About the median of the positions with the state ${kStates[state]}, GPS time. ` : "";
  const beyond = outside > 0 ? `${outside} values lie beyond the scale, drawn at its edge. ` : "";
  writeLegend(note, points, `${what}${beyond}Epochs shown:`);
}

// ---- in the plane ----

function drawPlane(s, middle, half, centre) {
  const size = Math.min(s.width, s.height) - 2 * kAxis, scale = size / (2 * half);
  const x = e => s.width / 2 + (e - middle[0]) * scale, y = n => s.height / 2 - (n - middle[1]) * scale;
  const step = stepOf(2 * half, 5), low = s.height / 2 + size / 2, every = step * scale < 50 ? 2 : 1;
  for (let k = -Math.floor(half / step); k <= half / step; ++k) {
    const e = middle[0] + k * step, n = middle[1] + k * step;
    s.c.fillStyle = colourOf("--line");
    s.c.fillRect(x(e), low - size, 1, size);
    s.c.fillRect(s.width / 2 - size / 2, y(n), size, 1);
    s.c.fillStyle = colourOf("--mute");
    s.c.textAlign = "center";
    if (k % every === 0) s.c.fillText(lengthText(e - centre[0], step), x(e), low + 14);
    s.c.textAlign = "left";
    if (k % every === 0 && k !== 0) s.c.fillText(lengthText(n - centre[1], step), s.width / 2 - size / 2 + 3, y(n) - 3);
  }
  s.c.fillStyle = colourOf("--fg");
  s.c.fillText("N ↑", s.width / 2 + 4, low - size + 11);
  return { x, y, size };
}

function drawPlaces(s, points, plane, half, middle) {
  let outside = 0;
  for (const p of points) {
    if (p[1] === 0) continue;
    s.c.fillStyle = s.c.strokeStyle = s.colours[p[1]];
    const inside = Math.abs(p[2] - middle[0]) <= half && Math.abs(p[3] - middle[1]) <= half;
    if (inside) drawMark(s.c, plane.x(p[2]), plane.y(p[3]), p[1], 2);
    else ++outside;
  }
  const last = points.at(-1);
  if (last[1] > 0) {
    s.c.strokeStyle = colourOf("--fg");
    s.c.lineWidth = 2;
    s.c.beginPath();
    s.c.arc(plane.x(last[2]), plane.y(last[3]), 7, 0, 2 * Math.PI);
    s.c.stroke();
    s.c.lineWidth = 1;
  }
  return outside;
}

/** Circles around the median in which half and 95 % of the positions of the best state lie. */
function drawCircles(s, best, centre, plane, scale) {
  const radii = sortedOf(best.map(p => Math.hypot(p[2] - centre[0], p[3] - centre[1])));
  const shares = [0.5, 0.95].map(share => quantile(radii, share));
  s.c.strokeStyle = colourOf("--fg");
  shares.forEach((r, i) => {
    s.c.setLineDash(i === 0 ? [] : [4, 3]);
    s.c.beginPath();
    s.c.arc(plane.x(centre[0]), plane.y(centre[1]), r * scale, 0, 2 * Math.PI);
    s.c.stroke();
  });
  s.c.setLineDash([]);
  return shares;
}

function drawScatter(s, points) {
  const { state, at } = centreOf(points), best = points.filter(p => p[1] === state);
  const away = sortedOf(best.map(p => Math.max(Math.abs(p[2] - at[0]), Math.abs(p[3] - at[1]))));
  const half = Math.max(quantile(away, 0.98) * 1.2, 0.002);
  const plane = drawPlane(s, at, half, at), outside = drawPlaces(s, points, plane, half, at);
  const [middle, most] = drawCircles(s, best, at, plane, plane.size / (2 * half));
  return `Of the positions with the state ${kStates[state]} half lie within ${lengthText(middle)} of their median ` +
    `(full circle), 95 % within ${lengthText(most)} (dashed)` + (outside > 0 ? `; ${outside} lie outside. ` : ". ");
}

function drawTrack(s, points) {
  const solved = points.filter(p => p[1] > 0), phases = solved.filter(p => p[1] > 1);
  const shown = phases.length > 1 ? phases : solved;
  const bounds = [2, 3].map(k => {
    const values = sortedOf(shown.map(p => p[k]));
    return [values[0], values.at(-1)];
  });
  const middle = bounds.map(([low, high]) => (low + high) / 2);
  const half = Math.max(...bounds.map(([low, high]) => high - low), 0.01) * 0.55;
  const plane = drawPlane(s, middle, half, middle);
  s.c.strokeStyle = colourOf("--mute");
  s.c.beginPath();
  let before = null;
  for (const p of points) {
    if (p[1] > 1 && before !== null) s.c.lineTo(plane.x(p[2]), plane.y(p[3]));
    else if (p[1] > 1) s.c.moveTo(plane.x(p[2]), plane.y(p[3]));
    before = p[1] > 1 ? p : null;
  }
  s.c.stroke();
  const outside = drawPlaces(s, points, plane, half, middle);
  return "The ring is the last position. " + (outside > 0 ? `${outside} positions by codes lie outside. ` : "");
}

function drawPlaceFigure(canvas, note, points, asTrack) {
  const s = surfaceOf(canvas, Math.min(canvas.clientWidth, 420));
  if (!points.some(p => p[1] > 0)) return note.replaceChildren("There is no position yet.");
  s.colours = kStates.map((_, i) => colourOf(`--state${i}`));
  note.replaceChildren(asTrack ? drawTrack(s, points) : drawScatter(s, points));
}
