// SPDX-License-Identifier: Apache-2.0
// What was not checked stands above everything else, because an empty list says nothing without it.

const ALARMING = new Set(["crashed", "cancelled"]);
const OUTCOME_ORDER = ["crashed", "cancelled", "skipped", "notApplicable", "failed", "passed"];

function startCoverage() {
    fillCoverage();
    on("language", fillCoverage);
    byId("coverage-toggle").addEventListener("click", () => openCoverage(byId("coverage-table").hidden));
}

function openCoverage(open) {
    byId("coverage-table").hidden = !open;
    byId("coverage-toggle").setAttribute("aria-expanded", String(open));
    byId("coverage-toggle").textContent = word(open ? "hideOutcomes" : "showOutcomes");
}

function countBy(items, keyOf) {
    const counts = new Map();
    for (const item of items) {
        counts.set(keyOf(item), (counts.get(keyOf(item)) ?? 0) + 1);
    }
    return counts;
}

function fillCoverage() {
    const { run, totals } = report;
    const outcomes = countBy(report.outcomes, (record) => record.outcome);
    const trust = countBy(report.trustEntries, (entry) => entry.trust.state);
    const nothing = report.outcomes.every((record) => record.outcome !== "passed" && record.outcome !== "failed");
    const bad = nothing || run.partial || run.narrowed || run.incomplete.length > 0 || totals.withoutFloor > 0
        || ["crashed", "cancelled", "skipped"].some((name) => outcomes.has(name));
    byId("coverage").className = bad ? "warn" : "good";
    byId("coverage-title").textContent = word(nothing ? "coverageNone" : bad ? "coverageBad" : "coverageGood");
    const chips = ["crashed", "cancelled", "skipped", "notApplicable"].filter((name) => outcomes.has(name)).map((name) =>
        chip(number(outcomes.get(name)) + " " + word(name), ALARMING.has(name)));
    if (totals.withoutFloor > 0) {
        chips.push(chip(totals.withoutFloor === 1 ? word("withoutFloorOne")
            : word("withoutFloor", { n: number(totals.withoutFloor) }), true));
    }
    for (const state of ["expired", "stale"]) {
        if (trust.has(state)) {
            chips.push(chip(number(trust.get(state)) + " × " + word(state), state === "expired"));
        }
    }
    byId("coverage-chips").replaceChildren(...chips);
    byId("coverage-sentences").replaceChildren(...coverageSentences());
    byId("coverage-table").replaceChildren(...coverageTables());
    byId("coverage-toggle").hidden = report.outcomes.length === 0 && report.trustEntries.length === 0 && totals.withoutFloor === 0;
    openCoverage(!byId("coverage-table").hidden);
}

function chip(text, alarming) {
    return make("button", { type: "button", class: alarming ? "chip alarming" : "chip", onclick: () => {
        openCoverage(true);
        byId("coverage-table").scrollIntoView({ block: "nearest" });
    } }, text);
}

// One line each: what ended badly is told at once, without a click.
function coverageSentences() {
    const { run } = report;
    const lines = [];
    if (run.partial) {
        lines.push(make("li", {}, word("partialRun")));
    }
    if (run.narrowed) {
        lines.push(make("li", {}, word("narrowedRun")));
    }
    for (const sentence of run.incomplete) {
        lines.push(make("li", {}, fromModel(sentence)));
    }
    const crashed = report.outcomes.filter((record) => record.outcome === "crashed");
    for (const record of crashed) {
        lines.push(make("li", {}, fromModel(ruleTitle(record.rule)), " · ", fromModel(floorName(record.floor)),
            record.specialty ? " · " + term(record.specialty) : "", " — " + word("crashed"),
            record.reason ? make("span", {}, ": ", fromModel(record.reason)) : ""));
    }
    return lines;
}

function table(heads, rows) {
    return make("div", { class: "table", tabindex: "0" }, make("table", {},
        make("thead", {}, make("tr", {}, ...heads.map((head) => make("th", { scope: "col" }, head)))),
        make("tbody", {}, ...rows.map((cells) => make("tr", {}, ...cells.map((cell) => cell instanceof Node
            ? make("td", {}, cell) : make("td", {}, fromModel(cell))))))));
}

function coverageTables() {
    const parts = [];
    if (report.totals.withoutFloor > 0) {
        parts.push(withoutFloorPart());
    }
    if (report.outcomes.length > 0) {
        const sorted = [...report.outcomes].sort((left, right) => OUTCOME_ORDER.indexOf(left.outcome) - OUTCOME_ORDER.indexOf(right.outcome)
            || left.rule - right.rule || left.floor - right.floor);
        parts.push(make("h3", {}, word("outcomes")), table(
            [word("outcome"), word("rule"), word("floor"), word("specialty"), word("examined"), word("notExamined"), word("reason")],
            sorted.map((record) => [make("span", { class: "outcome outcome-" + record.outcome }, word(record.outcome)),
                ruleTitle(record.rule), floorName(record.floor), term(record.specialty), number(record.examined),
                record.notExamined > 0 ? number(record.notExamined) : "", record.reason])));
    }
    if (report.trustEntries.length > 0) {
        parts.push(make("h3", {}, word("trustList")), table(
            [word("state"), word("scope"), word("hides"), word("reason"), word("person"), word("date"), word("expires")],
            report.trustEntries.map((entry) => [make("span", { class: "tag tag-" + entry.trust.state }, word(entry.trust.state)),
                entry.scope, number(entry.hidden), entry.trust.reason ?? "", entry.trust.person ?? "", entry.trust.date ?? "",
                entry.trust.expires || word("never")])));
    }
    return parts;
}

function withoutFloorPart() {
    const elements = report.elements;
    const reasons = new Map();
    for (let index = 0; index < elements.count; ++index) {
        if (elements.floor[index] === NO_FLOOR) {
            const about = elements.about(index);
            const key = about.className + (about.noFloorReason ? ": " + about.noFloorReason : "");
            reasons.set(key, (reasons.get(key) ?? 0) + 1);
        }
    }
    return make("div", {}, make("h3", {}, word("noFloor"), " ", make("button", { type: "button", class: "plain",
        onclick: () => goToFloor(NO_FLOOR) }, word("lookAtThem"))),
    make("ul", {}, ...[...reasons].map(([reason, count]) => make("li", {}, number(count) + " × ", fromModel(reason)))));
}
