// SPDX-License-Identifier: Apache-2.0
// On paper: what was not checked, the plan of each floor with listed findings, and these one by one.

const PAPER_WIDTH = 1000;  // pixels of the page; a sheet shows them smaller
const PAPER_HEIGHT = 620;
const PAPER_RATIO = 2;

function startPrinting() {
    byId("print").addEventListener("click", () => window.print());
    window.addEventListener("beforeprint", fillPaper);
    window.addEventListener("afterprint", () => byId("paper").replaceChildren());
    matchMedia("print").addEventListener("change", (event) => event.matches && fillPaper());
}

// Everything that the plan draws from, set for one floor as a whole in the light theme: paper is white.
function paperPlan(floor) {
    const before = { view: plan.view, ratio: plan.ratio, tiles: plan.tiles, chosen: { ...choice } };
    Object.assign(choice, { floor, finding: null, object: null });
    Object.assign(plan, { view: new View(), ratio: PAPER_RATIO, markers: null, onPaper: true });
    Object.assign(plan.view, { width: PAPER_WIDTH, height: PAPER_HEIGHT });
    const picture = make("canvas", { class: "paper-plan" });
    picture.width = PAPER_WIDTH * PAPER_RATIO;
    picture.height = PAPER_HEIGHT * PAPER_RATIO;
    const grid = gridOf(floor);
    if (grid.indices.length > 0) {
        plan.view.jumpTo(grid.usualBox(), 30);
    }
    const context = picture.getContext("2d");
    const tiles = new Tiles(grid, plan.colours);
    tiles.rescale(plan.view.scale * PAPER_RATIO, PAPER_RATIO);
    tiles.work(plan.view, Infinity);
    tiles.draw(context, plan.view);
    drawOverlay(context);
    Object.assign(choice, before.chosen);
    Object.assign(plan, { view: before.view, ratio: before.ratio, tiles: before.tiles, markers: null, onPaper: false });
    return picture;
}

// The floors with listed findings, from the lowest; the one in sight when there are none.
function paperPlans() {
    const { documentElement } = document;
    const shownTheme = documentElement.dataset.theme;
    const shownColours = plan.colours;
    documentElement.dataset.theme = "light";
    plan.colours = readColours();
    const floors = new Set(listed.findings.map((finding) => finding.shownFloor));
    const sheets = shownFloors().filter((floor) => floors.size > 0 ? floors.has(floor) : floor === choice.floor)
        .filter((floor) => gridOf(floor).indices.length > 0)
        .map((floor) => make("figure", {}, make("h2", {}, word("plan") + " · ", fromModel(floorName(floor))), paperPlan(floor)));
    plan.colours = shownColours;
    documentElement.dataset.theme = shownTheme ?? "auto";
    return sheets;
}

// Why the rules of the listed findings care and what to do, once for each rule.
function paperRules() {
    const rules = [...new Set(listed.findings.map((finding) => finding.rule))].sort((left, right) => left - right)
        .map((index) => report.rules[index]).filter((rule) => rule.why || rule.how);
    return rules.length === 0 ? [] : [make("h2", {}, word("rules")), ...rules.map((rule) => make("article", {},
        make("h3", {}, fromModel(rule.title || rule.name)), ...[rule.why, rule.how].filter((text) => text)
            .map((text) => make("p", {}, fromModel(text)))))];
}

function fillPaper() {
    const { run } = report;
    byId("paper").replaceChildren(
        make("h1", {}, fromModel(run.model || word("title"))),
        make("p", {}, ...runLine()),
        make("p", {}, ...STATES.map((state) => [state, stateCounts()[state]]).filter(([, count]) => count > 0)
            .map(([state, count]) => make("span", { class: "paper-total" }, number(count) + " " + stateWord(state, count)))),
        make("h2", {}, byId("coverage-title").textContent),
        make("p", {}, [...byId("coverage-chips").children].map((node) => node.textContent).join(" · ")),
        make("ul", {}, ...[...byId("coverage-sentences").children].map((node) => make("li", {}, node.textContent))),
        ...paperPlans(),
        make("h2", {}, word("printed") + " · " + byId("shown").textContent),
        ...listed.findings.map(paperFinding), ...paperRules());
}

function paperFinding(finding) {
    return make("article", { class: "paper-finding" }, make("h3", {}, findingName(finding) + " · " + stateWord(finding.severity, 1) + " · ",
        fromModel(floorName(finding.shownFloor)), " · ", fromModel(ruleTitle(finding.rule)),
        finding.change !== "none" ? " · " + word(finding.change) : "",
        finding.trust.state !== "none" ? " · " + word(finding.trust.state) : "", ...whatText(finding)),
    make("p", {}, fromModel(finding.sentence)),
    finding.location ? make("p", { class: "paper-code" }, fromModel(finding.location)) : null,
    finding.code ? make("p", { class: "paper-code" }, fromModel(finding.code)) : null);
}
