// SPDX-License-Identifier: Apache-2.0
// Draws the elements of a floor in square tiles that are kept, so that moving the plan only moves pictures. A grid over
// the floor finds what lies in a tile. Tiles are drawn a little at a time; none makes a frame late.

const TILE = 512;          // device pixels
const OVERLAP = 64;        // device pixels around a tile where marks may lie that reach into it
const KEPT_TILES = 80;     // about 80 MB of pictures
const DRAWN_AT_ONCE = 600; // between two looks at the clock
const CELLS_PER_LONG_ELEMENT = 400;

const KIND = { segment: 0, fitting: 1, device: 2, equipment: 3, terminal: 4, other: 5 };
// Second channel beside the colour, as on drawings: lengths of line and gap, in line widths of at least two pixels.
const DASHES = [[], [9, 3, 2, 3], [14, 3], [6, 3], [2, 2.5], []];
const WIDE = 5;            // pixels from which a line shows its two edges
// Below this scale (pixels for a millimetre) dashes would be noise.
const DASH_SCALE = 0.012;

// Which elements of a floor lie where.
class Grid {
    constructor(indices) {
        this.indices = indices;
        const elements = report.elements;
        const box = this.box = { lowX: Infinity, lowY: Infinity, highX: -Infinity, highY: -Infinity };
        this.widest = 0;
        for (const index of indices) {
            box.lowX = Math.min(box.lowX, elements.lowX[index]);
            box.lowY = Math.min(box.lowY, elements.lowY[index]);
            box.highX = Math.max(box.highX, elements.highX[index]);
            box.highY = Math.max(box.highY, elements.highY[index]);
            this.widest = Math.max(this.widest, elements.width[index]);
        }
        const area = Math.max(1, box.highX - box.lowX) * Math.max(1, box.highY - box.lowY);
        this.size = Math.max(100, Math.sqrt(area / Math.max(1, indices.length / 3)),
            (box.highX - box.lowX) / 2000, (box.highY - box.lowY) / 2000);
        this.columns = indices.length ? Math.floor((box.highX - box.lowX) / this.size) + 1 : 0;
        this.rows = indices.length ? Math.floor((box.highY - box.lowY) / this.size) + 1 : 0;
        this.fill();
        this.seen = new Uint32Array(elements.count);
        this.turn = 0;
    }
    fill() {
        const starts = this.starts = new Uint32Array(this.columns * this.rows + 1);
        this.everywhere = [];
        for (const index of this.indices) {
            this.cellsOf(index, (cell) => ++starts[cell + 1], () => this.everywhere.push(index));
        }
        for (let cell = 0; cell < this.columns * this.rows; ++cell) {
            starts[cell + 1] += starts[cell];
        }
        const next = starts.slice();
        this.items = new Uint32Array(starts[this.columns * this.rows]);
        for (const index of this.indices) {
            this.cellsOf(index, (cell) => this.items[next[cell]++] = index, () => {});
        }
    }
    cellsOf(index, take, takeEverywhere) {
        const elements = report.elements;
        const left = Math.floor((elements.lowX[index] - this.box.lowX) / this.size);
        const right = Math.floor((elements.highX[index] - this.box.lowX) / this.size);
        const bottom = Math.floor((elements.lowY[index] - this.box.lowY) / this.size);
        const top = Math.floor((elements.highY[index] - this.box.lowY) / this.size);
        if ((right - left + 1) * (top - bottom + 1) > CELLS_PER_LONG_ELEMENT) {
            takeEverywhere();
            return;
        }
        for (let row = bottom; row <= top; ++row) {
            for (let column = left; column <= right; ++column) {
                take(row * this.columns + column);
            }
        }
    }
    // Indices of the elements whose boxes may meet a box, each once, ascending.
    find(lowX, lowY, highX, highY) {
        const found = [...this.everywhere];
        const turn = ++this.turn;
        const left = Math.max(0, Math.floor((lowX - this.box.lowX) / this.size));
        const right = Math.min(this.columns - 1, Math.floor((highX - this.box.lowX) / this.size));
        const bottom = Math.max(0, Math.floor((lowY - this.box.lowY) / this.size));
        const top = Math.min(this.rows - 1, Math.floor((highY - this.box.lowY) / this.size));
        for (let row = bottom; row <= top; ++row) {
            for (let item = this.starts[row * this.columns + left]; item < this.starts[row * this.columns + right + 1];
                ++item) {
                const index = this.items[item];
                if (this.seen[index] !== turn) {
                    this.seen[index] = turn;
                    found.push(index);
                }
            }
        }
        return found;
    }
    // The box of the most of it: some models have a lost element kilometres away, which must not shrink the rest to a dot.
    usualBox() {
        if (this.indices.length < 20) {
            return this.box;
        }
        const elements = report.elements;
        const range = (low, high, from, to) => {
            const lows = Float64Array.from(this.indices, (index) => low[index]).sort();
            const highs = Float64Array.from(this.indices, (index) => high[index]).sort();
            const first = lows[Math.floor(lows.length * 0.02)];
            const last = highs[Math.ceil(highs.length * 0.98) - 1];
            const spare = 2 * (last - first) + 5000;
            return [Math.max(from, first - spare), Math.min(to, last + spare)];
        };
        const [lowX, highX] = range(elements.lowX, elements.highX, this.box.lowX, this.box.highX);
        const [lowY, highY] = range(elements.lowY, elements.highY, this.box.lowY, this.box.highY);
        return { lowX, lowY, highX, highY };
    }
}

