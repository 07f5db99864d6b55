// SPDX-License-Identifier: Apache-2.0
import assert from "node:assert/strict";
import fs from "node:fs";
import path from "node:path";
import { after, before, test } from "node:test";

import {
    MARK_DARK, MARK_LIGHT, firstFinding, launch, look, open, run, settle, shot, shownCount, totalOf, until, work,
} from "./browser.mjs";

// What a report page does with everything that can be in one: a building made for it, with one finding of every sort.

let browser;
let rows;
before(async () => {
    rows = run("MAKE_PAGE", [0], "showcase", "showcase.html").trim().split("\n").map((line) => line.split("\t"));
    run("MAKE_PAGE", [0], "empty", "empty.html");
    browser = await launch();
});
after(() => browser.close());

test("opens without a complaint, a request or a text taken for markup", async () => {
    const page = await open(browser, "showcase.html");
    await settle(page);
    await shot(page, "showcase-light-en");
    assert.equal(await page.title(), "office-building.ifc · Check report");
    assert.equal(await page.locator("script").count(), 1, "the page's own script alone, its data being read");
    await page.locator("#search").fill("onerror");
    await until(page, () => document.querySelectorAll(".row.finding").length === 1);
    await firstFinding(page).click();
    assert.match(await page.locator("#details .lead").textContent(), /^Pipe <script>document.title='taken over'<\/script>/);
    await page.locator(".objects .object").first().click();
    assert.equal(await page.locator("#details .lead").textContent(), "<script>document.title='taken over'</script>");
    assert.equal(await page.locator("#global-id-text").textContent(), "\"><img src=x onerror=alert(1)>");
    await shot(page, "hostile-texts");
    assert.equal(await page.title(), "office-building.ifc · Check report");
    assert.deepEqual(page.complaints, []);
});

test("counts what it lists", async () => {
    const page = await open(browser, "showcase.html");
    const states = ["confirmed", "suspected", "remind", "trusted", "stale", "gone"];
    let sum = 0;
    for (const state of states) {
        sum += await totalOf(page, state);
    }
    assert.equal(sum, 24);
    assert.equal(await shownCount(page), 24);
    const groups = await page.locator(".row.group .count").allTextContents();
    assert.ok(groups.length > 0);
    for (const [index, state] of states.entries()) {
        const hidden = await totalOf(page, state);
        await page.locator(`.total[data-state="${state}"]`).click();
        sum -= hidden;
        assert.equal(await shownCount(page), index === states.length - 1 ? 0 : sum, state);
    }
    await page.getByRole("button", { name: "Show all" }).click();
    assert.equal(await shownCount(page), 24);
    assert.equal(await page.locator("#fault").isVisible(), false);
});

