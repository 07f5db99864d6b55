// SPDX-License-Identifier: Apache-2.0
// The report, what the reader of the page has chosen in it, and how the parts of the page hear of a change.

let report = null;

const SPECIALTIES = ["给排水", "消防", "暖通", "电气", "弱电"];
const OTHER_SPECIALTY = SPECIALTIES.length;
// Every finding counts in exactly one of these.
const STATES = ["confirmed", "suspected", "remind", "trusted", "stale", "gone"];
const GRAVITY = new Map(STATES.map((name, index) => [name, index]));
const NO_FLOOR = -1;

const choice = {
    floor: 0,
    finding: null,           // of report.findings
    object: null,            // index of an element
    hiddenStates: new Set(),
    hiddenSpecialties: new Set(),
    group: "rule",
    sort: "gravity",
    search: "",
    onlyFloor: "all",        // index of a floor as text
    onlyState: "all",
};

const listeners = new Map();

// Topics: findings (which are listed), selection, floor, specialties, language, theme.
function on(topic, listener) {
    listeners.set(topic, [...listeners.get(topic) ?? [], listener]);
}

function tell(topic) {
    for (const listener of listeners.get(topic) ?? []) {
        listener();
    }
}

const byId = (id) => document.getElementById(id);

// A new element. Children that are texts stay texts.
function make(name, attributes = {}, ...children) {
    const node = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (key.startsWith("on")) {
            node.addEventListener(key.slice(2), value);
        } else if (value === true || value === false) {
            node.toggleAttribute(key, value);
        } else if (value !== null && value !== undefined) {
            node.setAttribute(key, value);
        }
    }
    node.append(...children.filter((child) => child !== null && child !== undefined));
    return node;
}

// Text of the model: kept apart, so that its writing direction cannot reach the text around it.
const fromModel = (text, attributes = {}) => make("bdi", attributes, text);

function say(text) {
    byId("live").textContent = text;
}

const specialtyOf = (index) => report.elements.about(index).specialtyIndex;

const floorName = (floor) => floor === NO_FLOOR ? word("noFloor") : report.floors[floor].name;
const ruleTitle = (rule) => report.rules[rule].title || report.rules[rule].name;

// How people name it. What is gone has its number in the run before.
const findingName = (finding) => [finding.number > 0 ? "#" + finding.number : "",
    finding.change === "gone" && report.compared ? word("ofRun", { n: report.compared.run }) : ""].filter((part) => part).join(" ");

function stateOf(finding) {
    if (finding.change === "gone") {
        return "gone";
    }
    return finding.trust.state === "trusted" || finding.trust.state === "stale" ? finding.trust.state : finding.severity;
}

// What follows from the report and is asked for often.
function prepare() {
    for (const kind of report.elements.kinds) {
        const known = SPECIALTIES.indexOf(kind.specialty);
        kind.specialtyIndex = known < 0 ? OTHER_SPECIALTY : known;
    }
    report.touching = new Map();
    for (const finding of report.findings) {
        finding.state = stateOf(finding);
        for (const object of finding.objects) {
            if (!report.touching.has(object)) {
                report.touching.set(object, []);
            }
            report.touching.get(object).push(finding);
        }
        finding.place ??= middleOf(finding.objects);
        finding.shownFloor = finding.floor === NO_FLOOR && finding.objects.length > 0
            ? report.elements.floor[finding.objects[0]] : finding.floor;
    }
}

function middleOf(objects) {
    const elements = report.elements;
    const placed = objects.filter((object) => elements.isPlaced(object));
    if (placed.length === 0) {
        return null;
    }
    const mean = (low, high) => placed.reduce((sum, object) => sum + (low[object] + high[object]) / 2, 0) / placed.length;
    return { x: mean(elements.lowX, elements.highX), y: mean(elements.lowY, elements.highY),
        z: mean(elements.lowZ, elements.highZ) };
}

function searchText(finding) {
    return finding.searchText ??= [
        findingName(finding), finding.sentence, ruleTitle(finding.rule), report.rules[finding.rule].name,
        finding.floor === NO_FLOOR ? "" : floorName(finding.floor), finding.specialty, finding.category,
        finding.subCategory, GLOSS[finding.specialty] ?? "", GLOSS[finding.subCategory] ?? "", finding.location, finding.code, finding.trust.reason ?? "",
        finding.trust.person ?? "",
        ...finding.objects.map((object) => report.elements.name(object) + "\n" + report.elements.globalId(object)
            + "\n" + report.elements.handle(object)),
    ].join("\n").toLowerCase();
}

function hasState(finding, wanted) {
    return wanted === "all" || finding.change === wanted || finding.trust.state === wanted;
}

// Everything but the states that the totals show or hide.
function fits(finding) {
    return (choice.onlyFloor === "all" || finding.shownFloor === Number(choice.onlyFloor))
        && hasState(finding, choice.onlyState)
        && (choice.search === "" || searchText(finding).includes(choice.search));
}

const COMPARE = {
    gravity: (left, right) => GRAVITY.get(left.state) - GRAVITY.get(right.state),
    number: () => 0,
    floor: (left, right) => left.shownFloor - right.shownFloor,
    title: (left, right) => left.sentence.localeCompare(right.sentence, language),
};

// The findings that the filters let through, in the chosen order; equal ones by number.
function listedFindings() {
    const compare = COMPARE[choice.sort];
    return report.findings.filter((finding) => !choice.hiddenStates.has(finding.state) && fits(finding))
        .sort((left, right) => compare(left, right) || left.number - right.number);
}

function select(finding, object = null) {
    choice.finding = finding;
    choice.object = object;
    const floor = finding ? finding.shownFloor : object === null ? choice.floor : report.elements.floor[object];
    if (finding && finding.objects.length === 0 && finding.floor === NO_FLOOR) {
        tell("selection");
        return;
    }
    if (floor !== choice.floor) {
        choice.floor = floor;
        tell("floor");
    }
    tell("selection");
    if (finding) {
        say(word("selected", { n: finding.number, sentence: finding.sentence }));
    } else if (object !== null) {
        say(word("selectedObject", { name: report.elements.name(object) || word("unnamed") }));
    }
}
