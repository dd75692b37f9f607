"use strict";
// Keeps a page in touch with the program: replaces the parts that the program writes, hands on all other events,
// and tells the reader when nothing comes. A page that comes back after a while is told everything anew.

const kDead_ms = 15000;      // the program sends something every second
const kLongestPause_ms = 15000;
const kTold_ms = 10000;
const kAnew_ms = 60000;      // so often a page that has lost events asks for everything

/** handlers: by name of the event; each gets the data as an object. */
function keepInTouch(handlers) {
  const notice = document.getElementById("connection");
  let source = null, heard = Date.now(), pause_ms = 1000, greeted = 0, timer = 0, away = 0, isFull = false;

  function tell(text) {
    if (notice.textContent === text) return;
    notice.replaceChildren();
    if (text === "") return;
    const p = document.createElement("p");
    p.className = "notice";
    p.textContent = text;
    notice.append(p);
  }

  function replaceParts(parts) {
    for (const [name, html] of Object.entries(parts)) {
      const place = document.querySelector(`[data-part="${CSS.escape(name)}"]`);
      if (place === null) continue;
      const scrolled = [...place.querySelectorAll("pre, .scroll")].map(
        e => [e.scrollTop + e.clientHeight >= e.scrollHeight - 4, e.scrollTop, e.scrollLeft]);
      place.innerHTML = html;  // written by the program, which escapes what it takes from outside
      place.querySelectorAll("pre, .scroll").forEach((e, i) => {
        const [atEnd, top, left] = scrolled[i] ?? [true, 0, 0];
        e.scrollTop = e.tagName === "PRE" && atEnd ? e.scrollHeight : top;
        e.scrollLeft = left;
      });
    }
  }

  function again() {
    source?.close();
    if (away === 0) away = Date.now();
    if (!isFull) tell(`The program has not answered since ${new Date(away).toLocaleTimeString()}. What stands here is old.`);
    document.body.classList.add("old");
    clearTimeout(timer);
    timer = setTimeout(connect, pause_ms);
    pause_ms = Math.min(2 * pause_ms, kLongestPause_ms);
  }

  function hello(data) {
    if (data.release !== document.body.dataset.release) location.reload();
    pause_ms = 1000;
    greeted = Date.now();
    document.body.classList.remove("old");
    if (away !== 0) tell("");
    away = 0;
    isFull = false;
  }

  function full(most) {
    isFull = true;
    tell(`${most} pages are kept up to date already; this one is not. Close others.`);
  }

  function lost(count) {
    tell(`${count} events did not reach this page: the line is slow.`);
    setTimeout(() => { if (away === 0) tell(""); }, kTold_ms);
    if (Date.now() - greeted > kAnew_ms) connect();
  }

  function connect() {
    source?.close();
    heard = Date.now();
    source = new EventSource("/events");
    source.onerror = again;
    for (const [name, handle] of Object.entries({ hello, full, lost, parts: replaceParts, ...handlers }))
      source.addEventListener(name, event => {
        heard = Date.now();
        handle(JSON.parse(event.data));
      });
  }

  setInterval(() => {
    if (source.readyState !== EventSource.CLOSED && Date.now() - heard > kDead_ms) again();
  }, 1000);
  document.querySelectorAll("pre").forEach(e => { e.scrollTop = e.scrollHeight; });
  connect();
}
