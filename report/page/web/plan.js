// SPDX-License-Identifier: Apache-2.0
// The plan of one floor: pictures of its elements below, what is chosen above, and what mouse, finger and keyboard do.

const FRAME_BUDGET = 9;             // milliseconds of drawing in a frame of 16
const SETTLED = 90;                 // milliseconds without zooming before tiles are drawn anew
const PICK_RADIUS = 9;              // pixels around the pointer
const CLUSTER = 38;                 // pixels; markers nearer than this share one
const NEAR_SCALE = 0.11;            // pixels for a millimetre that a flight does not go beyond: some metres around stay in sight
const FINDING_MARGIN = 110;
const DIAMETER_SCALE = 0.03;        // pixels for a millimetre from which diameters are written beside pipes
const DIAMETER_LENGTH = 64;         // pixels that a pipe must be long for it
const MAX_DIAMETERS = 1500;         // elements in sight above which none are written
const TIP_FINDINGS = 3;             // findings that the tip over an object names by number
const TIP_DELAY = 60;               // milliseconds that the pointer rests
const KEY_STEP = 80;
const CHOSEN_DEVICE = 7;            // pixels from the middle of a chosen valve to its edge, at least
const BOW = 10;                     // pixels that the middle of a bowed pipe stands aside, besides its width
const MAX_HALOS = 4000;             // objects of one finding that are marked one by one
const SEVERITY_GLYPHS = { confirmed: "!", suspected: "?", remind: "i", trusted: "✓", stale: "–", gone: "×" };

const plan = {
    view: new View(), grids: new Map(), tiles: null, colours: null, base: null, overlay: null, dirty: true,
    lastZoom: 0, markers: null, pointers: new Map(), dragged: 0, cross: false, frames: 0, pointerAt: null, tipTimer: 0, onPaper: false,
};

// The colours of the style sheet as the canvas needs them: resolved for the theme that is on.
function readColours() {
    const probe = document.body.appendChild(make("span"));
    const resolve = (name) => {
        probe.style.color = `var(${name})`;
        return getComputedStyle(probe).color;
    };
    const numbered = (prefix) => [0, 1, 2, 3, 4, 5].map((index) => resolve(prefix + index));
    const colours = { specialties: numbered("--specialty-"), fills: numbered("--fill-"), states: {} };
    for (const state of STATES) {
        colours.states[state] = resolve("--" + state);
    }
    for (const name of ["mark", "mark-edge", "sheet", "ink", "ink-soft", "line"]) {
        colours[name] = resolve("--" + name);
    }
    probe.remove();
    return colours;
}

function gridOf(floor) {
    if (!plan.grids.has(floor)) {
        const elements = report.elements;
        const indices = [];
        for (let index = 0; index < elements.count; ++index) {
            if (elements.floor[index] === floor && elements.isPlaced(index)) {
                indices.push(index);
            }
        }
        plan.grids.set(floor, new Grid(indices));
    }
    return plan.grids.get(floor);
}

function startPlan() {
    plan.base = byId("base");
    plan.overlay = byId("overlay");
    plan.colours = readColours();
    new ResizeObserver(resizePlan).observe(byId("sheet"));
    resizePlan();
    showFloor(true);
    on("floor", () => showFloor(true));
    on("selection", () => {
        byId("hint").hidden = true;
        resizePlan();  // the details beside it may have come or gone
        flyToSelection();
        redraw();
    });
    on("findings", () => {
        plan.markers = null;
        redraw();
    });
    on("specialties", newTiles);
    on("theme", () => {
        plan.colours = readColours();
        newTiles();
    });
    listenToPlan();
    requestAnimationFrame(planFrame);
}

function redraw() {
    plan.dirty = true;
}

function newTiles() {
    plan.tiles = new Tiles(gridOf(choice.floor), plan.colours);
    plan.markers = null;
    redraw();
}

function resizePlan() {
    const { width, height } = byId("sheet").getBoundingClientRect();
    const ratio = Math.min(2, window.devicePixelRatio || 1);
    const view = plan.view;
    if (width < 2 || height < 2 || (width === view.width && height === view.height && ratio === plan.ratio)) {
        return;  // hidden, as while the page is printed, or nothing new
    }
    plan.ratio = ratio;
    const first = view.width <= 1;
    view.width = Math.max(1, width);
    view.height = Math.max(1, height);
    for (const canvas of [plan.base, plan.overlay]) {
        canvas.width = Math.round(view.width * plan.ratio);
        canvas.height = Math.round(view.height * plan.ratio);
    }
    if (first) {
        fitFloor();
    }
    redraw();
    // A canvas loses its picture with its size; without this it would be blank until the next frame.
    if (plan.tiles) {
        drawPlan(performance.now());
    }
}

