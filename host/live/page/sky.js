"use strict";
// Draws the sky: where the satellites stand, how well they fit. The size of a mark is the largest residual of the
// satellite; hollow ones are not used. A satellite that is pointed at, tapped or reached by key tells its values.

const kSvg = "http://www.w3.org/2000/svg";
const kFullSize = { phase: 0.02, code: 3.0 };  // residuals of the largest mark, m

function svgElement(name, attributes, parent) {
  const element = document.createElementNS(kSvg, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  parent.append(element);
  return element;
}

function drawHorizon(svg) {
  for (const elevation of [0, 30, 60]) {
    svgElement("circle", { r: 90 - elevation, class: "grid" }, svg);
    if (elevation > 0) svgElement("text", { x: 2, y: -(90 - elevation) + 8, class: "grid-text" }, svg).textContent = `${elevation}°`;
  }
  svgElement("path", { d: "M-90 0H90M0 -90V90", class: "grid" }, svg);
  [["N", 0, -95], ["E", 98, 3], ["S", 0, 103], ["W", -98, 3]].forEach(([text, x, y]) => {
    svgElement("text", { x, y, class: "wind" }, svg).textContent = text;
  });
}

function residualText(band, kind) {
  const value = band[`${kind}_residual_m`];
  if (value === undefined) return band[kind];
  return kind === "phase" ? `${(value * 1000).toFixed(1)} mm` : `${value.toFixed(2)} m`;
}

function satelliteText(sat) {
  const bands = sat.bands.map(b => `${b.signal} ${b.snr_dBHz.toFixed(0)} dBHz, code ${residualText(b, "code")}, ` +
    `phase ${residualText(b, "phase")}`);
  return `${sat.sat}, elevation ${sat.elevation_deg.toFixed(0)}°, azimuth ${((sat.azimuth_deg + 360) % 360).toFixed(0)}°: ` + bands.join("; ");
}

class Sky {
  constructor(svg, note) {
    this.svg = svg;
    this.note = note;
    this.kind = "phase";
    this.marks = new Map();
    this.satellites = new Map();
    this.chosen = "";
    drawHorizon(svg);
  }

  choose(name) {
    this.chosen = name;
    this.tell();
    for (const [sat, mark] of this.marks) mark.group.classList.toggle("chosen", sat === name);
  }

  tell() {
    const sat = this.satellites.get(this.chosen), full = this.kind === "phase" ? "20 mm" : "3 m";
    this.note.textContent = sat !== undefined ? satelliteText(sat)
      : `The larger a mark, the larger the residual of the ${this.kind}s, up to ${full}. Hollow ones are not used. Choose one for its values.`;
  }

  markOf(name) {
    const known = this.marks.get(name);
    if (known !== undefined) return known;
    const group = svgElement("g", { tabindex: 0, role: "img", class: "sat" }, this.svg);
    const mark = {
      group,
      touch: svgElement("circle", { r: 9, class: "touch" }, group),
      dot: svgElement("circle", { class: "dot" }, group),
      text: svgElement("text", {}, group),
    };
    mark.text.textContent = name;
    for (const event of ["click", "focus", "pointerenter"]) group.addEventListener(event, () => this.choose(name));
    this.marks.set(name, mark);
    return mark;
  }

  place(sat) {
    const mark = this.markOf(sat.sat), r = 90 - Math.max(sat.elevation_deg, 0), a = sat.azimuth_deg * Math.PI / 180;
    const values = sat.bands.map(b => b[`${this.kind}_residual_m`]).filter(v => v !== undefined).map(Math.abs);
    const share = values.length === 0 ? 0 : Math.min(Math.max(...values) / kFullSize[this.kind], 1);
    mark.group.setAttribute("transform", `translate(${(r * Math.sin(a)).toFixed(1)} ${(-r * Math.cos(a)).toFixed(1)})`);
    mark.group.setAttribute("class", `sat ${values.length === 0 ? "unused" : share > 0.66 ? "large" : "used"}` +
      (sat.sat === this.chosen ? " chosen" : ""));
    mark.group.setAttribute("aria-label", satelliteText(sat));
    mark.r = 2.5 + 4 * share;
    mark.dot.setAttribute("r", mark.r.toFixed(1));
    mark.at = [r * Math.sin(a), -r * Math.cos(a)];
  }

  /** Names go above, below or beside their marks, where they cover no other name. */
  placeNames() {
    const taken = [], width = 13, height = 6;
    for (const mark of this.marks.values()) {
      const aside = mark.r + width / 2 + 1;
      const places = [[0, -mark.r - 1.5], [0, mark.r + height], [aside, 2.5], [-aside, 2.5]];
      const isFree = ([dx, dy]) => taken.every(([x, y]) =>
        Math.abs(mark.at[0] + dx - x) > width || Math.abs(mark.at[1] + dy - y) > height);
      const [dx, dy] = places.find(isFree) ?? places[0];
      mark.text.setAttribute("x", dx.toFixed(1));
      mark.text.setAttribute("y", dy.toFixed(1));
      taken.push([mark.at[0] + dx, mark.at[1] + dy]);
    }
  }

  /** Satellites without an orbit stand nowhere. */
  show(all) {
    const satellites = all.filter(sat => sat.elevation_deg !== 0 || sat.azimuth_deg !== 0);
    this.satellites = new Map(satellites.map(sat => [sat.sat, sat]));
    for (const [name, mark] of this.marks)
      if (!this.satellites.has(name)) mark.group.remove(), this.marks.delete(name);
    satellites.forEach(sat => this.place(sat));
    this.placeNames();
    this.tell();
  }

  of(kind) {
    this.kind = kind;
    this.show([...this.satellites.values()]);
  }
}
