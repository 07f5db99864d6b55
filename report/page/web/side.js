// SPDX-License-Identifier: Apache-2.0
// The side view: what is in sight in the plan, seen level from the south or the west, with the floors' heights.

const SIDE_DELAY = 120;  // milliseconds after the plan came to rest
const SIDE_BUDGET = 8;   // milliseconds at a time
const SIDE_BOW = 7;      // pixels that the middle of a bowed pipe stands aside

const side = { alongY: false, timer: 0, steps: null };

function startSide() {
    new ResizeObserver(scheduleSide).observe(byId("side"));
    on("selection", scheduleSide);
    on("language", scheduleSide);
    byId("side-axis").addEventListener("click", () => {
        side.alongY = !side.alongY;
        nameSideAxis();
        scheduleSide();
    });
    on("language", nameSideAxis);
    nameSideAxis();
}

function nameSideAxis() {
    byId("side-axis").textContent = word(side.alongY ? "lookEast" : "lookNorth");
}

function scheduleSide() {
    clearTimeout(side.timer);
    side.timer = setTimeout(() => {
        side.steps = paintSide();
        workSide(side.steps);
    }, SIDE_DELAY);
}

function workSide(steps) {
    const end = performance.now() + SIDE_BUDGET;
    while (side.steps === steps) {
        if (steps.next().done) {
            return;
        }
        if (performance.now() > end) {
            requestAnimationFrame(() => workSide(steps));
            return;
        }
    }
}

// From millimetres to the pixels of the side view. Heights are stretched to fill it; a text says how much.
function sideFrame(indices, width, height) {
    const { view } = plan;
    const elements = report.elements;
    let low = Infinity;
    let high = -Infinity;
    for (const index of indices) {
        low = Math.min(low, elements.lowZ[index]);
        high = Math.max(high, elements.highZ[index]);
    }
    const spare = Math.max(300, (high - low) * 0.12);
    low -= spare;
    high += spare;
    const from = side.alongY ? view.worldY(view.height) : view.worldX(0);
    const to = side.alongY ? view.worldY(0) : view.worldX(view.width);
    return {
        low, high, height,
        along: (value) => (value - from) / (to - from) * width,
        up: (value) => height - (value - low) / (high - low) * height,
        acrossScale: width / (to - from), upScale: height / (high - low),
    };
}

function* paintSide() {
    const canvas = byId("side");
    const { width, height } = canvas.getBoundingClientRect();
    const ratio = plan.ratio;
    if (width < 2 || height < 2) {
        return;
    }
    const { view, colours } = plan;
    const chosen = new Set(selectedObjects());
    const indices = gridOf(choice.floor)
        .find(view.worldX(0), view.worldY(view.height), view.worldX(view.width), view.worldY(0))
        .filter((index) => !choice.hiddenSpecialties.has(specialtyOf(index)));
    yield;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    const context = canvas.getContext("2d");
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    if (indices.length === 0) {
        return;
    }
    const frame = sideFrame(indices, width, height);
    drawHeights(context, frame, width);
    context.globalAlpha = chosen.size > 0 ? 0.42 : 1;
    yield* paintSideElements(context, frame, indices, colours);
    context.globalAlpha = 1;
    const bows = bowsOf([...chosen]);
    for (const index of chosen) {
        const bow = bows.get(index) ?? 0;
        if (report.elements.isPlaced(index) && report.elements.floor[index] === choice.floor) {
            drawSideShape(context, frame, index, colours["mark-edge"], 8, bow);
            drawSideShape(context, frame, index, colours.mark, 5.5, bow);
            drawSideShape(context, frame, index, colours.specialties[specialtyOf(index)], 2, bow);
        }
    }
    drawHeightTexts(context, frame, width);
}

// Lines that fall on the same pixels are drawn once: from the side most of a floor lies in front of the rest.
function* paintSideElements(context, frame, indices, colours) {
    const drawn = new Set();
    let count = 0;
    for (let at = 0; at < indices.length; ++at) {
        const [x0, y0, x1, y1] = sideLine(frame, indices[at]).map(Math.round);
        const specialty = specialtyOf(indices[at]);
        const body = sideBox(frame, indices[at]);
        if (body) {
            context.fillStyle = colours.fills[specialty];
            context.strokeStyle = colours.specialties[specialty];
            context.lineWidth = 1.2;
            context.fillRect(...body);
            context.strokeRect(...body);
            count += 2;
            continue;
        }
        const key = ((((x0 & 4095) * 4096 + (x1 & 4095)) * 256 + (y0 & 255)) * 256 + (y1 & 255)) * 6 + specialty;
        if (!drawn.has(key)) {
            drawn.add(key);
            context.fillStyle = colours.specialties[specialty];
            if (y0 === y1 || x0 === x1) {
                context.fillRect(Math.min(x0, x1), Math.min(y0, y1), Math.max(1.4, Math.abs(x1 - x0)),
                    Math.max(1.4, Math.abs(y1 - y0)));
            } else {
                drawSideLine(context, frame, indices[at], colours.specialties[specialty], 1.4);
            }
            ++count;
        }
        if (count >= 500 || at % 5000 === 4999) {
            count = 0;
            yield;
        }
    }
}