function fitFloor(fly = false) {
    const grid = gridOf(choice.floor);
    if (grid.indices.length > 0) {
        if (fly) {
            plan.view.flyTo(grid.usualBox(), 40, MAX_SCALE);
        } else {
            plan.view.jumpTo(grid.usualBox(), 40);
        }
    }
    redraw();
}

function showFloor(fit) {
    newTiles();
    const empty = gridOf(choice.floor).indices.length === 0;
    byId("plan-empty").hidden = !empty;
    byId("hint").hidden ||= empty;
    byId("symbols").hidden = empty;
    nameEmptyPlan();
    if (fit) {
        fitFloor();
    }
}

function nameEmptyPlan() {
    const empty = byId("plan-empty");
    empty.textContent = empty.hidden ? "" : report.run.planMissing || word("emptyFloor");
}

function boxOf(objects, place) {
    const elements = report.elements;
    const box = { lowX: Infinity, lowY: Infinity, highX: -Infinity, highY: -Infinity };
    const take = (lowX, lowY, highX, highY) => Object.assign(box, {
        lowX: Math.min(box.lowX, lowX), lowY: Math.min(box.lowY, lowY), highX: Math.max(box.highX, highX),
        highY: Math.max(box.highY, highY),
    });
    for (const object of objects) {
        if (elements.isPlaced(object) && elements.floor[object] === choice.floor) {
            take(elements.lowX[object], elements.lowY[object], elements.highX[object], elements.highY[object]);
        }
    }
    if (box.lowX === Infinity && place) {
        take(place.x, place.y, place.x, place.y);
    }
    return box.lowX === Infinity ? null : box;
}

function selectedObjects() {
    return choice.object !== null ? [choice.object] : choice.finding ? choice.finding.objects : [];
}

function flyToSelection() {
    if (choice.stay) {
        return;
    }
    const box = boxOf(selectedObjects(), choice.finding?.place);
    if (box) {
        byId("sheet").scrollIntoView({ block: "nearest" });  // in a narrow window the plan lies above the list
        const margin = Math.min(FINDING_MARGIN, plan.view.width / 5, plan.view.height / 5);
        plan.view.flyTo(box, margin, NEAR_SCALE);
    }
}

function planFrame(now) {
    const flying = plan.view.advance(now);
    if (flying) {
        plan.lastZoom = now;
        plan.dirty = true;
    }
    if (plan.dirty || plan.missing) {
        drawPlan(now);
    }
    requestAnimationFrame(planFrame);
}

function drawPlan(now) {
    const { view, tiles, ratio } = plan;
    const begin = performance.now();
    const scale = view.scale * ratio;
    const settled = now - plan.lastZoom > SETTLED || tiles.scale === 0;
    if (Math.abs(scale / tiles.scale - 1) > 1e-9 && settled && !view.flight) {
        tiles.rescale(scale, ratio);
    }
    const current = Math.abs(scale / tiles.scale - 1) < 1e-9;
    plan.missing = current ? tiles.work(view, begin + FRAME_BUDGET) : true;
    const context = plan.base.getContext("2d");
    context.setTransform(1, 0, 0, 1, 0, 0);
    context.clearRect(0, 0, plan.base.width, plan.base.height);
    context.globalAlpha = selectedObjects().length > 0 ? 0.42 : 1;
    tiles.draw(context, view);
    context.globalAlpha = 1;
    const above = plan.overlay.getContext("2d");
    above.setTransform(1, 0, 0, 1, 0, 0);
    above.clearRect(0, 0, plan.overlay.width, plan.overlay.height);
    drawOverlay(above);
    scheduleSide();
    plan.dirty = false;
    ++plan.frames;
}

function drawOverlay(context) {
    const { view, ratio } = plan;
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    if (gridOf(choice.floor).indices.length === 0) {
        return;
    }
    drawDiameters(context);
    drawMarkers(context);
    drawSelection(context);
    drawScaleBar(context);
    if (plan.cross) {
        drawCross(context, view.width / 2, view.height / 2);
    }
}

