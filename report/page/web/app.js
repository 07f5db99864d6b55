// SPDX-License-Identifier: Apache-2.0
// Starts the page: unpacks the data, fills what stands still, and joins the parts.

const THEMES = ["auto", "light", "dark"];
let theme = "auto";

function showFault(text) {
    byId("fault").textContent = text;
    byId("fault").hidden = false;
}

// What is known of the run, part by part: each stays whole where the line breaks.
function runLine() {
    const { run, totals } = report;
    const { compared } = report;
    const parts = [run.project, run.schema, run.planMissing ? "" : word("elements", { n: number(totals.elements) }),
        [run.number > 0 && word("runNumber", { n: run.number }), timeText(run.startedAt), run.resumed && word("resumedRun")]
            .filter((part) => part).join(", "),
        compared && word("comparedWith", { run: compared.run }) + (compared.startedAt ? ", " + timeText(compared.startedAt) : ""),
        run.tool && word("tool", { version: run.tool })].filter((part) => part);
    return parts.flatMap((part, at) => at === 0 ? [fromModel(part)] : [" · ", fromModel(part)]);
}

function fillWords() {
    document.documentElement.lang = language === "zh" ? "zh-CN" : "en";
    for (const node of document.querySelectorAll("[data-word]")) {
        node.textContent = word(node.dataset.word);
    }
    for (const node of document.querySelectorAll("[data-label]")) {
        node.setAttribute("aria-label", word(node.dataset.label));
    }
    byId("search").placeholder = word(byId("search").dataset.placeholder);
    byId("language").textContent = word("language");
    byId("language").setAttribute("aria-label", word("languageLabel"));
    nameTheme();
    document.title = (report.run.model ? report.run.model + " · " : "") + word("title");
    byId("model-name").replaceChildren(fromModel(report.run.model || word("title")));
    byId("run-line").replaceChildren(...runLine());
}

function nameTheme() {
    byId("theme").textContent = word({ auto: "themeAuto", light: "themeLight", dark: "themeDark" }[theme]);
}

