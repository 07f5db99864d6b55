// SPDX-License-Identifier: Apache-2.0
// From the packed text in the page to plain columns and records. The writer packs the same forms.

const FORMAT = 3;
const DIGITS_85 = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-:+=^!/*?_,;()[]{}@%$#";
const DIGITS_64 = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
const HAS_PLACE = 1;
const HAS_ENDS = 2;
const HAS_BOX = 4;
const HAS_WIDTH = 8;

function decode85(text) {
    const values = new Uint8Array(128);
    for (let digit = 0; digit < 85; ++digit) {
        values[DIGITS_85.charCodeAt(digit)] = digit;
    }
    const rest = text.length % 5;
    const bytes = new Uint8Array(Math.floor(text.length / 5) * 4 + (rest ? rest - 1 : 0));
    const view = new DataView(bytes.buffer);
    const whole = text.length - rest;
    let out = 0;
    for (let at = 0; at < whole; at += 5, out += 4) {
        view.setUint32(out, (((values[text.charCodeAt(at)] * 85 + values[text.charCodeAt(at + 1)]) * 85
            + values[text.charCodeAt(at + 2)]) * 85 + values[text.charCodeAt(at + 3)]) * 85
            + values[text.charCodeAt(at + 4)]);
    }
    if (rest) {
        let value = 0;
        for (let index = 0; index < 5; ++index) {
            value = value * 85 + (index < rest ? values[text.charCodeAt(whole + index)] : 84);
        }
        for (let index = 0; index < rest - 1; ++index) {
            bytes[out + index] = Math.floor(value / 2 ** (24 - 8 * index)) % 256;
        }
    }
    return bytes;
}

async function inflate(bytes) {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate-raw"));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

class Reader {
    constructor(bytes) {
        this.bytes = bytes;
        this.at = 0;
    }
    unsigned() {
        const bytes = this.bytes;
        let byte = bytes[this.at++];
        if (byte < 128) {
            return byte;
        }
        let value = byte & 127;
        let factor = 128;
        do {
            if (this.at >= bytes.length) {
                throw new RangeError("it ends too early");
            }
            byte = bytes[this.at++];
            value += (byte & 127) * factor;
            factor *= 128;
        } while (byte >= 128);
        return value;
    }
    signed() {
        const value = this.unsigned();
        return value % 2 ? -(value + 1) / 2 : value / 2;
    }
    take(length) {
        this.at += length;
        return this.bytes.subarray(this.at - length, this.at);
    }
    // As many records as a count that comes first says.
    list(read) {
        const count = this.unsigned();
        const items = [];
        for (let index = 0; index < count; ++index) {
            items.push(read(index));
        }
        return items;
    }
}

// Texts are decoded when they are first asked for.
class Texts {
    constructor(reader) {
        const count = reader.unsigned();
        this.starts = new Uint32Array(count + 1);
        for (let index = 0; index < count; ++index) {
            this.starts[index + 1] = this.starts[index] + reader.unsigned();
        }
        this.bytes = reader.take(this.starts[count]);
        this.known = new Array(count);
        this.decoder = new TextDecoder();
    }
    get(index) {
        return this.known[index]
            ??= this.decoder.decode(this.bytes.subarray(this.starts[index], this.starts[index + 1]));
    }
}

// Columns of all elements; places in millimetres from the report's origin, heights from zero.
class Elements {
    constructor(reader, texts) {
        this.texts = texts;
        const count = this.count = reader.unsigned();
        this.kinds = reader.list(() => ({
            kind: reader.unsigned(), className: texts.get(reader.unsigned()), specialty: texts.get(reader.unsigned()),
            category: texts.get(reader.unsigned()), subCategory: texts.get(reader.unsigned()),
            detailName: texts.get(reader.unsigned()), noFloorReason: texts.get(reader.unsigned()),
            diameter: reader.unsigned() / 10,
        }));
        this.kindOf = new Uint32Array(count);
        this.floor = new Int32Array(count);
        for (let index = 0; index < count; ++index) {
            this.kindOf[index] = reader.unsigned();
        }
        for (let index = 0; index < count; ++index) {
            this.floor[index] = reader.unsigned() - 1;
        }
        this.readHandles(reader);
        this.readNames(reader);
        this.globalIds = reader.take(16 * count);
        this.oddGlobalIds = new Map(reader.list(() => [reader.unsigned(), reader.unsigned()]));
        this.readGeometry(reader);
    }
    readHandles(reader) {
        this.handles = new Float64Array(this.count);
        let handle = 0;
        for (let index = 0; index < this.count; ++index) {
            this.handles[index] = handle += reader.signed();
        }
        this.oddHandles = new Map(reader.list(() => [reader.unsigned(), reader.unsigned()]));
    }
    readNames(reader) {
        this.nameHeads = new Uint32Array(this.count);
        this.nameTails = new Int32Array(this.count).fill(-1);
        for (let index = 0; index < this.count; ++index) {
            this.nameHeads[index] = reader.unsigned();
        }
        let tail = 0;
        for (let index = 0; index < this.count; ++index) {
            if (this.nameHeads[index] & 1) {
                this.nameTails[index] = tail += reader.signed();
            }
        }
    }
    readGeometry(reader) {
        const count = this.count;
        const flags = this.flags = reader.take(count);
        for (const name of ["x0", "y0", "z0", "x1", "y1", "z1", "lowX", "lowY", "lowZ", "highX", "highY", "highZ"]) {
            this[name] = new Int32Array(count);
        }
        this.width = new Float32Array(count);
        // The four columns lie one behind the other: places, ends, boxes, widths. The pen needs places and ends
        // together, so the differences are read first and added up afterwards.
        for (let index = 0; index < count; ++index) {
            if (flags[index] & HAS_PLACE) {
                this.x0[index] = reader.signed();
                this.y0[index] = reader.signed();
                this.z0[index] = reader.signed();
            }
        }
        for (let index = 0; index < count; ++index) {
            if (flags[index] & HAS_ENDS) {
                this.x1[index] = reader.signed();
                this.y1[index] = reader.signed();
                this.z1[index] = reader.signed();
            }
        }
        this.addUpPlaces();
        for (let index = 0; index < count; ++index) {
            this.bound(index, flags[index] & HAS_BOX ? reader : null);
        }
        for (let index = 0; index < count; ++index) {
            if (flags[index] & HAS_WIDTH) {
                this.width[index] = reader.unsigned();
            } else {
                this.width[index] = this.kinds[this.kindOf[index]].diameter;
            }
        }
    }
    addUpPlaces() {
        let x = 0;
        let y = 0;
        let z = 0;
        for (let index = 0; index < this.count; ++index) {
            if (this.flags[index] & HAS_PLACE) {
                this.x0[index] = x += this.x0[index];
                this.y0[index] = y += this.y0[index];
                this.z0[index] = z += this.z0[index];
                this.x1[index] = x += this.x1[index];
                this.y1[index] = y += this.y1[index];
                this.z1[index] = z += this.z1[index];
            }
        }
    }
    // What the element covers: its box, or its ends, or its point.
    bound(index, reader) {
        if (reader) {
            this.lowX[index] = this.x0[index] + reader.signed();
            this.lowY[index] = this.y0[index] + reader.signed();
            this.lowZ[index] = this.z0[index] + reader.signed();
            this.highX[index] = this.lowX[index] + reader.signed();
            this.highY[index] = this.lowY[index] + reader.signed();
            this.highZ[index] = this.lowZ[index] + reader.signed();
            return;
        }
        this.lowX[index] = Math.min(this.x0[index], this.x1[index]);
        this.lowY[index] = Math.min(this.y0[index], this.y1[index]);
        this.lowZ[index] = Math.min(this.z0[index], this.z1[index]);
        this.highX[index] = Math.max(this.x0[index], this.x1[index]);
        this.highY[index] = Math.max(this.y0[index], this.y1[index]);
        this.highZ[index] = Math.max(this.z0[index], this.z1[index]);
    }
    name(index) {
        const tail = this.nameTails[index];
        return this.texts.get(this.nameHeads[index] >>> 1) + (tail < 0 ? "" : tail);
    }
    handle(index) {
        const odd = this.oddHandles.get(index);
        return odd === undefined ? this.handles[index].toString(16).toUpperCase() : this.texts.get(odd);
    }
    globalId(index) {
        const odd = this.oddGlobalIds.get(index);
        if (odd !== undefined) {
            return this.texts.get(odd);
        }
        const bytes = this.globalIds.subarray(16 * index, 16 * index + 16);
        let text = DIGITS_64[bytes[0] >> 6];
        let bits = 6;
        let pending = bytes[0] & 63;
        for (let at = 1; at <= 16; ++at) {
            for (; bits >= 6; bits -= 6) {
                text += DIGITS_64[pending >> (bits - 6) & 63];
            }
            pending = pending << 8 | bytes[at];
            bits += 8;
        }
        return text;
    }
    about(index) {
        return this.kinds[this.kindOf[index]];
    }
    isPlaced(index) {
        return (this.flags[index] & HAS_PLACE) !== 0;
    }
    hasEnds(index) {
        return (this.flags[index] & HAS_ENDS) !== 0;
    }
}

const TRUST_STATES = ["none", "trusted", "expired", "stale", "notLookedAt"];
const SEVERITIES = ["confirmed", "suspected", "remind"];
const CHANGES = ["none", "new", "persisting", "gone"];
const OUTCOMES = ["passed", "failed", "notApplicable", "skipped", "crashed", "cancelled"];

function readTrust(reader, text) {
    const state = TRUST_STATES[reader.unsigned()];
    return state === "none" ? { state } : { state, reason: text(), person: text(), date: text(), expires: text() };
}

function readFinding(reader, text) {
    const finding = {
        number: reader.unsigned(), rule: reader.unsigned(), floor: reader.unsigned() - 1, specialty: text(),
        category: text(), subCategory: text(), sentence: text(), location: text(), code: text(),
        severity: SEVERITIES[reader.unsigned()], change: CHANGES[reader.unsigned()], trust: readTrust(reader, text),
    };
    let before = 0;
    finding.objects = reader.list(() => before += reader.signed());
    finding.place = reader.unsigned() ? { x: reader.signed(), y: reader.signed(), z: reader.signed() } : null;
    return finding;
}

function readReport(bytes) {
    const reader = new Reader(bytes);
    if (reader.unsigned() !== FORMAT) {
        throw new RangeError("it has another form");
    }
    const texts = new Texts(reader);
    const text = () => texts.get(reader.unsigned());
    const report = { run: { model: text(), project: text(), schema: text(), startedAt: text(), tool: text(), planMissing: text() } };
    report.run.incomplete = reader.list(text);
    report.run.number = reader.signed();
    const scope = reader.unsigned();
    report.run.partial = (scope & 1) !== 0;
    report.run.narrowed = (scope & 2) !== 0;
    report.run.resumed = (scope & 4) !== 0;
    report.origin = { x: reader.signed(), y: reader.signed() };
    report.floors = reader.list(() => {
        const name = text();
        const known = reader.unsigned();
        const elevation = reader.signed() / 10;
        return { name, elevation: known ? elevation : null };
    });
    report.rules = reader.list(() => ({ name: text(), title: text(), why: text(), how: text() }));
    report.elements = new Elements(reader, texts);
    report.findings = reader.list(() => readFinding(reader, text));
    report.outcomes = reader.list(() => ({
        rule: reader.unsigned(), floor: reader.unsigned() - 1, specialty: text(), outcome: OUTCOMES[reader.unsigned()],
        examined: reader.unsigned(), notExamined: reader.unsigned(), reason: text(),
    }));
    report.trustEntries = reader.list(() => ({ scope: text(), trust: readTrust(reader, text), hidden: reader.unsigned() }));
    report.compared = reader.unsigned() ? { run: reader.signed(), startedAt: text(), hidden: reader.unsigned(),
        notVisited: reader.unsigned(), remarks: reader.list(text) } : null;
    report.notices = reader.list(() => ({ severity: text(), line: reader.unsigned(), sentence: text() }));
    report.noticeCount = reader.unsigned();
    report.warningCount = reader.unsigned();
    report.withoutRule = reader.list(() => ({ specialty: text(), elements: reader.unsigned() }));
    const count = () => reader.unsigned();
    report.totals = { confirmed: count(), suspected: count(), remind: count(), trusted: count(), gone: count(),
        elements: count(), withoutFloor: count() };
    return report;
}