// The diameter of a pipe as people write it; empty when it is not known.
function diameterText(object) {
    const about = report.elements.about(object);
    if (!(about.diameter > 0)) {
        return "";
    }
    const isDuct = about.subCategory === "风管" || about.className.includes("Duct");
    return (isDuct ? "⌀" : "DN") + number(about.diameter, about.diameter % 1 ? 1 : 0).replace(/\D(?=\d{3}\b)/g, "");
}

// Beside the pipes, where they are long enough; what would cover another text is left out.
function drawDiameters(context) {
    const { view, colours } = plan;
    const elements = report.elements;
    if (view.scale < DIAMETER_SCALE) {
        return;
    }
    const inSight = gridOf(choice.floor).find(view.worldX(0), view.worldY(view.height), view.worldX(view.width), view.worldY(0));
    if (inSight.length > MAX_DIAMETERS) {
        return;
    }
    const taken = new Set();
    const chosen = new Set(selectedObjects());
    context.font = "11px system-ui, sans-serif";
    context.textAlign = "center";
    context.textBaseline = "middle";
    context.lineJoin = "round";
    context.lineWidth = 3;
    context.strokeStyle = colours.sheet;
    context.globalAlpha = selectedObjects().length > 0 ? 0.6 : 1;
    for (const object of inSight) {
        const text = elements.hasEnds(object) && !choice.hiddenSpecialties.has(specialtyOf(object)) ? diameterText(object) : "";
        if (text) {
            drawDiameter(context, object, text, taken, chosen.has(object) ? 15 : 8);
        }
    }
    context.globalAlpha = 1;
}

// aside: pixels from the edge of the line to the middle of the text; the mark around what is chosen must not cover it.
function drawDiameter(context, object, text, taken, aside) {
    const { view, colours } = plan;
    const elements = report.elements;
    const dx = (elements.x1[object] - elements.x0[object]) * view.scale;
    const dy = -(elements.y1[object] - elements.y0[object]) * view.scale;
    if (Math.hypot(dx, dy) < DIAMETER_LENGTH) {
        return;
    }
    const x = view.screenX((elements.x0[object] + elements.x1[object]) / 2);
    const y = view.screenY((elements.y0[object] + elements.y1[object]) / 2);
    const cell = Math.floor(x / 48) + ":" + Math.floor(y / 24);
    if (taken.has(cell)) {
        return;
    }
    taken.add(cell);
    // Read from below or from the right, as on drawings.
    let angle = Math.atan2(dy, dx);
    angle = angle > Math.PI / 2 - 1e-6 ? angle - Math.PI : angle < -Math.PI / 2 - 1e-6 ? angle + Math.PI : angle;
    context.save();
    context.translate(x, y);
    context.rotate(angle);
    const away = -lineWidth(elements.width[object], view.scale) / 2 - aside;
    context.strokeText(text, 0, away);
    context.fillStyle = colours.specialties[specialtyOf(object)];
    context.fillText(text, 0, away);
    context.restore();
}

// Chosen pipes that run between the same two ends lie on one line, which looks like one pipe: they are drawn bowed, so
// that each is seen. For each of them how far aside it stands, in bows; those that have their line alone are not there.
function bowsOf(objects) {
    const { elements } = report;
    const lines = new Map();
    for (const object of objects.filter((candidate) => elements.hasEnds(candidate))) {
        const ends = [[elements.x0[object], elements.y0[object], elements.z0[object]],
            [elements.x1[object], elements.y1[object], elements.z1[object]]].map(String);
        const line = ends[0] < ends[1] ? ends.join() : ends.reverse().join();
        lines.set(line, [...lines.get(line) ?? [], object]);
    }
    const bows = new Map();
    for (const twins of [...lines.values()].filter((each) => each.length > 1)) {
        twins.forEach((object, rank) => bows.set(object, 2 * rank - twins.length + 1));
    }
    return bows;
}

// The path of a pipe from one point to the other, its middle so many pixels aside. The side does not depend on which
// end is named first.
function tracePipe(context, from, to, aside) {
    const [low, high] = from.x < to.x || (from.x === to.x && from.y <= to.y) ? [from, to] : [to, from];
    const length = Math.hypot(high.x - low.x, high.y - low.y);
    context.moveTo(low.x, low.y);
    if (aside === 0 || length < 1) {
        context.lineTo(high.x + 0.01, high.y);
        return;
    }
    // A quadratic curve comes half as far from the line as its control point is.
    const reach = 2 * Math.max(-length / 2, Math.min(aside, length / 2)) / length;
    context.quadraticCurveTo((low.x + high.x) / 2 - (high.y - low.y) * reach, (low.y + high.y) / 2 + (high.x - low.x) * reach,
        high.x, high.y);
}

