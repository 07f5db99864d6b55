// SPDX-License-Identifier: Apache-2.0
// What is chosen, told in full: a finding with what to do about it, or an object with the findings that touch it.

const OBJECTS_AT_FIRST = 12;
const KIND_WORDS = [null, "fitting", "device", "equipment", "terminal", "other"];

function startDetails() {
    on("selection", fillDetails);
    on("language", fillDetails);
    byId("details").addEventListener("keydown", (event) => {
        if (event.key === "Escape") {
            closeDetails();
        }
    });
}

function closeDetails() {
    const finding = choice.finding;
    selectStaying(null, null);
    (finding ? byId("list") : byId("overlay")).focus();
}

function fillDetails() {
    const details = byId("details");
    if (!choice.finding && choice.object === null) {
        details.hidden = true;
        details.replaceChildren();
        return;
    }
    details.hidden = false;
    details.replaceChildren(...choice.finding ? findingDetails(choice.finding) : objectDetails(choice.object));
    details.scrollTop = 0;
}

function detailsHead(title, mark) {
    return make("header", { class: "details-head" }, mark, make("h2", { id: "details-title" }, title),
        choice.finding ? make("button", { type: "button", class: "icon", title: word("previous"), "aria-label": word("previous"),
            onclick: () => stepFinding(-1) }, "↑") : null,
        choice.finding ? make("button", { type: "button", class: "icon", title: word("next"), "aria-label": word("next"),
            onclick: () => stepFinding(1) }, "↓") : null,
        make("button", { type: "button", class: "icon", id: "details-close", title: word("close"), "aria-label": word("close"),
            onclick: closeDetails }, "×"));
}

function findingDetails(finding) {
    const rule = report.rules[finding.rule];
    return [
        detailsHead(finding.number > 0 ? word("finding", { n: findingName(finding).slice(1) }) : word("goneFinding",
            { n: report.compared?.run ?? "" }), stateMark(finding.state)),
        make("p", { class: "lead", id: "sentence-text" }, fromModel(finding.sentence)),
        make("p", { class: "tags" }, make("span", { class: "tag state-tag state-" + finding.severity },
            stateWord(finding.severity, 1)), ...tagsOf(finding),
        copyButton("sentence", word("sentence"), finding.sentence, word("copySentence"))),
        ...noteOfChange(finding), ...noteOfTrust(finding), ...noteOfBows(finding),
        facts([[word("where"), floorName(finding.shownFloor)], [word("rule"), rule.title && rule.title !== rule.name
            ? rule.title + " (" + rule.name + ")" : rule.name],
        [word("concerns"), [finding.specialty, finding.category, finding.subCategory].filter((text) => text).map(term)
            .join(" › ")], [word("place"), finding.place ? placeText(finding.place) : ""]]),
        copyField("location", word("location"), finding.location),
        copyField("code", word("code"), finding.code),
        ...chapter(word("how"), rule.how), ...chapter(word("why"), rule.why),
        make("h3", {}, word("objects", { n: number(finding.objects.length) })),
        objectList(finding),
    ];
}

function noteOfChange(finding) {
    const key = { new: "newNote", persisting: "persistingNote", gone: "goneNote" }[finding.change];
    return key && report.compared ? [make("p", { class: "note" }, word(key, { run: report.compared.run }))] : [];
}

function noteOfBows(finding) {
    const bowed = bowsOf(finding.objects.filter((object) => report.elements.isPlaced(object))).size;
    return bowed > 0 ? [make("p", { class: "note" }, word("bowedNote", { n: number(bowed) }))] : [];
}

function noteOfTrust(finding) {
    const trust = finding.trust;
    if (trust.state === "none") {
        return [];
    }
    const until = trust.state === "expired" ? "trustSince" : "trustUntil";
    return [make("div", { class: "note note-" + trust.state },
        make("b", {}, word(trust.state)), " ",
        trust.person || trust.date ? word("trustedBy", { person: trust.person || "—", date: trust.date || "—" }) : "",
        trust.expires ? " · " + word(until, { date: trust.expires }) : "",
        trust.reason ? make("p", {}, fromModel(trust.reason)) : null)];
}

// Names with values; empty values are left out.
function facts(pairs) {
    return make("dl", { class: "facts" }, ...pairs.filter(([, value]) => value)
        .flatMap(([name, value]) => [make("dt", {}, name), make("dd", {}, fromModel(value))]));
}

function copyField(id, name, text) {
    if (!text) {
        return make("span");
    }
    return make("div", { class: "copy" }, make("span", { class: "copy-name" }, name),
        make("code", { id: id + "-text", dir: "ltr" }, text), copyButton(id, name, text));
}

