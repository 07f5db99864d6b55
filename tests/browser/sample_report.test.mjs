// SPDX-License-Identifier: Apache-2.0
import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { after, before, test } from "node:test";

import {
    MARK_DARK, MARK_LIGHT, firstFinding, launch, look, open, run, settle, shot, shownCount, totalOf, until, work,
} from "./browser.mjs";

// The report of the sample as norvex writes it, used as a person would who has never seen one.

const REMIND_LIGHT = [42, 93, 176];  // --remind of the style sheet: the discs on the plan

let browser;
let result;
before(async () => {
    const sample = path.join(process.env.SAMPLES, "house.ifc");
    fs.rmSync(path.join(work, "house-project"), { recursive: true, force: true });
    run("NORVEX", [1], "check", sample, "--project", "house-project", "--html", "house.html", "--json", "house.json", "--quiet");
    result = JSON.parse(fs.readFileSync(path.join(work, "house.json"), "utf8"));
    browser = await launch();
});
after(() => browser.close());

const records = (file) => {
    const [head, ...lines] = fs.readFileSync(path.join(process.env.SAMPLES, file), "utf8").trim().split("\n").map((line) => line.split("\t"));
    return lines.map((line) => Object.fromEntries(head.map((name, at) => [name, line[at]])));
};

// What the page shows of the chosen finding's objects.
const chosenGlobalIds = async (page) => (await page.locator("#details .object .meta").allTextContents())
    .map((text) => text.split(" · ")[1]).sort().join(" ");

test("leads a person to every planted defect, and to nothing else", async () => {
    const page = await open(browser, "house.html");
    const planted = [...records("house.expected.tsv"), ...records("house.others.tsv")].filter((record) =>
        record.verdict === "finding" || record.verdict === "other").map((record) => record.globalIds).sort();
    const found = [];
    await firstFinding(page).click();
    for (;;) {
        found.push(await chosenGlobalIds(page));
        const title = await page.locator("#details-title").textContent();
        await page.getByRole("button", { name: "Next", exact: true }).click();
        if (await page.locator("#details-title").textContent() === title) {
            break;
        }
    }
    assert.deepEqual(found.sort(), planted);
    assert.deepEqual(page.complaints, []);
});

test("marks the pipes of a planted loop after one click", async () => {
    const page = await open(browser, "house.html");
    await settle(page);
    await shot(page, "sample");
    const viewport = page.viewportSize();
    const row = page.locator(".row.finding", { hasText: "2 pipes" });
    const place = await row.boundingBox();
    assert.ok(place.y + place.height / 2 < viewport.height, "it is in sight before anything is touched");
    assert.equal((await look(page, "#overlay", MARK_LIGHT)).count, 0);
    await row.click();
    await settle(page);
    await shot(page, "sample-finding");
    const marked = await look(page, "#overlay", MARK_LIGHT);
    assert.ok(marked.count > 400, `${marked.count} marked pixels`);
    const side = await look(page, "#side", MARK_LIGHT);
    assert.ok(side.count > 5, `${side.count} marked pixels in the side view`);
    assert.match(await page.locator("#details .lead").textContent(), /^2 pipes of the system "给水系统 Cold water" on floor "1层" run between the same two joints and form a closed loop/);
    assert.match(await page.locator("#details").textContent(), /2 of its objects run between the same two ends/);
    assert.match(await page.locator("#details .facts").textContent(), /Middle of its objects/);
    // The pair runs north: a line across it meets two halos with a pipe in each.
    assert.equal(marked.most, 4, "each of the two pipes lies in a halo of its own");
    assert.match(await page.locator("#details").textContent(), /管道闭合成环 pipes close a loop/);
});

test("says how much heights are stretched, however near the plan is", async () => {
    const page = await open(browser, "house.html");
    await page.addInitScript(() => {
        window.written = [];
        const write = CanvasRenderingContext2D.prototype.fillText;
        CanvasRenderingContext2D.prototype.fillText = function (text, ...rest) {
            window.written.push(text);
            return write.call(this, text, ...rest);
        };
    });
    await page.reload();
    await page.locator(".row.finding", { hasText: "2 pipes" }).click();
    await settle(page);
    for (let step = 0; step < 6; ++step) {
        await page.getByRole("button", { name: "Zoom in" }).click();
    }
    await settle(page);
    const factors = (await page.evaluate(() => window.written)).filter((text) => text.startsWith("heights × "))
        .map((text) => Number(text.slice("heights × ".length)));
    assert.ok(factors.length > 1, "the side view was drawn");
    assert.ok(factors.every((factor) => factor > 0), String(factors));
    assert.ok(Math.min(...factors) < 0.05, "near enough to tell: " + factors);
});