function traceLine(context, object, bow) {
    const { view } = plan;
    const elements = report.elements;
    tracePipe(context, { x: view.screenX(elements.x0[object]), y: view.screenY(elements.y0[object]) },
        { x: view.screenX(elements.x1[object]), y: view.screenY(elements.y1[object]) },
        bow * (BOW + lineWidth(elements.width[object], view.scale) / 2));
}

// Everything chosen gets a halo, wide enough to be seen from afar and dark or light at its edge, so that it stands out
// from every specialty's colour; its own colour stays on top.
function drawSelection(context) {
    const { elements } = report;
    const objects = selectedObjects().filter((object) => elements.floor[object] === choice.floor && elements.isPlaced(object))
        .slice(0, MAX_HALOS).sort((left, right) => elements.hasEnds(right) - elements.hasEnds(left));  // a valve lies on its pipes
    const bows = bowsOf(objects);
    for (const [colour, extra] of [[plan.colours["mark-edge"], 11], [plan.colours.mark, 8]]) {
        for (const object of objects) {
            traceHalo(context, object, extra, colour, bows.get(object) ?? 0);
        }
    }
    for (const object of objects) {
        drawAlone(context, object, bows.get(object) ?? 0);
    }
    const place = choice.finding?.place;
    if (choice.object === null && choice.finding && place) {
        const at = pinPoint(place);
        drawPin(context, at.x, at.y, choice.finding);
    }
}

// Above everything marked, so that it covers nothing of it; at the finding's own place when that is out of sight.
function pinPoint(place) {
    const { view } = plan;
    const box = boxOf(selectedObjects(), null);
    const top = box && { x: view.screenX((box.lowX + box.highX) / 2), y: view.screenY(box.highY) };
    return top && top.y > 52 && top.y < view.height && top.x > 0 && top.x < view.width ? top
        : { x: view.screenX(place.x), y: view.screenY(place.y) };
}

function traceHalo(context, object, extra, colour, bow) {
    const { view } = plan;
    const elements = report.elements;
    context.strokeStyle = colour;
    context.fillStyle = colour;
    context.beginPath();
    if (elements.hasEnds(object)) {
        context.lineCap = "round";
        context.lineWidth = lineWidth(elements.width[object], view.scale) + extra;
        traceLine(context, object, bow);
        context.stroke();
        return;
    }
    const mark = symbolOf(object, view.scale);
    const radius = Math.max(mark.kind === KIND.device ? CHOSEN_DEVICE : 3, mark.radius) + extra / 2 + 1;
    if (mark.isBox) {
        context.roundRect(view.screenX(mark.x) - mark.spanX - extra / 2 - 1, view.screenY(mark.y) - mark.spanY - extra / 2 - 1,
            2 * mark.spanX + extra + 2, 2 * mark.spanY + extra + 2, 4);
    } else {
        context.arc(view.screenX(mark.x), view.screenY(mark.y), radius, 0, 2 * Math.PI);
    }
    context.fill();
}

function drawAlone(context, object, bow) {
    const { view, colours } = plan;
    const elements = report.elements;
    const specialty = specialtyOf(object);
    if (elements.hasEnds(object)) {
        context.lineCap = "butt";
        context.lineWidth = lineWidth(elements.width[object], view.scale);
        context.strokeStyle = colours.specialties[specialty];
        context.beginPath();
        traceLine(context, object, bow);
        context.stroke();
        return;
    }
    const mark = symbolOf(object, view.scale);
    mark.radius = Math.max(mark.kind === KIND.device ? CHOSEN_DEVICE : 2.5, mark.radius);
    drawMark(context, mark, view.screenX(mark.x), view.screenY(mark.y), 1, colours.specialties[specialty],
        colours.fills[specialty]);
}