function copyButton(id, name, text, face = word("copy")) {
    const button = make("button", { type: "button", id: "copy-" + id, class: "copy-button",
        "aria-label": word("copy") + ": " + name }, face);
    button.addEventListener("click", async () => {
        const done = await copyText(text);
        button.textContent = done ? word("copied") : face;
        button.classList.toggle("done", done);
        say(word(done ? "copied" : "copyFailed"));
        setTimeout(() => {
            button.textContent = face;
            button.classList.remove("done");
        }, 1600);
    });
    return button;
}

// Files opened by a double click may lack the clipboard interface; the older command works there.
async function copyText(text) {
    try {
        await navigator.clipboard.writeText(text);
        return true;
    } catch {
        const before = document.activeElement;
        const area = document.body.appendChild(make("textarea", { class: "unseen", "aria-hidden": "true" }));
        area.value = text;
        area.select();
        const done = document.execCommand("copy");
        area.remove();
        before?.focus();
        return done;
    }
}

function objectList(finding) {
    if (finding.objects.length === 0) {
        return make("p", { class: "soft" }, word(finding.change === "gone" ? "goneObjects" : "noObjects"));
    }
    const list = make("ul", { class: "objects" });
    const fill = (count) => {
        list.replaceChildren(...finding.objects.slice(0, count).map((object) => make("li", {}, objectButton(object, finding))));
        if (count < finding.objects.length) {
            list.append(make("li", {}, make("button", { type: "button", class: "plain",
                onclick: () => fill(finding.objects.length) }, word("moreObjects", { n: number(finding.objects.length) }))));
        }
    };
    fill(OBJECTS_AT_FIRST);
    return list;
}

function objectButton(object, finding) {
    const elements = report.elements;
    const about = elements.about(object);
    return make("button", { type: "button", class: "object", onclick: () => select(null, object) },
        fromModel(elements.name(object) || word("unnamed"), { class: "object-name" }),
        make("span", { class: "meta" }, fromModel(about.className || term(about.subCategory) || word("object")), " · ",
            fromModel(elements.globalId(object) || elements.handle(object)),
            elements.floor[object] !== finding.shownFloor ? " · " + floorName(elements.floor[object]) : ""));
}

function chapter(title, text) {
    return text ? [make("h3", {}, title), ...text.split(/\n\s*\n/).map((part) => make("p", {}, fromModel(part)))] : [];
}

function objectDetails(object) {
    const elements = report.elements;
    const about = elements.about(object);
    const touching = report.touching.get(object) ?? [];
    const swatch = make("span", { class: "swatch specialty-" + about.specialtyIndex, "aria-hidden": "true" });
    return [
        detailsHead(word("object"), swatch),
        make("p", { class: "lead" }, fromModel(elements.name(object) || word("unnamed"))),
        facts([[word("className"), about.className], [word("kind"), KIND_WORDS[about.kind] ? word(KIND_WORDS[about.kind]) : ""],
            [word("floor"), floorName(elements.floor[object]) + (about.noFloorReason ? ": " + about.noFloorReason : "")],
            [word("specialty"), term(about.specialty)], [word("category"), term(about.category)],
            [word("subCategory"), term(about.subCategory)], [word("detail"), about.detailName],
            [word("diameter"), about.diameter > 0 ? number(about.diameter, about.diameter % 1 ? 1 : 0) + " mm" : ""],
            ...placeFacts(object)]),
        copyField("global-id", word("globalId"), elements.globalId(object)),
        copyField("handle", word("handle"), elements.handle(object)),
        make("h3", {}, word("touching", { n: number(touching.length) })),
        touching.length === 0 ? make("p", { class: "soft" }, word("untouched"))
            : make("ul", { class: "objects" }, ...touching.map((finding) => make("li", {}, findingButton(finding)))),
    ];
}

// In the model's own coordinates.
function placeText(place) {
    const metres = (value) => number(value / 1000, 2);
    return "x " + metres(place.x + report.origin.x) + " · y " + metres(place.y + report.origin.y) + " · z "
        + metres(place.z) + " m";
}

function placeFacts(object) {
    const elements = report.elements;
    if (!elements.isPlaced(object)) {
        return [[word("position"), word("noPlace")]];
    }
    const metres = (value) => number(value / 1000, 2);
    const low = elements.z0[object];
    const high = elements.z1[object];
    const length = Math.hypot(elements.x1[object] - elements.x0[object], elements.y1[object] - elements.y0[object], high - low);
    return [
        [word("length"), elements.hasEnds(object) ? number(length / 1000, 2) + " m" : ""],
        [word("height"), metres(low) + (elements.hasEnds(object) && high !== low ? " → " + metres(high) : "") + " m"],
        [word("position"), metres(elements.x0[object] + report.origin.x) + " / " + metres(elements.y0[object] + report.origin.y) + " m"],
    ];
}

function findingButton(finding) {
    return make("button", { type: "button", class: "object with-mark", onclick: () => select(finding) }, stateMark(finding.state),
        make("span", {}, findingName(finding) + " ", fromModel(finding.sentence)));
}