function sideLine(frame, index) {
    const elements = report.elements;
    if (elements.hasEnds(index)) {
        const from = side.alongY ? elements.y0[index] : elements.x0[index];
        const to = side.alongY ? elements.y1[index] : elements.x1[index];
        return [frame.along(from), frame.up(elements.z0[index]), frame.along(to), frame.up(elements.z1[index])];
    }
    const low = side.alongY ? elements.lowY : elements.lowX;
    const high = side.alongY ? elements.highY : elements.highX;
    const middle = frame.up((elements.lowZ[index] + elements.highZ[index]) / 2);
    return [frame.along(low[index]), middle, frame.along(high[index]), middle];
}

// Left, top, width and height of what is drawn with its body; nothing for lines and for what is too small.
function sideBox(frame, index) {
    const elements = report.elements;
    if (elements.hasEnds(index)) {
        return null;
    }
    const low = side.alongY ? elements.lowY : elements.lowX;
    const high = side.alongY ? elements.highY : elements.highX;
    const left = frame.along(low[index]);
    const top = frame.up(elements.highZ[index]);
    const width = frame.along(high[index]) - left;
    const height = frame.up(elements.lowZ[index]) - top;
    return width >= 3 && height >= 3 ? [left, top, width, height] : null;
}

function drawSideShape(context, frame, index, colour, width, bow) {
    const body = sideBox(frame, index);
    if (!body) {
        drawSideLine(context, frame, index, colour, width, bow);
        return;
    }
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.lineJoin = "round";
    context.strokeRect(...body);
}

function drawSideLine(context, frame, index, colour, width, bow = 0) {
    const [x0, y0, x1, y1] = sideLine(frame, index);
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.lineCap = "round";
    context.beginPath();
    tracePipe(context, { x: x0, y: y0 }, { x: x1, y: y1 }, bow * SIDE_BOW);
    context.stroke();
}

function heightSteps(frame) {
    const most = (frame.high - frame.low) / 2.2;
    const power = 10 ** Math.floor(Math.log10(most));
    const step = [5, 2, 1].map((factor) => factor * power).find((value) => value <= most) ?? power;
    const heights = [];
    for (let height = Math.ceil(frame.low / step) * step; height <= frame.high; height += step) {
        heights.push(height);
    }
    return heights;
}

function drawHeights(context, frame, width) {
    context.strokeStyle = plan.colours.line;
    context.lineWidth = 1;
    for (const height of heightSteps(frame)) {
        context.beginPath();
        context.moveTo(0, Math.round(frame.up(height)) + 0.5);
        context.lineTo(width, Math.round(frame.up(height)) + 0.5);
        context.stroke();
    }
    context.strokeStyle = plan.colours["ink-soft"];
    context.setLineDash([6, 4]);
    for (const floor of floorsInSight(frame)) {
        context.beginPath();
        context.moveTo(0, Math.round(frame.up(floor.elevation)) + 0.5);
        context.lineTo(width, Math.round(frame.up(floor.elevation)) + 0.5);
        context.stroke();
    }
    context.setLineDash([]);
}

function floorsInSight(frame) {
    return report.floors.filter((floor) => floor.elevation !== null && frame.up(floor.elevation) > 9
        && frame.up(floor.elevation) < frame.height - 5);
}

function drawHeightTexts(context, frame, width) {
    context.font = "11px system-ui, sans-serif";
    context.textAlign = "right";
    context.textBaseline = "middle";
    const write = (text, y) => {
        const wide = context.measureText(text).width;
        context.fillStyle = plan.colours.sheet;
        context.fillRect(width - 10 - wide, y - 7, wide + 8, 14);
        context.fillStyle = plan.colours["ink-soft"];
        context.fillText(text, width - 6, y);
    };
    const metres = (height) => {
        const shown = Math.round(height / 10) / 100 + 0;  // never minus zero
        return (shown > 0 ? "+" : "") + number(shown, 2) + " m";
    };
    const named = [];
    for (const floor of floorsInSight(frame)) {
        const y = frame.up(floor.elevation);
        if (named.every((other) => Math.abs(other - y) > 13)) {
            named.push(y);
            context.font = "600 11px system-ui, sans-serif";
            write(floor.name + "  " + metres(floor.elevation), y);
        }
    }
    context.font = "11px system-ui, sans-serif";
    for (const height of heightSteps(frame).filter((step) => frame.up(step) > 8 && frame.up(step) < frame.height - 8)) {
        if (named.every((other) => Math.abs(other - frame.up(height)) > 13)) {
            write(metres(height), frame.up(height));
        }
    }
    const stretch = frame.upScale / frame.acrossScale;
    if (stretch > 1.05 || stretch < 0.95) {
        context.textAlign = "left";
        context.fillStyle = plan.colours["ink-soft"];
        context.fillText(word("stretched", { n: rough(stretch) }), 12, frame.height - 10);
    }
}