// Severity by shape as well as by colour: diamond, triangle, circle.
function traceShape(context, state, x, y, radius) {
    context.beginPath();
    if (state === "confirmed") {
        context.moveTo(x, y - radius * 1.15);
        context.lineTo(x + radius * 1.15, y);
        context.lineTo(x, y + radius * 1.15);
        context.lineTo(x - radius * 1.15, y);
        context.closePath();
    } else if (state === "suspected") {
        context.moveTo(x, y - radius * 1.15);
        context.lineTo(x + radius * 1.1, y + radius * 0.8);
        context.lineTo(x - radius * 1.1, y + radius * 0.8);
        context.closePath();
    } else {
        context.arc(x, y, radius * 0.95, 0, 2 * Math.PI);
    }
}

function drawMarkerShape(context, state, x, y, radius, text) {
    traceShape(context, state, x, y, radius);
    context.fillStyle = plan.colours.states[state];
    context.strokeStyle = plan.colours.sheet;
    context.lineWidth = 2;
    context.stroke();
    context.fill();
    context.fillStyle = plan.colours.sheet;
    context.font = `700 ${Math.round(radius * (text.length > 2 ? 0.8 : 1.05))}px system-ui, sans-serif`;
    context.textAlign = "center";
    context.textBaseline = "middle";
    context.fillText(text, x, y + (state === "suspected" ? radius * 0.22 : radius * 0.06));
}

function drawPin(context, x, y, finding) {
    const text = findingName(finding);
    context.font = "700 12px system-ui, sans-serif";
    const width = context.measureText(text).width + 34;
    const top = y - 44;
    context.fillStyle = plan.colours.ink;
    context.beginPath();
    context.roundRect(x - width / 2, top, width, 24, 12);
    context.moveTo(x - 6, top + 23);
    context.lineTo(x, y - 12);
    context.lineTo(x + 6, top + 23);
    context.fill();
    drawMarkerShape(context, finding.state, x - width / 2 + 14, top + 12, 8, SEVERITY_GLYPHS[finding.state]);
    context.font = "700 12px system-ui, sans-serif";
    context.textAlign = "left";
    context.fillStyle = plan.colours.sheet;
    context.fillText(text, x - width / 2 + 26, top + 12.5);
}

// The listed findings of this floor; those that would cover each other share a marker with their number on it. Cells
// belong to the building, so that markers keep still while the plan moves.
function markers() {
    const { view } = plan;
    if (plan.markers?.scale === view.scale) {
        return plan.markers.groups;
    }
    const groups = new Map();
    for (const finding of listed.findings) {
        if (finding.place && finding.shownFloor === choice.floor) {
            const key = Math.floor(finding.place.x * view.scale / CLUSTER) + ":"
                + Math.floor(finding.place.y * view.scale / CLUSTER);
            const group = groups.get(key);
            if (!group) {
                groups.set(key, { x: finding.place.x, y: finding.place.y, worst: finding, findings: [finding] });
            } else {
                group.findings.push(finding);
                group.x += (finding.place.x - group.x) / group.findings.length;
                group.y += (finding.place.y - group.y) / group.findings.length;
                if (GRAVITY.get(finding.state) < GRAVITY.get(group.worst.state)) {
                    group.worst = finding;
                }
            }
        }
    }
    plan.markers = { scale: view.scale, groups: [...groups.values()] };
    return plan.markers.groups;
}

function drawMarkers(context) {
    const { view } = plan;
    for (const group of markers()) {
        const x = view.screenX(group.x);
        const y = view.screenY(group.y);
        if (x < -20 || y < -20 || x > view.width + 20 || y > view.height + 20 || group.findings.includes(choice.finding)) {
            continue;
        }
        const count = group.findings.length;
        context.globalAlpha = choice.finding || choice.object !== null ? 0.45 : 1;
        drawMarkerShape(context, group.worst.state, x, y, count > 1 && !plan.onPaper ? 12 : 9.5,
            count > 1 && !plan.onPaper ? String(count) : SEVERITY_GLYPHS[group.worst.state]);
        if (plan.onPaper) {
            drawMarkerNumbers(context, group, x + 14, y);
        }
    }
    context.globalAlpha = 1;
}

// On paper nothing can be clicked, so the numbers stand beside the markers.
function drawMarkerNumbers(context, group, x, y) {
    const numbers = group.findings.map((finding) => finding.number).sort((left, right) => left - right);
    const text = "#" + numbers.slice(0, 6).join(", ") + (numbers.length > 6 ? " …" : "");
    context.font = "700 13px system-ui, sans-serif";
    context.textAlign = "left";
    context.textBaseline = "middle";
    context.lineJoin = "round";
    context.lineWidth = 4;
    context.strokeStyle = plan.colours.sheet;
    context.strokeText(text, x, y);
    context.fillStyle = plan.colours.ink;
    context.fillText(text, x, y);
}