test("counts each warning about the file once", async () => {
    const page = await open(browser, "house.html");
    assert.match(await page.locator("#coverage-chips").textContent(), /2 warnings about the file/);
    await page.locator("#coverage-toggle").click();
    const kinds = await page.locator("#part-notices + .table tbody tr td:first-child").allTextContents();
    assert.deepEqual(kinds, ["note", "warning", "warning"]);
});

test("says once which elements of the model no rule looks at", async () => {
    const page = await open(browser, "house.html");
    const text = await page.locator("#coverage").textContent();
    assert.equal(text.split("No rule of this run looks at these elements of the model: 24 of 电气 electrical, 6 of 弱电 low voltage.").length, 2, text);
    assert.deepEqual(result.scope.withoutRule, [{ elements: 24, specialty: "电气" }, { elements: 6, specialty: "弱电" }]);
});

test("opens a finding by its marker on the plan, and names what lies under the pointer", async () => {
    const page = await open(browser, "house.html");
    await settle(page);
    const { at } = await look(page, "#overlay", REMIND_LIGHT, 12);
    assert.ok(at, "a marker is in sight");
    await page.locator("#overlay").hover({ position: at });
    await until(page, () => !document.getElementById("tip").hidden);
    assert.match(await page.locator("#tip").textContent(), /^#\d /);
    await page.locator("#overlay").click({ position: at });
    assert.match(await page.locator("#details-title").textContent(), /^Finding \d$/);
    assert.equal(await page.locator("#tip").isVisible(), false);
});

test("tells what a clicked pipe is and which findings touch it", async () => {
    const page = await open(browser, "house.html");
    await page.locator(".row.finding", { hasText: "4 pipes of the system \"给水系统" }).click();
    await settle(page);
    const { at } = await look(page, "#overlay", MARK_LIGHT);
    await page.locator("#overlay").click({ position: at });
    assert.equal(await page.locator("#details-title").textContent(), "Object");
    const facts = await page.locator("#details .facts").textContent();
    assert.match(facts, /IfcPipeSegment/);
    assert.match(facts, /给排水 water/);
    assert.match(facts, /25 mm/);
    assert.match(await page.locator("#details").textContent(), /Findings that touch it \(1\)/);
});

test("counts, filters and searches as the run counted", async () => {
    const page = await open(browser, "house.html");
    assert.equal(await shownCount(page), result.findings.length);
    for (const severity of ["confirmed", "suspected", "remind"]) {
        assert.equal(await totalOf(page, severity), result.totals[severity], severity);
    }
    assert.equal(await page.locator("#fault").isVisible(), false);
    await page.locator("#filter-floor").selectOption({ label: "2层" });
    assert.equal(await shownCount(page), result.findings.filter((finding) => finding.floor === "2层").length);
    await page.locator("#search").fill("drainage");
    await until(page, () => document.querySelectorAll(".row.finding").length === 1);
    await page.locator("#search").fill("");
    await page.locator("#filter-floor").selectOption("all");
    await until(page, (all) => document.querySelectorAll(".row.finding").length === all, result.findings.length);
    await page.locator(".total[data-state=\"suspected\"]").click();
    assert.equal(await shownCount(page), await totalOf(page, "remind"));
    await page.locator("#group").selectOption("floor");
    assert.deepEqual(await page.locator(".row.group .group-title").allTextContents(), ["2层", "1层"]);
});

test("copies sentence, location string and feature code as the run wrote them", async () => {
    const page = await open(browser, "house.html");
    await firstFinding(page).click();
    const wanted = Number((await page.locator("#details-title").textContent()).match(/\d+/)[0]);
    const finding = result.findings.find((candidate) => candidate.number === wanted);
    for (const [field, text] of [["sentence", finding.sentence], ["location", finding.location], ["code", finding.featureCode]]) {
        await page.locator(`#copy-${field}`).click();
        await until(page, (id) => document.getElementById(id).textContent === "Copied", `copy-${field}`);
        await page.locator("#search").fill("");
        await page.locator("#search").focus();
        await page.keyboard.press("Control+V");
        assert.equal(await page.locator("#search").inputValue(), text);
    }
});

test("switches language and floor", async () => {
    const page = await open(browser, "house.html", { colorScheme: "dark" });
    await settle(page);
    const ground = (await look(page, "#base", MARK_DARK)).picture;
    await page.locator("#language").click();
    assert.equal(await page.locator("#findings-title").textContent(), "检查结果");
    assert.match(await page.locator(".row.finding").first().textContent(), /疑似错误/);
    await page.locator("#floor-up").click();
    await settle(page);
    assert.ok(!ground.equals((await look(page, "#base", MARK_DARK)).picture));
    assert.match(await page.locator("#floor option:checked").textContent(), /^2层.*5 条结果/);
    await page.locator(".row.finding", { hasText: "Drainage" }).click();
    await settle(page);
    await shot(page, "sample-dark-zh");
    assert.ok((await look(page, "#overlay", MARK_DARK)).count > 400);
    assert.deepEqual(page.complaints, []);
});

test("says at the top what was not checked", async () => {
    const page = await open(browser, "house.html");
    const coverage = await page.locator("#coverage").textContent();
    assert.match(coverage, /1 element on no floor/);
    const idle = result.outcomes.filter((record) => record.outcome === "not applicable").length;
    assert.ok(idle > 0);
    assert.ok(coverage.includes(`${idle} checks not applicable`), coverage);
    assert.ok((await page.locator("#coverage").boundingBox()).y < (await page.locator("#findings").boundingBox()).y);
    await page.getByRole("button", { name: "1 element on no floor" }).click();
    assert.match(await page.locator("#coverage-table").textContent(), /1 × IfcPipeSegment: no relation places it/);
});

test("shows what a project remembers: what is trusted, what persists, what is gone", async () => {
    const project = ["--project", "history-project"];
    fs.rmSync(path.join(work, "history-project"), { recursive: true, force: true });
    run("NORVEX", [1], "check", path.join(process.env.SAMPLES, "house.ifc"), ...project, "--quiet");
    const loop = result.findings.find((finding) => finding.sentence.startsWith("4 pipes of the system \"给水系统"));
    run("NORVEX", [0], "trust", "add", "--finding", loop.featureCode, "--reason", "a ring by intention", "--person", "Ada", ...project);
    // The same house once most of its defects are repaired, and one more is made.
    run("NORVEX_SAMPLE", [0], "--floors", "3", "--bays", "1", "--defects", "water-loop,pipe-pair,gap", "-o", "repaired.ifc",
        "--expected", "repaired.tsv", "--others", "repaired.others.tsv");
    run("NORVEX", [1], "check", "repaired.ifc", ...project, "--html", "history.html", "--json", "history.json", "--quiet");
    const second = JSON.parse(fs.readFileSync(path.join(work, "history.json"), "utf8"));
    const page = await open(browser, "history.html");
    await settle(page);
    await shot(page, "sample-history");
    assert.match(await page.locator("#run-line").textContent(), /run 2, \d{4}-\d\d-\d\d \d\d:\d\d UTC .*compared with run 1/);
    assert.equal(await totalOf(page, "trusted"), 1);
    assert.equal(await totalOf(page, "gone"), second.comparison.gone.length);
    assert.ok(second.comparison.gone.length > 0);
    assert.equal(await page.locator("#fault").isVisible(), false);
    await page.locator("#filter-state").selectOption("trusted");
    await firstFinding(page).click();
    assert.match(await page.locator("#details").textContent(), /Trusted by Ada.*a ring by intention/);
    await page.locator("#filter-state").selectOption("gone");
    assert.equal(await shownCount(page), second.comparison.gone.length);
    await firstFinding(page).click();
    assert.match(await page.locator("#details").textContent(), /Run 1 found it, this run does not any more\./);
    await page.locator("#filter-state").selectOption("persisting");
    assert.equal(await shownCount(page), second.findings.filter((finding) => finding.novelty === "persisting").length);
    assert.deepEqual(page.complaints, []);
});

test("shows the findings of a stored run when its model has changed", async () => {
    const project = ["--project", "changed-project"];
    fs.rmSync(path.join(work, "changed-project"), { recursive: true, force: true });
    fs.copyFileSync(path.join(process.env.SAMPLES, "house.ifc"), path.join(work, "changed.ifc"));
    run("NORVEX", [1], "check", "changed.ifc", ...project, "--quiet");
    fs.appendFileSync(path.join(work, "changed.ifc"), "\n");
    run("NORVEX", [0], "report", ...project, "--html", "changed.html");
    const page = await open(browser, "changed.html");
    await settle(page);
    await shot(page, "sample-changed");
    assert.match(await page.locator("#coverage").textContent(), /changed\.ifc" is not the one that was checked any more, so no plan is drawn\./);
    assert.equal(await shownCount(page), result.findings.length);
    await firstFinding(page).click();
    assert.ok((await chosenGlobalIds(page)).length > 0);
    assert.deepEqual(page.complaints, []);
});

test("draws a real model", async (context) => {
    const model = path.join(process.env.NORVEX_SHARED, "models", "B03_hvac_heating.ifc");
    if (!fs.existsSync(model)) {
        context.skip(`${model} is not there, so no real model was drawn`);
        return;
    }
    run("NORVEX", [0, 1, 3], "check", model, "--project", "B03-project", "--html", "B03.html", "--quiet");
    const page = await open(browser, "B03.html");
    await settle(page);
    await shot(page, "B03");
    const plan = await look(page, "#base", [255, 255, 255]);
    assert.ok(plan.total - plan.count > 5000, "something is drawn");
    await firstFinding(page).click();
    await settle(page);
    await shot(page, "B03-finding");
    assert.ok((await look(page, "#overlay", MARK_LIGHT)).count > 400);
    assert.deepEqual(page.complaints, []);
});