function startPreferences() {
    byId("language").addEventListener("click", () => {
        language = language === "en" ? "zh" : "en";
        fillWords();
        tell("language");
        say(word("title"));
    });
    byId("theme").addEventListener("click", () => {
        theme = THEMES[(THEMES.indexOf(theme) + 1) % THEMES.length];
        document.documentElement.dataset.theme = theme;
        nameTheme();
        tell("theme");
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => tell("theme"));
}

function startFloors() {
    const fill = () => {
        byId("floor").replaceChildren(...shownFloors().reverse().map((floor) =>
            make("option", { value: floor, selected: floor === choice.floor }, floorOption(floor))));
        const floors = shownFloors();
        byId("floor-down").disabled = floors.indexOf(choice.floor) <= 0;
        byId("floor-up").disabled = floors.indexOf(choice.floor) >= floors.length - 1;
        nameEmptyPlan();
    };
    byId("floor").addEventListener("change", () => goToFloor(Number(byId("floor").value)));
    byId("floor-up").addEventListener("click", () => stepFloor(1));
    byId("floor-down").addEventListener("click", () => stepFloor(-1));
    on("floor", fill);
    on("language", fill);
    fill();
}

// The name, with the number of open findings on the floor and its height.
function floorOption(floor) {
    const open = report.findings.filter((finding) => finding.shownFloor === floor && GRAVITY.get(finding.state) < 3).length;
    const elevation = floor === NO_FLOOR ? null : report.floors[floor].elevation;
    return floorName(floor) + (elevation === null ? "" : "  (" + (elevation >= 0 ? "+" : "") + number(elevation / 1000, 2) + " m)")
        + (open > 0 ? "  · " + counted("floorFindings", open) : "");
}

function startLegend() {
    const present = new Set();
    for (let index = 0; index < report.elements.count; ++index) {
        present.add(specialtyOf(index));
    }
    const fill = () => byId("legend").replaceChildren(...[...present].sort((left, right) => left - right).map(legendButton));
    on("language", fill);
    on("language", fillSymbols);
    fill();
    fillSymbols();
}

function legendButton(specialty) {
    const button = make("button", { type: "button", class: "legend specialty-" + specialty,
        "aria-pressed": String(!choice.hiddenSpecialties.has(specialty)) }, lineSample(specialty),
    specialty === OTHER_SPECIALTY ? word("otherSpecialty") : term(SPECIALTIES[specialty]));
    button.addEventListener("click", () => {
        if (!choice.hiddenSpecialties.delete(specialty)) {
            choice.hiddenSpecialties.add(specialty);
        }
        button.setAttribute("aria-pressed", String(!choice.hiddenSpecialties.has(specialty)));
        tell("specialties");
    });
    return button;
}

function lineSample(specialty) {
    const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
    const line = document.createElementNS("http://www.w3.org/2000/svg", "line");
    svg.setAttribute("viewBox", "0 0 26 8");
    svg.setAttribute("class", "line-sample");
    svg.setAttribute("aria-hidden", "true");
    for (const [name, value] of Object.entries({ x1: 0, y1: 4, x2: 26, y2: 4,
        "stroke-dasharray": DASHES[specialty].join(" ") })) {
        line.setAttribute(name, value);
    }
    svg.append(line);
    return svg;
}

// The symbols that this model needs, drawn as the plan draws them.
function fillSymbols() {
    const present = new Set(report.elements.kinds.map((kind) => kind.kind));
    const samples = [[KIND.fitting, "fitting"], [KIND.device, "device"], [KIND.equipment, "equipment"],
        [KIND.terminal, "terminal"], [KIND.other, "other"], [KIND.segment, "riser"]];
    byId("symbols").replaceChildren(...samples.filter(([kind]) => present.has(kind)).map(([kind, name]) => {
        const picture = make("canvas", { class: "symbol" });
        picture.width = picture.height = 32;
        const mark = { kind, radius: kind === KIND.fitting ? 3.5 : 5, spanX: 6, spanY: 5 };
        drawMark(picture.getContext("2d"), mark, 16, 16, 2, plan.colours.ink, plan.colours.sheet);
        return make("span", {}, picture, word(name));
    }));
}

// #7 opens finding 7, so that a link can name it.
function openAddressed() {
    const wanted = Number(location.hash.slice(1));
    const finding = report.findings.find((candidate) => candidate.number === wanted && candidate.change !== "gone");
    if (finding) {
        select(finding);
    }
}

// Where most is to be seen first: the floor of the first finding, else the floor with the most elements.
function firstFloor() {
    const open = report.findings.filter((finding) => finding.place)
        .sort((left, right) => COMPARE.gravity(left, right) || left.number - right.number);
    if (open.length > 0) {
        return open[0].shownFloor;
    }
    const counts = countBy(report.elements.floor, (floor) => floor);
    return shownFloors().reduce((best, floor) => (counts.get(floor) ?? 0) > (counts.get(best) ?? 0) ? floor : best);
}

async function start() {
    if (typeof DecompressionStream === "undefined") {
        showFault(word("unsupported"));
        return;
    }
    try {
        const packed = byId("data");
        report = readReport(await inflate(decode85(packed.textContent)));
        packed.remove();
    } catch (error) {
        showFault(word("broken", { why: error.message }));
        return;
    }
    prepare();
    choice.floor = firstFloor();
    byId("page").hidden = false;
    fillWords();
    startList();
    startCoverage();
    startDetails();
    startPlan();
    startFloors();
    startLegend();
    on("theme", fillSymbols);
    startSide();
    startPreferences();
    startPrinting();
    openAddressed();
    window.addEventListener("hashchange", openAddressed);
    document.documentElement.dataset.ready = String(Math.round(performance.now()));
}

start();
