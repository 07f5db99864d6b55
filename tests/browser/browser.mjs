// SPDX-License-Identifier: Apache-2.0
// Chromium as these tests use it, and the few things that they all do.

import { chromium } from "playwright-core";
import { spawnSync } from "node:child_process";
import { fileURLToPath, pathToFileURL } from "node:url";
import path from "node:path";

export const work = path.dirname(fileURLToPath(import.meta.url));

// The style sheet's --mark, which no specialty comes near.
export const MARK_LIGHT = [255, 61, 139];
export const MARK_DARK = [255, 95, 162];

export const firstFinding = (page) => page.locator(".row.finding").first();
export const shownCount = async (page) => Number((await page.locator("#shown").textContent()).match(/\d+/)[0]);
export const totalOf = async (page, state) =>
    Number(await page.locator(`.total[data-state="${state}"] b`).textContent());

// Runs a program to its end in the work folder. Its exit code must be one of those.
export function run(program, codes, ...words) {
    const ended = spawnSync(process.env[program], words, { cwd: work, encoding: "utf8" });
    if (!codes.includes(ended.status)) {
        throw new Error(`${program} ${words.join(" ")} ended with ${ended.status}: ${ended.error ?? ended.stderr}`);
    }
    return ended.stdout;
}

export function launch() {
    return chromium.launch({
        executablePath: "/usr/bin/chromium",
        // Without these it looks for updates and drops connections in closed networks.
        args: ["--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
            "--disable-component-update", "--disable-sync", ...process.getuid() === 0 ? ["--no-sandbox"] : []],
    });
}

// Opens a page by its file, as a double click does, and keeps everything that it complains about or asks for.
export async function open(browser, name, options = {}) {
    const context = await browser.newContext({ viewport: { width: 1440, height: 900 }, locale: "en-GB", ...options });
    const page = await context.newPage();
    page.complaints = [];
    page.on("console", (message) => page.complaints.push(message.text()));
    page.on("pageerror", (error) => page.complaints.push(error.stack));
    page.on("dialog", (dialog) => page.complaints.push("dialog: " + dialog.message()));
    page.on("request", (request) => {
        if (!request.url().startsWith("file:")) {
            page.complaints.push("request: " + request.url().slice(0, 200));
        }
    });
    page.setDefaultTimeout(20000);
    await page.goto(pathToFileURL(path.join(work, name)).href + (options.hash ?? ""));
    await until(page, () => document.documentElement.dataset.ready || !document.getElementById("fault").hidden);
    return page;
}

// Waits for something in the page. Asks from outside: the page's policy forbids what Playwright's own waiting runs inside.
export async function until(page, holds, argument) {
    const end = Date.now() + 20000;
    while (!await page.evaluate(holds, argument)) {
        if (Date.now() > end) {
            throw new Error("waited in vain for " + holds);
        }
        await new Promise((resolve) => setTimeout(resolve, 20));
    }
}

export const shot = (page, name) => page.screenshot({ path: path.join(work, "screenshots", name + ".png") });

// What is seen of an element, as pixels: how many are near a colour, where the middle one of them is, how many times at
// most a row comes upon the colour, and how bright all are.
export async function look(page, selector, colour, tolerance = 40) {
    const picture = await page.locator(selector).screenshot();
    const helper = await page.context().newPage();
    const seen = await helper.evaluate(async ([data, [red, green, blue], tolerated]) => {
        const image = new Image();
        image.src = "data:image/png;base64," + data;
        await image.decode();
        const canvas = new OffscreenCanvas(image.width, image.height);
        const drawing = canvas.getContext("2d");
        drawing.drawImage(image, 0, 0);
        const { data: bytes } = drawing.getImageData(0, 0, image.width, image.height);
        const near = [];
        let sum = 0;
        let most = 0;
        let inRow = 0;
        for (let index = 0; index < bytes.length; index += 4) {
            sum += bytes[index] + bytes[index + 1] + bytes[index + 2];
            const away = Math.abs(bytes[index] - red) + Math.abs(bytes[index + 1] - green) + Math.abs(bytes[index + 2] - blue);
            if (index / 4 % image.width === 0) {
                inRow = 0;
            }
            if (away < tolerated) {
                inRow += near.at(-1) === index / 4 - 1 && inRow > 0 ? 0 : 1;
                most = Math.max(most, inRow);
                near.push(index / 4);
            }
        }
        const middle = near[near.length >> 1];
        const at = near.length ? { x: middle % image.width, y: Math.floor(middle / image.width) } : null;
        return { count: near.length, total: bytes.length / 4, at, most, brightness: sum / bytes.length * 4 / 3 };
    }, [picture.toString("base64"), colour, tolerance]);
    await helper.close();
    return { ...seen, picture };
}

// Waits until the plan came to rest: no flight, no tile missing.
export async function settle(page) {
    await page.waitForTimeout(700);
}