// Diameter and scale as a width in pixels: true to scale, but never thinner than the eye can tell sizes apart.
function lineWidth(diameter, scale) {
    const least = diameter <= 0 ? 1 : 0.9 + Math.min(1.8, Math.log2(1 + diameter / 40) * 0.55);
    return Math.max(least, diameter * scale);
}

// Draws elements in the pixels of one picture. The steps are those of a generator, so that its caller can pause it.
class Painter {
    constructor(context, frame, colours) {
        this.context = context;
        this.frame = frame;    // lowX and highY of the picture, scale in its pixels, ratio of its pixels to those of the page
        this.colours = colours;
        this.lines = new Map();
        this.dots = new Map();
        this.taken = new Map();
    }
    x(value) {
        return (value - this.frame.lowX) * this.frame.scale;
    }
    y(value) {
        return (this.frame.highY - value) * this.frame.scale;
    }
    // Whether a small mark at a pixel is the first one of its sort there.
    isFirstAt(x, y, sort, size) {
        const columns = Math.ceil((TILE + 2 * OVERLAP) / size);
        const column = Math.floor((x + OVERLAP) / size);
        const row = Math.floor((y + OVERLAP) / size);
        if (column < 0 || row < 0 || column >= columns || row >= columns) {
            return true;
        }
        let taken = this.taken.get(sort);
        if (!taken) {
            this.taken.set(sort, taken = new Uint8Array(columns * columns));
        }
        const cell = row * columns + column;
        if (taken[cell]) {
            return false;
        }
        taken[cell] = 1;
        return true;
    }
    *paint(indices) {
        const symbols = [];
        for (let at = 0; at < indices.length; ++at) {
            const index = indices[at];
            if (choice.hiddenSpecialties.has(specialtyOf(index))) {
                continue;
            }
            if (report.elements.hasEnds(index)) {
                this.collectLine(index, symbols);
            } else {
                symbols.push(index);
            }
            if (at % 4000 === 3999) {
                yield;
            }
        }
        yield* this.strokeLines();
        yield* this.drawSymbols(symbols);
    }
    collectLine(index, symbols) {
        const elements = report.elements;
        const specialty = specialtyOf(index);
        const x0 = this.x(elements.x0[index]);
        const y0 = this.y(elements.y0[index]);
        const x1 = this.x(elements.x1[index]);
        const y1 = this.y(elements.y1[index]);
        const length = Math.hypot(x1 - x0, y1 - y0);
        const width = lineWidth(elements.width[index], this.frame.scale / this.frame.ratio) * this.frame.ratio;
        if (length < width && Math.abs(elements.z1[index] - elements.z0[index]) * this.frame.scale > length) {
            symbols.push(index);
            return;
        }
        if (length < 1.5 && width < 2 && !this.isFirstAt(x0, y0, "dot" + specialty, 1)) {
            return;
        }
        const step = Math.max(0, Math.round(4 * Math.log2(width)));
        const key = specialty * 64 + step;
        let coordinates = this.lines.get(key);
        if (!coordinates) {
            this.lines.set(key, coordinates = []);
        }
        coordinates.push(x0, y0, x1, y1);
    }
    *strokeLines() {
        const keys = [...this.lines.keys()].sort((left, right) => left - right);
        for (const key of keys) {
            const specialty = Math.floor(key / 64);
            const width = 2 ** ((key % 64) / 4);
            const ratio = this.frame.ratio;
            const dashed = this.frame.scale / ratio > DASH_SCALE;
            const coordinates = this.lines.get(key);
            const colour = this.colours.specialties[specialty];
            const dashes = (unit) => dashed ? DASHES[specialty].map((part) => part * unit) : [];
            if (width < WIDE * ratio) {
                yield* this.strokeAll(coordinates, colour, width, dashes(Math.max(1.4 * ratio, width * 0.6)));
            } else {
                // Wide enough for two edges, with the dashes in the middle.
                yield* this.strokeAll(coordinates, colour, width, []);
                yield* this.strokeAll(coordinates, this.colours.fills[specialty], width - 2.4 * ratio, []);
                yield* this.strokeAll(coordinates, colour, 1.3 * ratio, dashes(1.6 * ratio));
            }
        }
    }
    *strokeAll(coordinates, colour, width, dashes) {
        const context = this.context;
        context.strokeStyle = colour;
        context.lineWidth = width;
        context.lineCap = "butt";
        context.setLineDash(dashes);
        for (let at = 0; at < coordinates.length;) {
            const end = Math.min(coordinates.length, at + 4 * DRAWN_AT_ONCE);
            context.beginPath();
            for (; at < end; at += 4) {
                context.moveTo(coordinates[at], coordinates[at + 1]);
                context.lineTo(coordinates[at + 2], coordinates[at + 3]);
            }
            context.stroke();
            yield;
        }
        context.setLineDash([]);
    }
    *drawSymbols(symbols) {
        let drawn = 0;
        for (const wanted of [[KIND.segment], [KIND.fitting], [KIND.equipment], [KIND.device], [KIND.terminal, KIND.other]]) {
            for (const index of symbols) {
                if (wanted.includes(report.elements.about(index).kind) && this.drawSymbol(index)
                    && ++drawn % DRAWN_AT_ONCE === 0) {
                    yield;
                }
            }
        }
    }
    // Returns false for a symbol that is left out because one of its sort covers it already.
    drawSymbol(index) {
        const ratio = this.frame.ratio;
        const mark = symbolOf(index, this.frame.scale / ratio);
        const x = this.x(mark.x);
        const y = this.y(mark.y);
        const small = mark.radius * ratio < 3 * ratio;
        if (mark.radius < 0.6 || (small && !this.isFirstAt(x, y, "symbol" + mark.kind + specialtyOf(index), 3))) {
            return false;
        }
        const specialty = specialtyOf(index);
        drawMark(this.context, mark, x, y, ratio, this.colours.specialties[specialty], this.colours.fills[specialty]);
        return true;
    }
}