function drawScaleBar(context) {
    const { view, colours } = plan;
    const most = Math.min(160, view.width / 3) / view.scale;
    const power = 10 ** Math.floor(Math.log10(most));
    const length = [5, 2, 1].map((factor) => factor * power).find((value) => value <= most) ?? power;
    const pixels = length * view.scale;
    const x = 16;
    const y = view.height - 18;
    context.globalAlpha = 0.85;
    context.fillStyle = colours.sheet;
    context.beginPath();
    context.roundRect(x - 8, y - 20, pixels + 16, 28, 6);
    context.fill();
    context.globalAlpha = 1;
    context.lineCap = "butt";
    context.strokeStyle = colours.ink;
    context.lineWidth = 1.6;
    context.beginPath();
    context.moveTo(x, y - 6);
    context.lineTo(x, y);
    context.lineTo(x + pixels, y);
    context.lineTo(x + pixels, y - 6);
    context.stroke();
    context.font = "12px system-ui, sans-serif";
    context.textAlign = "left";
    context.textBaseline = "alphabetic";
    const text = length >= 1000 ? number(length / 1000) + " m" : number(length, length < 1 ? 2 : 0) + " mm";
    context.fillStyle = colours.ink;
    context.fillText(text, x + 6, y - 5);
}

function drawCross(context, x, y) {
    for (const [colour, width] of [[plan.colours.sheet, 4], [plan.colours.ink, 1.5]]) {
        context.strokeStyle = colour;
        context.lineWidth = width;
        context.beginPath();
        for (const [dx, dy] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
            context.moveTo(x + 4 * dx, y + 4 * dy);
            context.lineTo(x + 14 * dx, y + 14 * dy);
        }
        context.stroke();
    }
}

// The distance in pixels from a point to what is drawn of an element; negative inside.
function distanceTo(object, pixelX, pixelY) {
    const { view } = plan;
    const elements = report.elements;
    if (elements.hasEnds(object)) {
        const x0 = view.screenX(elements.x0[object]);
        const y0 = view.screenY(elements.y0[object]);
        const dx = view.screenX(elements.x1[object]) - x0;
        const dy = view.screenY(elements.y1[object]) - y0;
        const part = Math.min(1, Math.max(0, ((pixelX - x0) * dx + (pixelY - y0) * dy) / (dx * dx + dy * dy || 1)));
        return Math.hypot(pixelX - x0 - part * dx, pixelY - y0 - part * dy)
            - lineWidth(elements.width[object], view.scale) / 2;
    }
    const mark = symbolOf(object, view.scale);
    const dx = Math.abs(pixelX - view.screenX(mark.x));
    const dy = Math.abs(pixelY - view.screenY(mark.y));
    return mark.isBox ? Math.max(dx - mark.spanX, dy - mark.spanY) : Math.hypot(dx, dy) - mark.radius;
}

// What lies under a pixel, nearest first; what is smaller comes before what it lies on.
function objectsAt(pixelX, pixelY) {
    const { view } = plan;
    const reach = PICK_RADIUS / view.scale + gridOf(choice.floor).widest;
    const x = view.worldX(pixelX);
    const y = view.worldY(pixelY);
    return gridOf(choice.floor).find(x - reach, y - reach, x + reach, y + reach)
        .filter((object) => !choice.hiddenSpecialties.has(specialtyOf(object)))
        .map((object) => ({ object, distance: distanceTo(object, pixelX, pixelY) }))
        .filter((hit) => hit.distance < PICK_RADIUS)
        .sort((left, right) => Math.max(0, left.distance) - Math.max(0, right.distance)
            || area(left.object) - area(right.object) || left.object - right.object)
        .map((hit) => hit.object);
}

function area(object) {
    const elements = report.elements;
    return (elements.highX[object] - elements.lowX[object] + elements.width[object])
        * (elements.highY[object] - elements.lowY[object] + elements.width[object]);
}

function selectStaying(finding, object) {
    choice.stay = true;
    select(finding, object);
    choice.stay = false;
}

function markerAt(pixelX, pixelY) {
    const { view } = plan;
    return markers().find((group) =>
        Math.hypot(view.screenX(group.x) - pixelX, view.screenY(group.y) - pixelY) < 13);
}

