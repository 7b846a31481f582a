"use strict";
// Draws what /status.json says, once a second. Clients choose some of the texts, so a text only ever
// becomes the text of an element, never markup.

const every = 1000;
const patience = 5000;
const mostConnections = 8; // the requests below are to be seen without scrolling

const desktopTones = {POWERED_ON: "good", SUSPENDED: "warn"};
const sessionTones = {
  "authenticated": "good", "no authentication": "good", "password expired": "warn", "blocked": "bad",
};

const opened = new Set(); // the numbers of the requests whose XML is shown

const element = (id) => document.getElementById(id);

function make(tag, style, ...content) {
  const made = document.createElement(tag);
  made.className = style;
  made.append(...content);
  return made;
}

const tile = (name, style, state, note, aside = "") =>
  make("li", "",
    make("span", "name", name, " ", make("span", "muted", aside)),
    make("span", style, state),
    make("span", "note", note));
const plural = (count, what) => `${count} ${what}${count === 1 ? "" : "s"}`;

function age(milliseconds) {
  const minutes = Math.floor(milliseconds / 60000);
  if (minutes < 1) return "< 1 min";
  return minutes < 60 ? `${minutes} min` : `${Math.floor(minutes / 60)} h`;
}

function clock(time) {
  const milliseconds = String(time % 1000).padStart(3, "0");
  return `${new Date(time).toTimeString().slice(0, 8)}.${milliseconds}`;
}

function duration(milliseconds) {
  if (milliseconds === null) return "–";
  if (milliseconds < 0.1) return "< 0.1 ms";
  return milliseconds < 10 ? `${milliseconds.toFixed(1)} ms` : `${Math.round(milliseconds)} ms`;
}

function toneOf(result) {
  if (/^ERR_|FAILED|BLOCKED|^HTTP [45]/.test(result)) return "bad";
  return /SUCCESSFUL|^HTTP 2/.test(result) ? "good" : "";
}

const drawServer = ({name, port, connections}) =>
  tile(name, "quiet", plural(connections, "connection"), `:${port}`);

const drawDesktop = ({name, id, state}) =>
  tile(name, `state ${desktopTones[state] ?? ""}`, state, id);

const drawSession = ({id, user, state, age}) =>
  tile(user || "nobody yet", `state ${sessionTones[state] ?? ""}`, state, `${id}…`, age);

const drawConnection = ({server, connection, open, requests, posts}) =>
  tile(`${server} ${connection}`, open ? "state good" : "state", open ? "open" : "ended",
    posts || "nothing yet", plural(requests, "request"));

const drawProxied = ({user, target, asked, let_through}) =>
  tile(target || "nothing", `state ${let_through ? "good" : "bad"}`,
    `${let_through} of ${asked} let through`, user || "nobody");

/// What a click on a request's name opens, which stays open when the list is drawn anew.
function xmlRow(number, xml, name) {
  const cell = make("td", "", make("pre", "", xml));
  cell.colSpan = 6;
  const row = make("tr", "xml", cell);
  const show = (shown) => {
    row.hidden = !shown;
    name.ariaExpanded = shown;
    if (shown) opened.add(number);
    else opened.delete(number);
  };
  name.addEventListener("click", () => show(row.hidden));
  show(opened.has(number));
  return row;
}

function drawRequest({number, time, server, connection, request, result, duration_ms, fault, xml}) {
  const parts = Object.entries(fault).map(([key, value]) => `${key} ${value}`).join(", ");
  const text = request || (fault.stage ? "before TLS" : "no message");
  const name = xml ? make("button", "", text) : text;
  const row = make("tr", "",
    make("td", "time", clock(time)),
    make("td", "server", server),
    make("td", "connection", String(connection)),
    make("td", `request ${request ? "" : "nothing"}`, name),
    make("td", `result ${toneOf(result)}`, result || "nothing sent"),
    make("td", "duration", duration(duration_ms)));
  if (parts) row.querySelector(".result").append(make("span", "fault", `fault: ${parts}`));
  return xml ? [row, xmlRow(number, xml, name)] : [row];
}

const drawn = {};

/// Leaves a list alone that has not changed, so that what is selected in it stays.
function fill(id, items, draw) {
  const picture = JSON.stringify(items);
  if (drawn[id] === picture) return;
  drawn[id] = picture;
  element(id).replaceChildren(...items.flatMap(draw));
}

function countOf(total, shown, which) {
  if (total === 0) return "";
  return total > shown ? `${total}, the ${which} ${shown} shown` : String(total);
}

/// What came over a connection, as far as it is remembered.
const postsOf = ({server, connection}, requests) => requests
  .filter((request) => request.server === server && request.connection === connection)
  .map(({request}) => request || "no message").join(", ");

function draw(status) {
  const {totals, sessions, desktops, connections, proxied, requests} = status;
  const latest = connections.reverse().slice(0, mostConnections);
  document.title = `${status.product}: status`;
  element("product").textContent = status.product;
  element("scenario").textContent = status.scenario;
  element("address").textContent = `on ${status.address}`;
  element("sessions-total").textContent = countOf(totals.sessions, sessions.length, "newest");
  element("desktops-total").textContent = countOf(totals.desktops, desktops.length, "first");
  element("connections-total").textContent = countOf(totals.connections, latest.length, "latest");
  element("proxied-total").textContent = countOf(totals.proxied, proxied.length, "first");
  element("requests-total").textContent = countOf(totals.requests, requests.length, "latest");
  fill("servers", status.servers, drawServer);
  fill("desktops", desktops, drawDesktop);
  const aged = sessions.map(({since, ...session}) => ({...session, age: age(status.now - since)}));
  fill("sessions", aged, drawSession);
  fill("connections", latest.map((row) => ({...row, posts: postsOf(row, requests)})), drawConnection);
  element("proxy").hidden = !status.servers.some(({name}) => name === "proxy");
  fill("proxied", proxied, drawProxied);
  fill("requests", requests.reverse(), drawRequest);
}

function show(live, tone) {
  element("live").textContent = live;
  element("live").className = tone;
  document.body.classList.toggle("stale", tone === "bad");
}

async function refresh() {
  try {
    const response = await fetch("/status.json", {signal: AbortSignal.timeout(patience)});
    if (!response.ok) throw new Error(response.statusText);
    draw(await response.json());
    show("live", "good");
  } catch {
    show("not running", "bad");
  }
  setTimeout(refresh, every);
}

refresh();