// How an element that is no line stands in the plan: its middle and its size in pixels of the page.
function symbolOf(index, scale) {
    const elements = report.elements;
    const about = elements.about(index);
    const spanX = (elements.highX[index] - elements.lowX[index]) * scale / 2;
    const spanY = (elements.highY[index] - elements.lowY[index]) * scale / 2;
    const mark = { kind: about.kind, x: elements.x0[index], y: elements.y0[index], spanX, spanY,
        diameter: elements.width[index] * scale / 2 };
    const body = Math.max(mark.diameter, Math.min(spanX, spanY));
    if (about.kind === KIND.segment) {
        mark.radius = Math.max(2.4, mark.diameter);
    } else if (about.kind === KIND.fitting) {
        // Joints grow with their pipes; far away they would only be noise.
        mark.radius = scale < 0.004 ? 0 : Math.max(1.5, Math.min(body * 1.05, mark.diameter > 0 ? mark.diameter * 1.3 : body));
    } else if (about.kind === KIND.equipment) {
        mark.x = (elements.lowX[index] + elements.highX[index]) / 2;
        mark.y = (elements.lowY[index] + elements.highY[index]) / 2;
        mark.spanX = Math.max(4, spanX);
        mark.spanY = Math.max(4, spanY);
        mark.radius = Math.max(mark.spanX, mark.spanY);
        mark.isBox = true;
    } else if (about.kind === KIND.device) {
        mark.radius = scale < 0.004 ? 0 : Math.max(3.4, Math.max(spanX, spanY, mark.diameter * 1.3));
    } else {
        // Radiators and the like are long; a ring would hide where they reach.
        mark.isBox = about.kind === KIND.terminal && Math.max(spanX, spanY) > 6 && Math.max(spanX, spanY) > 2 * Math.min(spanX, spanY);
        if (mark.isBox) {
            mark.x = (elements.lowX[index] + elements.highX[index]) / 2;
            mark.y = (elements.lowY[index] + elements.highY[index]) / 2;
            mark.spanX = Math.max(2.5, spanX);
            mark.spanY = Math.max(2.5, spanY);
        }
        mark.radius = scale < 0.002 ? 1.5 : Math.max(about.kind === KIND.terminal ? 3.2 : 2.4, Math.min(body, 14));
    }
    return mark;
}

