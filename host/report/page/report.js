"use strict";
// Figures of a report: dragging over a part shows it larger, a click shows all again; what is pointed at tells its name,
// and axes of time tell the time.
for (const plot of document.querySelectorAll(".plot")) {
  const svg = plot.querySelector("svg");
  if (!svg) continue;
  const whole = svg.getAttribute("viewBox").split(" ").map(Number);
  let view = whole, from = null, frame = null;
  const note = document.createElement("output");
  note.hidden = true;
  plot.append(note);

  const at = event => {
    const box = svg.getBoundingClientRect();
    return [view[0] + (event.clientX - box.left) / box.width * view[2],
            view[1] + (event.clientY - box.top) / box.height * view[3]];
  };
  const show = next => {
    view = next;
    svg.setAttribute("viewBox", view.join(" "));
    plot.classList.toggle("zoomed", view !== whole);
  };

  // Labels "HH:MM" of the axis and their places give the time at any place.
  const ticks = [...svg.querySelectorAll("text")].map(text => {
    const label = text.textContent.trim().match(/^(?:(\d+)d )?(\d\d):(\d\d)$/);
    if (!label) return null;
    const box = text.getBBox(), shift = text.parentNode.transform?.baseVal.consolidate();
    return {x: box.x + box.width / 2 + (shift ? shift.matrix.e : 0),
            minutes: 1440 * (label[1] || 0) + 60 * label[2] + 1 * label[3]};
  }).filter(tick => tick);
  const timeAt = x => {
    if (ticks.length < 2) return "";
    const a = ticks[0], b = ticks[ticks.length - 1];
    const minutes = Math.round(a.minutes + (x - a.x) / (b.x - a.x) * (b.minutes - a.minutes));
    if (minutes < 0) return "";
    const two = n => String(n).padStart(2, "0");
    return two(Math.floor(minutes / 60) % 24) + ":" + two(minutes % 60);
  };

  svg.addEventListener("pointermove", event => {
    const [x, y] = at(event);
    const named = event.target.closest("g")?.querySelector(":scope > title");
    note.textContent = named ? named.textContent : timeAt(x);
    note.hidden = note.textContent === "" || event.pointerType === "touch" && !named;
    const box = plot.getBoundingClientRect();
    note.style.left = Math.min(event.clientX - box.left + 12, box.width - note.offsetWidth - 4) + plot.scrollLeft + "px";
    note.style.top = event.clientY - box.top + 14 + "px";
    if (frame) {
      for (const [name, value] of [["x", Math.min(x, from[0])], ["y", Math.min(y, from[1])],
                                   ["width", Math.abs(x - from[0])], ["height", Math.abs(y - from[1])]])
        frame.setAttribute(name, value);
    }
  });
  svg.addEventListener("pointerleave", () => note.hidden = true);
  svg.addEventListener("pointerdown", event => {
    if (event.pointerType === "touch") return;  // fingers scroll and pinch
    event.preventDefault();
    svg.setPointerCapture(event.pointerId);
    from = at(event);
    frame = svg.appendChild(document.createElementNS(svg.namespaceURI, "rect"));
    frame.setAttribute("fill", "currentColor");
    frame.setAttribute("fill-opacity", "0.15");
  });
  svg.addEventListener("pointerup", event => {
    if (!frame) return;
    const [x, y] = at(event), width = Math.abs(x - from[0]), height = Math.abs(y - from[1]);
    frame.remove();
    frame = null;
    if (Math.max(width / view[2], height / view[3]) < 1 / 60) return show(whole);
    // The form of the figure stays, so that nothing is distorted.
    const part = Math.max(width / whole[2], height / whole[3]), w = part * whole[2], h = part * whole[3];
    show([(x + from[0] - w) / 2, (y + from[1] - h) / 2, w, h]);
  });
}
