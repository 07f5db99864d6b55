// SPDX-License-Identifier: Apache-2.0
// On paper: what was not checked, the plan as it is in sight, and the listed findings one by one.

function startPrinting() {
    byId("print").addEventListener("click", () => window.print());
    window.addEventListener("beforeprint", fillPaper);
    window.addEventListener("afterprint", () => byId("paper").replaceChildren());
    matchMedia("print").addEventListener("change", (event) => event.matches && fillPaper());
}

// The plan as it is in sight, drawn anew in the light theme: paper is white.
function paperPlan() {
    const { documentElement } = document;
    const shownTheme = documentElement.dataset.theme;
    const shownColours = plan.colours;
    documentElement.dataset.theme = "light";
    plan.colours = readColours();
    const picture = make("canvas", { class: "paper-plan" });
    picture.width = plan.base.width;
    picture.height = plan.base.height;
    const context = picture.getContext("2d");
    const tiles = new Tiles(gridOf(choice.floor), plan.colours);
    tiles.rescale(plan.view.scale * plan.ratio, plan.ratio);
    tiles.work(plan.view, Infinity);
    tiles.draw(context, plan.view);
    drawOverlay(context);
    plan.colours = shownColours;
    documentElement.dataset.theme = shownTheme ?? "auto";
    return picture;
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
        make("h2", {}, word("plan") + " · ", fromModel(floorName(choice.floor))),
        paperPlan(),
        make("h2", {}, word("printed") + " · " + byId("shown").textContent),
        ...listed.findings.map(paperFinding));
}

function paperFinding(finding) {
    return make("article", {}, make("h3", {}, "#" + finding.number + " · " + stateWord(finding.severity, 1) + " · ",
        fromModel(floorName(finding.shownFloor)), " · ", fromModel(ruleTitle(finding.rule)),
        finding.change !== "none" ? " · " + word(finding.change) : "",
        finding.trust.state !== "none" ? " · " + word(finding.trust.state) : ""),
    make("p", {}, fromModel(finding.sentence)),
    finding.location ? make("p", { class: "paper-code" }, fromModel(finding.location)) : null,
    finding.code ? make("p", { class: "paper-code" }, fromModel(finding.code)) : null);
}