test("filters, searches, groups and sorts", async () => {
    const page = await open(browser, "showcase.html");
    await page.locator("#filter-state").selectOption("new");
    assert.ok(await shownCount(page) > 0 && await shownCount(page) < 24);
    await page.locator("#filter-state").selectOption("expired");
    assert.equal(await shownCount(page), 1);
    assert.match(await firstFinding(page).textContent(), /#8 .*Trust expired/);
    await page.locator("#filter-state").selectOption("all");
    await page.locator("#filter-floor").selectOption("1");
    const onFloor = await shownCount(page);
    assert.ok(onFloor > 0 && onFloor < 24);
    assert.deepEqual(new Set((await page.locator(".row.finding .meta bdi:first-of-type").allTextContents())), new Set(["2层南区"]));
    await page.locator("#filter-floor").selectOption("all");
    await page.locator("#group").selectOption("severity");
    assert.deepEqual((await page.locator(".row.group .group-title").allTextContents()).slice(0, 1), ["Confirmed"]);
    await page.locator("#sort").selectOption("number");
    await page.locator("#search").fill("管径不一致");
    await until(page, () => document.querySelectorAll(".row.finding").length === 1);
    assert.match(await firstFinding(page).textContent(), /#21/);
});

test("flies to a finding and marks its pipes", async () => {
    const page = await open(browser, "showcase.html");
    await settle(page);
    assert.equal((await look(page, "#overlay", MARK_LIGHT)).count, 0);
    await firstFinding(page).click();
    await settle(page);
    const marked = await look(page, "#overlay", MARK_LIGHT);
    await shot(page, "finding-marked");
    assert.ok(marked.count > 400, `${marked.count} marked pixels`);
    await page.locator("#details-close").click();
    await settle(page);
    assert.equal((await look(page, "#overlay", MARK_LIGHT)).count, 0);
});

test("tells what a clicked object is and which findings touch it", async () => {
    const page = await open(browser, "showcase.html");
    await firstFinding(page).click();
    await settle(page);
    const names = await page.locator(".object-name").allTextContents();
    const { at } = await look(page, "#overlay", MARK_LIGHT);
    await page.locator("#overlay").click({ position: at });
    assert.equal(await page.locator("#details-title").textContent(), "Object");
    assert.ok(names.includes(await page.locator("#details .lead").textContent()));
    assert.match(await page.locator("#details").textContent(), /Findings that touch it \([1-9]/);
    await page.locator("#details .with-mark").first().click();
    assert.match(await page.locator("#details-title").textContent(), /^Finding \d+$/);
});

test("copies feature code and location string", async () => {
    const page = await open(browser, "showcase.html");
    await firstFinding(page).click();
    const shapes = { sentence: /^3 pipes around .* form a closed loop of 18.0 m\.$/, location: /^定位:/, code: /^_[0-9a-f]{32}$/ };
    for (const [field, shape] of Object.entries(shapes)) {
        const text = await page.locator(`#${field}-text`).textContent();
        assert.match(text, shape);
        await page.locator(`#copy-${field}`).click();
        await until(page, (id) => document.getElementById(id).textContent === "Copied", `copy-${field}`);
        await page.locator("#search").fill("");
        await page.locator("#search").focus();
        await page.keyboard.press("Control+V");
        assert.equal(await page.locator("#search").inputValue(), text);
    }
    assert.deepEqual(page.complaints, []);
});

test("speaks Chinese to a Chinese browser and switches", async () => {
    const page = await open(browser, "showcase.html", { locale: "zh-CN" });
    await settle(page);
    await shot(page, "showcase-light-zh");
    assert.equal(await page.locator("html").getAttribute("lang"), "zh-CN");
    assert.equal(await page.locator("#findings-title").textContent(), "检查结果");
    assert.match(await page.locator("#coverage").textContent(), /6 个构件没有楼层/);
    await page.locator("#language").click();
    assert.equal(await page.locator("#findings-title").textContent(), "Findings");
    assert.match(await page.locator("#legend").textContent(), /暖通 HVAC/, "the vocabulary stays, with a gloss");
});

test("goes from floor to floor", async () => {
    const page = await open(browser, "showcase.html");
    await settle(page);
    const ground = (await look(page, "#base", MARK_LIGHT)).picture;
    await page.locator("#floor").selectOption({ index: 0 });
    await settle(page);
    assert.ok(!ground.equals((await look(page, "#base", MARK_LIGHT)).picture));
    const options = await page.locator("#floor option").allTextContents();
    assert.equal(options.length, 4, "three floors and what has none");
    assert.match(options[0], /^Without a floor/);
});

test("says first what was not checked", async () => {
    const page = await open(browser, "showcase.html");
    const coverage = page.locator("#coverage");
    assert.match(await coverage.textContent(), /Not everything was checked\s*1 check crashed.*1 check cancelled.*1 check skipped.*9 checks not applicable/);
    assert.match(await coverage.textContent(), /crashed: it did not answer for 60 s/);
    const top = await coverage.boundingBox();
    const list = await page.locator("#findings").boundingBox();
    assert.ok(top.y + top.height <= list.y);
    await page.locator("#coverage-toggle").click();
    assert.equal(await page.locator("#coverage-table tbody").first().locator("tr").count(), 36);
    assert.match(await page.locator("#coverage-table").textContent(), /6 × IfcPipeSegment|no relation places it/);
    await shot(page, "outcomes");
});

test("is dark when the system is", async () => {
    const page = await open(browser, "showcase.html", { colorScheme: "dark" });
    await firstFinding(page).click();
    await settle(page);
    await shot(page, "finding-dark");
    const dark = await look(page, "#overlay", MARK_DARK);
    assert.ok(dark.brightness < 80, `brightness ${dark.brightness}`);
    assert.ok(dark.count > 400);
    await page.locator("#theme").click();
    await settle(page);
    assert.ok((await look(page, "#overlay", MARK_LIGHT)).brightness > 200);
});

test("is used with the keyboard alone", async () => {
    const page = await open(browser, "showcase.html");
    const focused = () => page.evaluate(() => document.activeElement.id);
    const tabTo = async (id) => {
        for (let count = 0; count < 60 && await focused() !== id; ++count) {
            await page.keyboard.press("Tab");
        }
        assert.equal(await focused(), id);
        const outline = await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
        assert.equal(outline, "solid", "the focus is seen");
    };
    await tabTo("list");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    assert.match(await page.locator("#details-title").textContent(), /^Finding \d+$/);
    assert.match(await page.locator("#live").textContent(), /^Finding \d+: /, "a screen reader hears it");
    const active = await page.locator("#list").getAttribute("aria-activedescendant");
    assert.equal(await page.locator("#" + active).getAttribute("aria-selected"), "true");
    await page.keyboard.press("ArrowLeft");
    await page.keyboard.press("ArrowLeft");
    assert.equal(await page.locator(".row.group").first().getAttribute("aria-expanded"), "false");
    await tabTo("overlay");
    await page.keyboard.press("0");
    await settle(page);
    await page.keyboard.press("n");
    const first = await page.locator("#details .lead").textContent();
    await page.keyboard.press("n");
    assert.notEqual(await page.locator("#details .lead").textContent(), first);
    assert.equal(await page.locator("#details-title").textContent(), "Object");
    const floor = await page.locator("#floor").inputValue();
    await page.keyboard.press("PageUp");
    assert.notEqual(await page.locator("#floor").inputValue(), floor);
    await page.keyboard.press("Escape");
    assert.equal(await page.locator("#details").isVisible(), false);
    await tabTo("zoom-fit");
});

test("fits a narrow window", async () => {
    const page = await open(browser, "showcase.html", { viewport: { width: 390, height: 844 }, hasTouch: true });
    await firstFinding(page).tap();
    await settle(page);
    await shot(page, "narrow");
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
    assert.ok((await look(page, "#overlay", MARK_LIGHT)).count > 200);
});

test("prints its findings and the plan", async () => {
    const page = await open(browser, "showcase.html", { colorScheme: "dark" });
    await settle(page);
    await page.emulateMedia({ media: "print", colorScheme: "dark" });
    await until(page, () => document.querySelectorAll(".paper-finding").length === 24);
    await shot(page, "paper");
    assert.ok((await look(page, "figure:first-of-type .paper-plan", MARK_LIGHT)).brightness > 220, "paper is white");
    assert.equal(await page.locator(".paper-plan").count(), 3, "one for each floor with findings");
    const pdf = await page.pdf();
    fs.writeFileSync(path.join(work, "screenshots", "paper.pdf"), pdf);
    assert.ok(pdf.length > 20000);
});

test("finds every element again as it was written", async () => {
    const page = await open(browser, "showcase.html");
    assert.ok(rows.length >= 10);
    for (const [handle, globalId, name, className] of rows) {
        await page.locator("#search").fill(globalId);
        await page.locator(".row.found").first().waitFor();
        await until(page, (wanted) => document.querySelector(".row.found .sentence")?.textContent === wanted, name);
        await page.locator(".row.found").first().click();
        assert.equal(await page.locator("#global-id-text").textContent(), globalId);
        assert.equal(await page.locator("#handle-text").textContent(), handle);
        assert.match(await page.locator("#details .facts").textContent(), new RegExp(className));
    }
});

test("says so when there is nothing, and when the data is damaged", async () => {
    const page = await open(browser, "empty.html");
    assert.match(await page.locator("#list").textContent(), /No findings/);
    assert.equal(await page.locator("#coverage-title").textContent(), "Nothing was checked", "which is not all good");
    assert.deepEqual(page.complaints, []);
    const whole = fs.readFileSync(path.join(work, "showcase.html"), "utf8");
    const begin = whole.indexOf("text/plain\">") + 12;
    fs.writeFileSync(path.join(work, "damaged.html"), whole.slice(0, begin + 5000) + whole.slice(whole.indexOf("</script>", begin)));
    const damaged = await open(browser, "damaged.html");
    assert.match(await damaged.locator("#fault").textContent(), /data is damaged/);
});
