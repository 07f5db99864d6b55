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

// What makes the answer less than whole, and what a person must only know of.
function coverageLevel(outcomes, trust) {
    const { run, totals, compared } = report;
    const looked = report.outcomes.some((record) => record.outcome === "passed" || record.outcome === "failed");
    if (!looked) {
        return "none";
    }
    if (run.partial || run.narrowed || run.incomplete.length > 0 || ["crashed", "cancelled", "skipped"].some((name) => outcomes.has(name))) {
        return "bad";
    }
    const leftOut = report.outcomes.some((record) => record.notExamined > 0);
    return leftOut || report.withoutRule.length > 0 || totals.withoutFloor > 0 || trust.has("expired") || trust.has("stale") || compared?.hidden > 0 || compared?.notVisited > 0
        || run.planMissing ? "note" : "good";
}

function fillCoverage() {
    const { totals } = report;
    const outcomes = countBy(report.outcomes, outcomeWord);
    const trust = countBy(report.trustEntries, (entry) => entry.trust.state);
    const level = coverageLevel(outcomes, trust);
    byId("coverage").className = level === "good" ? "good" : "warn";
    byId("coverage-title").textContent = word({ none: "coverageNone", bad: "coverageBad", note: "coverageNote", good: "coverageGood" }[level]);
    const leftOut = report.outcomes.reduce((sum, record) => sum + record.notExamined, 0);
    // What, how much, whether it is alarming, and the part of the tables that tells more.
    const chips = [["crashedChecks", outcomes.get("crashed"), true, "outcomes"],
        ["cancelledChecks", outcomes.get("cancelled"), true, "outcomes"],
        ["skippedChecks", outcomes.get("skipped"), true, "outcomes"], ["withoutFloor", totals.withoutFloor, true, "floorless"],
        ["expiredEntries", trust.get("expired"), true, "trust"], ["staleEntries", trust.get("stale"), false, "trust"],
        ["leftOut", leftOut, true, "outcomes"], ["notApplicableChecks", outcomes.get("notApplicable"), false, "outcomes"],
        ["warningsChip", report.warningCount, false, "notices"]];
    byId("coverage-chips").replaceChildren(...chips.filter(([, count]) => count > 0)
        .map(([key, count, alarming, part]) => chip(counted(key, count), alarming, part)));
    byId("coverage-sentences").replaceChildren(...coverageSentences());
    byId("coverage-table").replaceChildren(...coverageTables());
    byId("coverage-toggle").hidden = byId("coverage-table").childElementCount === 0;
    openCoverage(!byId("coverage-table").hidden);
}

// What a check came to, as the page calls it: a rule that could look at nothing of what is there had something to check.
const outcomeWord = (record) => record.outcome === "notApplicable" && record.notExamined > 0 ? "lookedAtNothing" : record.outcome;

function chip(text, alarming, part) {
    return make("button", { type: "button", class: alarming ? "chip alarming" : "chip", onclick: () => {
        openCoverage(true);
        byId("part-" + part)?.scrollIntoView({ block: "start" });
    } }, text);
}

// One line each: what ended badly is told at once, without a click.
function coverageSentences() {
    const { run, compared } = report;
    const lines = [];
    if (run.planMissing) {
        lines.push(fromModel(run.planMissing));
    }
    if (run.partial && run.incomplete.length === 0) {
        lines.push(word("partialRun"));
    }
    if (run.narrowed) {
        lines.push(word("narrowedRun"));
    }
    if (report.withoutRule.length > 0) {
        lines.push(word("withoutRule", { list: report.withoutRule.map((each) =>
            word("ofSpecialty", { n: number(each.elements), specialty: term(each.specialty) })).join(word("comma")) }));
    }
    lines.push(...run.incomplete.map((sentence) => fromModel(sentence)), ...crashesNotTold(), ...whatWasLeftOut());
    if (compared?.hidden > 0) {
        lines.push(counted("hiddenBefore", compared.hidden, { run: compared.run }));
    }
    if (compared?.notVisited > 0) {
        lines.push(counted("notVisitedBefore", compared.notVisited, { run: compared.run }));
    }
    lines.push(...(compared?.remarks ?? []).map((remark) => fromModel(remark)));
    return lines.map((line) => make("li", {}, line));
}

// What rules could not look at, once for each rule and reason.
function whatWasLeftOut() {
    const sums = new Map();
    for (const record of report.outcomes.filter((candidate) => candidate.notExamined > 0)) {
        const key = record.rule + ":" + record.reason;
        const sum = sums.get(key) ?? { ...record, notExamined: 0 };
        sum.notExamined += record.notExamined;
        sums.set(key, sum);
    }
    return [...sums.values()].map((sum) => make("span", {}, fromModel(ruleTitle(sum.rule)), ": ", counted("leftOut", sum.notExamined),
        sum.reason ? make("span", {}, " — ", fromModel(sum.reason)) : ""));
}

// A crash of which none of the run's own sentences speaks.
function crashesNotTold() {
    return report.outcomes.filter((record) => record.outcome === "crashed"
        && !report.run.incomplete.some((sentence) => sentence.includes(report.rules[record.rule].name)))
        .map((record) => make("span", {}, fromModel(ruleTitle(record.rule)), " · ", fromModel(floorName(record.floor)),
            record.specialty ? " · " + term(record.specialty) : "", " — " + word("crashed"),
            record.reason ? make("span", {}, ": ", fromModel(record.reason)) : ""));
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
        parts.push(make("h3", { id: "part-outcomes" }, word("outcomes")), table(
            [word("outcome"), word("rule"), word("floor"), word("specialty"), word("examined"), word("notExamined"), word("reason")],
            sorted.map((record) => [make("span", { class: "outcome outcome-" + outcomeWord(record) }, word(outcomeWord(record))),
                ruleTitle(record.rule), floorName(record.floor), term(record.specialty), number(record.examined),
                record.notExamined > 0 ? number(record.notExamined) : "", record.reason])));
    }
    if (report.trustEntries.length > 0) {
        parts.push(make("h3", { id: "part-trust" }, word("trustList")), table(
            [word("state"), word("scope"), word("hides"), word("reason"), word("person"), word("date"), word("expires")],
            report.trustEntries.map((entry) => [make("span", { class: "tag tag-" + entry.trust.state }, word(entry.trust.state)),
                entry.scope, number(entry.hidden), entry.trust.reason ?? "", entry.trust.person ?? "", entry.trust.date ?? "",
                entry.trust.expires || word("never")])));
    }
    if (report.notices.length > 0) {
        const more = report.noticeCount - report.notices.length;
        parts.push(make("h3", { id: "part-notices" }, word("notices")), table([word("noticeKind"), word("line"), word("reason")],
            report.notices.map((notice) => [word(notice.severity), notice.line > 0 ? number(notice.line) : "", notice.sentence])),
        ...more > 0 ? [make("p", { class: "soft" }, word("noticesMore", { n: number(more) }))] : []);
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
    return make("div", {}, make("h3", { id: "part-floorless" }, word("noFloor"), " ", make("button", { type: "button", class: "plain",
        onclick: () => goToFloor(NO_FLOOR) }, word("lookAtThem"))),
    make("ul", {}, ...[...reasons].map(([reason, count]) => make("li", {}, number(count) + " × ", fromModel(reason)))));
}