function drawMark(context, mark, x, y, ratio, colour, fill) {
    const radius = mark.radius * ratio;
    context.strokeStyle = colour;
    context.fillStyle = colour;
    context.lineWidth = 1.3 * ratio;
    context.beginPath();
    if (mark.kind === KIND.segment) {
        context.fillStyle = fill;
        context.arc(x, y, radius, 0, 2 * Math.PI);
        context.fill();
        context.stroke();
        context.fillStyle = colour;
        context.beginPath();
        context.arc(x, y, Math.max(0.8 * ratio, radius * 0.25), 0, 2 * Math.PI);
        context.fill();
    } else if (mark.kind === KIND.fitting) {
        context.arc(x, y, radius, 0, 2 * Math.PI);
        context.fill();
    } else if (mark.kind === KIND.device) {
        const along = mark.spanX >= mark.spanY;
        const short = radius * 0.62;
        const points = along ? [[-radius, -short], [radius, short], [radius, -short], [-radius, short]]
            : [[-short, -radius], [short, radius], [-short, radius], [short, -radius]];
        points.forEach(([dx, dy], at) => at === 0 ? context.moveTo(x + dx, y + dy) : context.lineTo(x + dx, y + dy));
        context.closePath();
        context.fillStyle = fill;
        context.fill();
        context.stroke();
    } else if (mark.kind === KIND.equipment) {
        drawCrossedBox(context, x, y, mark.spanX * ratio, mark.spanY * ratio, fill);
    } else if (mark.kind === KIND.terminal) {
        context.fillStyle = fill;
        if (mark.isBox) {
            context.rect(x - mark.spanX * ratio, y - mark.spanY * ratio, 2 * mark.spanX * ratio, 2 * mark.spanY * ratio);
        } else {
            context.arc(x, y, radius, 0, 2 * Math.PI);
        }
        context.fill();
        context.stroke();
        context.fillStyle = colour;
        context.fillRect(x - 0.9 * ratio, y - 0.9 * ratio, 1.8 * ratio, 1.8 * ratio);
    } else {
        context.strokeRect(x - radius * 0.8, y - radius * 0.8, radius * 1.6, radius * 1.6);
    }
}

function drawCrossedBox(context, x, y, halfWidth, halfHeight, fill) {
    context.fillStyle = fill;
    context.rect(x - halfWidth, y - halfHeight, 2 * halfWidth, 2 * halfHeight);
    context.fill();
    context.moveTo(x - halfWidth, y - halfHeight);
    context.lineTo(x + halfWidth, y + halfHeight);
    context.moveTo(x + halfWidth, y - halfHeight);
    context.lineTo(x - halfWidth, y + halfHeight);
    context.stroke();
}