// What lies under the resting pointer is named before it is clicked.
function showTip() {
    const tip = byId("tip");
    const at = plan.pointerAt;
    const group = at && markerAt(at.x, at.y);
    const object = at && !group ? objectsAt(at.x, at.y)[0] : undefined;
    tip.hidden = !group && object === undefined;
    plan.overlay.classList.toggle("over", !tip.hidden);
    if (tip.hidden) {
        return;
    }
    tip.replaceChildren(...group ? group.findings.slice(0, TIP_FINDINGS).map((finding) => make("p", {},
        make("b", {}, findingName(finding) + " "), fromModel(finding.sentence))) : objectTip(object));
    if (group && group.findings.length > TIP_FINDINGS) {
        tip.append(make("p", { class: "soft" }, "+ " + number(group.findings.length - TIP_FINDINGS)));
    }
    // Measured only now: it stays inside the plan, on the side where there is room.
    const { width, height } = tip.getBoundingClientRect();
    tip.style.left = Math.max(4, Math.min(at.x + 14, plan.view.width - width - 6)) + "px";
    tip.style.top = (at.y + 18 + height > plan.view.height ? Math.max(4, at.y - height - 12) : at.y + 18) + "px";
}

function objectTip(object) {
    const elements = report.elements;
    const about = elements.about(object);
    const touching = report.touching.get(object) ?? [];
    const parts = [term(about.subCategory) || about.className, diameterText(object)].filter((part) => part);
    return [make("p", {}, fromModel(elements.name(object) || word("unnamed"), { class: "tip-name" })),
        make("p", { class: "soft" }, fromModel(parts.join(" · "))),
        touching.length === 0 ? null : make("p", {}, counted("floorFindings", touching.length) + ": "
            + touching.slice(0, TIP_FINDINGS).map(findingName).join(", ") + (touching.length > TIP_FINDINGS ? " …" : ""))]
        .filter((part) => part);
}

function hideTip() {
    plan.pointerAt = null;
    clearTimeout(plan.tipTimer);
    byId("tip").hidden = true;
    plan.overlay.classList.remove("over");
}

// A click on a marker chooses its finding, on an object the object; the next click at the same place the one below it.
function pickAt(pixelX, pixelY) {
    const group = markerAt(pixelX, pixelY);
    if (group && !(group.findings.includes(choice.finding) && group.findings.length === 1)) {
        const at = group.findings.indexOf(choice.finding);
        selectStaying(group.findings[(at + 1) % group.findings.length], null);
        return;
    }
    const objects = objectsAt(pixelX, pixelY);
    if (objects.length === 0) {
        selectStaying(null, null);
        say(word("nothingHere"));
        return;
    }
    const at = objects.indexOf(choice.object);
    selectStaying(null, objects[(at + 1) % objects.length]);
}

function zoomBy(factor, pixelX = plan.view.width / 2, pixelY = plan.view.height / 2) {
    plan.view.zoomAt(pixelX, pixelY, factor);
    plan.lastZoom = performance.now();
    redraw();
}

function listenToPlan() {
    const { overlay, view, pointers } = plan;
    const at = (event) => {
        const box = overlay.getBoundingClientRect();
        return { x: event.clientX - box.left, y: event.clientY - box.top };
    };
    overlay.addEventListener("pointerdown", (event) => {
        overlay.setPointerCapture(event.pointerId);
        hideTip();
        pointers.set(event.pointerId, at(event));
        if (pointers.size === 1) {
            plan.dragged = 0;
        }
        plan.cross = false;
        redraw();
    });
    overlay.addEventListener("pointermove", (event) => {
        if (pointers.has(event.pointerId)) {
            movePointer(event.pointerId, at(event));
        } else if (event.pointerType === "mouse") {
            plan.pointerAt = at(event);
            clearTimeout(plan.tipTimer);
            plan.tipTimer = setTimeout(showTip, TIP_DELAY);
        }
    });
    overlay.addEventListener("pointerleave", hideTip);
    const end = (event) => {
        if (pointers.delete(event.pointerId) && pointers.size === 0 && plan.dragged < 4 && event.type === "pointerup") {
            const { x, y } = at(event);
            pickAt(x, y);
        }
        overlay.classList.remove("dragging");
    };
    overlay.addEventListener("pointerup", end);
    overlay.addEventListener("pointercancel", end);
    overlay.addEventListener("wheel", (event) => {
        event.preventDefault();
        hideTip();
        const { x, y } = at(event);
        const lines = event.deltaMode === 1 ? 30 : 1;
        zoomBy(Math.exp(-Math.max(-240, Math.min(240, event.deltaY * lines)) * 0.0022), x, y);
    }, { passive: false });
    overlay.addEventListener("dblclick", (event) => {
        const { x, y } = at(event);
        zoomBy(2, x, y);
    });
    overlay.addEventListener("keydown", planKey);
    overlay.addEventListener("blur", () => {
        plan.cross = false;
        redraw();
    });
    byId("zoom-in").addEventListener("click", () => zoomBy(1.6));
    byId("zoom-out").addEventListener("click", () => zoomBy(1 / 1.6));
    byId("zoom-fit").addEventListener("click", () => fitFloor(true));
    view.flight = null;
}

// One finger moves the plan, two move and zoom it.
function movePointer(id, to) {
    const { view, pointers, overlay } = plan;
    const from = pointers.get(id);
    const other = [...pointers.entries()].find(([key]) => key !== id)?.[1];
    if (other) {
        const before = Math.hypot(from.x - other.x, from.y - other.y);
        const after = Math.hypot(to.x - other.x, to.y - other.y);
        view.moveBy((to.x - from.x) / 2, (to.y - from.y) / 2);
        zoomBy(after / Math.max(1, before), (to.x + other.x) / 2, (to.y + other.y) / 2);
    } else {
        view.moveBy(to.x - from.x, to.y - from.y);
    }
    plan.dragged += Math.hypot(to.x - from.x, to.y - from.y);
    overlay.classList.toggle("dragging", plan.dragged >= 4);
    pointers.set(id, to);
    redraw();
}

function planKey(event) {
    const { view } = plan;
    const step = event.shiftKey ? 4 * KEY_STEP : KEY_STEP;
    const actions = {
        ArrowLeft: () => view.moveBy(step, 0), ArrowRight: () => view.moveBy(-step, 0),
        ArrowUp: () => view.moveBy(0, step), ArrowDown: () => view.moveBy(0, -step),
        "+": () => zoomBy(1.4), "=": () => zoomBy(1.4), "-": () => zoomBy(1 / 1.4), 0: () => fitFloor(true),
        n: () => stepObject(1), p: () => stepObject(-1), N: () => stepObject(1), P: () => stepObject(-1),
        Enter: () => pickAt(view.width / 2, view.height / 2), Escape: () => selectStaying(null, null),
        PageUp: () => stepFloor(1), PageDown: () => stepFloor(-1),
    };
    if (actions[event.key] && !event.ctrlKey && !event.metaKey && !event.altKey) {
        event.preventDefault();
        plan.cross = true;
        actions[event.key]();
        redraw();
    }
}

// The objects in sight, from top to bottom and left to right, one after the other.
function stepObject(direction) {
    const { view } = plan;
    const elements = report.elements;
    const rank = (object) => Math.round(view.screenY(elements.highY[object]) / 24) * 1e6 + view.screenX(elements.lowX[object]);
    const inSight = gridOf(choice.floor)
        .find(view.worldX(0), view.worldY(view.height), view.worldX(view.width), view.worldY(0))
        .filter((object) => !choice.hiddenSpecialties.has(specialtyOf(object)))
        .sort((left, right) => rank(left) - rank(right) || left - right);
    if (inSight.length > 0) {
        const at = inSight.indexOf(choice.object);
        const next = at < 0 ? (direction > 0 ? 0 : inSight.length - 1) : (at + direction + inSight.length) % inSight.length;
        selectStaying(null, inSight[next]);
    }
}

// Floors that can be shown, from the lowest: those of the model, then what has none.
function shownFloors() {
    const floors = report.floors.map((floor, index) => index);
    return report.elements.floor.includes(NO_FLOOR) || floors.length === 0 ? [...floors, NO_FLOOR] : floors;
}

function goToFloor(floor) {
    if (floor !== choice.floor) {
        choice.floor = floor;
        tell("floor");
        say(floorName(floor));
    }
}

function stepFloor(direction) {
    const floors = shownFloors();
    const next = floors[floors.indexOf(choice.floor) + direction];
    if (next !== undefined) {
        goToFloor(next);
    }
}