// The tiles of one floor at one scale. Those of the scale before stay behind them until the new ones are there.
class Tiles {
    constructor(grid, colours) {
        this.grid = grid;
        this.colours = colours;
        this.scale = 0;
        this.ratio = 1;
        this.tiles = new Map();
        this.backdrop = null;
    }
    // Begins anew at another scale.
    rescale(scale, ratio) {
        if (this.scale > 0 && [...this.tiles.values()].some((tile) => tile.done)) {
            this.backdrop = { tiles: this.tiles, scale: this.scale };
        }
        this.tiles = new Map();
        this.scale = scale;
        this.ratio = ratio;
    }
    // The tiles that cover the view, nearest to its middle first.
    wanted(view) {
        const size = TILE / this.scale;
        const halfWidth = view.width * this.ratio / 2 / this.scale;
        const halfHeight = view.height * this.ratio / 2 / this.scale;
        const keys = [];
        for (let row = Math.floor((view.y - halfHeight) / size); row <= Math.floor((view.y + halfHeight) / size); ++row) {
            for (let column = Math.floor((view.x - halfWidth) / size);
                column <= Math.floor((view.x + halfWidth) / size); ++column) {
                const away = Math.hypot((column + 0.5) * size - view.x, (row + 0.5) * size - view.y);
                keys.push({ key: column + ":" + row, column, row, away });
            }
        }
        return keys.sort((left, right) => left.away - right.away);
    }
    // Draws until the deadline. Returns whether tiles are missing still.
    work(view, deadline) {
        for (const place of this.wanted(view)) {
            let tile = this.tiles.get(place.key);
            if (tile) {
                this.tiles.delete(place.key);
            } else {
                tile = this.begin(place);
            }
            this.tiles.set(place.key, tile);  // the latest used is the last
            while (!tile.done) {
                if (performance.now() > deadline) {
                    return true;
                }
                tile.done = tile.steps.next().done;
            }
        }
        for (const key of this.tiles.keys()) {
            if (this.tiles.size <= KEPT_TILES) {
                break;
            }
            this.tiles.delete(key);
        }
        this.backdrop = null;
        return false;
    }
    begin(place) {
        const picture = document.createElement("canvas");
        picture.width = TILE;
        picture.height = TILE;
        const size = TILE / this.scale;
        const frame = { lowX: place.column * size, highY: (place.row + 1) * size, scale: this.scale, ratio: this.ratio };
        // Symbols reach over the edge of a tile, at most this far.
        const margin = this.grid.widest + 24 * this.ratio / this.scale;
        const indices = this.grid.find(frame.lowX - margin, frame.highY - size - margin, frame.lowX + size + margin,
            frame.highY + margin);
        const painter = new Painter(picture.getContext("2d"), frame, this.colours);
        return { picture, column: place.column, row: place.row, done: indices.length === 0, steps: painter.paint(indices) };
    }
    draw(context, view) {
        if (this.backdrop) {
            this.drawAll(context, view, this.backdrop.tiles, this.backdrop.scale);
        }
        this.drawAll(context, view, this.tiles, this.scale);
    }
    drawAll(context, view, tiles, scale) {
        const size = TILE / scale;
        const shown = view.scale * this.ratio;
        const still = Math.abs(shown / scale - 1) < 1e-9;
        const middleX = view.width * this.ratio / 2;
        const middleY = view.height * this.ratio / 2;
        for (const tile of tiles.values()) {
            const left = (tile.column * size - view.x) * shown + middleX;
            const top = middleY - ((tile.row + 1) * size - view.y) * shown;
            const edge = size * shown;
            if (!tile.done || left > 2 * middleX || top > 2 * middleY || left + edge < 0 || top + edge < 0) {
                continue;
            }
            if (still) {
                context.drawImage(tile.picture, Math.round(left), Math.round(top));
            } else {
                context.drawImage(tile.picture, left, top, edge, edge);
            }
        }
    }
}
