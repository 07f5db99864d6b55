// SPDX-License-Identifier: Apache-2.0
// The findings, grouped. Only the rows in sight exist, so that fifty thousand findings scroll as smoothly as ten.

const GROUP_HEIGHT = 40;
const FINDING_HEIGHT = 78;
const OBJECT_HEIGHT = 52;
const SPARE_ROWS = 6;
const SEARCH_DELAY = 140;
const MIN_OBJECT_SEARCH = 3;  // characters
const MAX_OBJECTS_FOUND = 50;

const listed = { findings: [], rows: [], tops: [], height: 0, closed: new Set(), active: 0, timer: 0 };

function startList() {
    fillTotals();
    fillOptions();
    on("language", () => {
        fillTotals();
        fillOptions();
        refreshList();
    });
    on("selection", () => {
        showSelectedRow();
        drawRows();
    });
    byId("search").addEventListener("input", () => {
        clearTimeout(listed.timer);
        listed.timer = setTimeout(() => {
            choice.search = byId("search").value.trim().toLowerCase();
            refreshList();
        }, SEARCH_DELAY);
    });
    for (const [id, key] of [["group", "group"], ["sort", "sort"], ["filter-floor", "onlyFloor"], ["filter-state", "onlyState"]]) {
        byId(id).addEventListener("change", () => {
            choice[key] = byId(id).value;
            listed.active = 0;
            byId("list").scrollTop = 0;
            refreshList();
        });
    }
    const list = byId("list");
    list.addEventListener("scroll", drawRows);
    list.addEventListener("keydown", listKey);
    // Rows come and go under the pointer, so the list itself takes the click and finds the row by its place.
    list.addEventListener("click", (event) => {
        const top = event.clientY - list.getBoundingClientRect().top + list.scrollTop;
        if (top < listed.height) {
            useRow(rowAt(top));
        }
    });
    new ResizeObserver(drawRows).observe(list);
    refreshList();
}

function stateCounts() {
    const counts = Object.fromEntries(STATES.map((state) => [state, 0]));
    for (const finding of report.findings) {
        ++counts[finding.state];
    }
    return counts;
}

const stateWord = (state, count) => word(state === "remind" && count !== 1 ? "reminds" : state);

// A severity or state as a small drawing: the shapes of the plan's markers.
function stateMark(state) {
    const canvasShapes = {
        confirmed: "M8 .8 15.2 8 8 15.2.8 8Z", suspected: "M8 1.2 15.4 14.4H.6Z",
    };
    const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
    const path = document.createElementNS("http://www.w3.org/2000/svg", "path");
    svg.setAttribute("viewBox", "0 0 16 16");
    svg.setAttribute("class", "mark state-" + state);
    svg.setAttribute("aria-hidden", "true");
    path.setAttribute("d", canvasShapes[state] ?? "M8 1a7 7 0 1 1 0 14A7 7 0 1 1 8 1Z");
    const text = document.createElementNS("http://www.w3.org/2000/svg", "text");
    text.setAttribute("x", "8");
    text.setAttribute("y", state === "suspected" ? "13" : "11.8");
    text.textContent = SEVERITY_GLYPHS[state];
    svg.append(path, text);
    return svg;
}

function fillTotals() {
    const counts = stateCounts();
    byId("totals").replaceChildren(...STATES.filter((state) => counts[state] > 0 || GRAVITY.get(state) < 3).map((state) => {
        const button = make("button", { type: "button", class: "total", "data-state": state,
            "aria-pressed": String(!choice.hiddenStates.has(state)) }, stateMark(state),
        make("b", {}, number(counts[state])), " ", stateWord(state, counts[state]));
        button.addEventListener("click", () => {
            if (!choice.hiddenStates.delete(state)) {
                choice.hiddenStates.add(state);
            }
            button.setAttribute("aria-pressed", String(!choice.hiddenStates.has(state)));
            refreshList();
        });
        return button;
    }));
    const wrong = ["confirmed", "suspected", "remind", "trusted", "gone"].some((key) => counts[key] !== report.totals[key]);
    if (wrong) {
        const sum = (from) => ["confirmed", "suspected", "remind", "trusted", "gone"].reduce((all, key) => all + from[key], 0);
        showFault(word("disagree", { list: number(sum(counts)), run: number(sum(report.totals)) }));
    }
}

function fillOptions() {
    const fill = (id, options, chosen) => byId(id).replaceChildren(...options.map(([value, text]) =>
        make("option", { value, selected: value === chosen }, text)));
    fill("group", [["rule", word("groupRule")], ["floor", word("groupFloor")], ["severity", word("groupSeverity")]],
        choice.group);
    fill("sort", [["gravity", word("sortGravity")], ["number", word("sortNumber")], ["floor", word("sortFloor")],
        ["title", word("sortTitle")]], choice.sort);
    const floors = [...new Set(report.findings.map((finding) => finding.shownFloor))].sort((left, right) => left - right);
    fill("filter-floor", [["all", word("allFloors")], ...floors.map((floor) => [String(floor), floorName(floor)])],
        choice.onlyFloor);
    const states = ["new", "persisting", "gone", "trusted", "expired", "stale"].filter((state) =>
        report.findings.some((finding) => hasState(finding, state)));
    fill("filter-state", [["all", word("all")], ...states.map((state) => [state, word(state)])], choice.onlyState);
}

function groupOf(finding) {
    if (choice.group === "rule") {
        return { key: "rule" + finding.rule, order: finding.rule, title: ruleTitle(finding.rule), own: false };
    }
    if (choice.group === "floor") {
        return { key: "floor" + finding.shownFloor, order: -finding.shownFloor, title: floorName(finding.shownFloor),
            own: finding.shownFloor === NO_FLOOR };
    }
    const order = GRAVITY.get(finding.state);
    return { key: finding.state, order, title: stateWord(finding.state, 2), own: true };
}

function refreshList() {
    listed.findings = listedFindings();
    makeRows();
    byId("shown").textContent = listed.findings.length === report.findings.length
        ? word("shownAll", { n: number(report.findings.length) })
        : word("shownSome", { n: number(listed.findings.length), all: number(report.findings.length) });
    say(byId("shown").textContent);
    drawRows();
    tell("findings");
}

function makeRows() {
    const groups = new Map();
    for (const finding of listed.findings) {
        const group = groupOf(finding);
        if (!groups.has(group.key)) {
            groups.set(group.key, { ...group, findings: [] });
        }
        groups.get(group.key).findings.push(finding);
    }
    const rows = [];
    // By rule the group with the gravest finding comes first, as the findings do.
    const worst = (group) => choice.group === "rule" && choice.sort === "gravity"
        ? Math.min(...group.findings.map((finding) => GRAVITY.get(finding.state))) : 0;
    const sorted = [...groups.values()].map((group) => ({ ...group, worst: worst(group) }))
        .sort((left, right) => left.worst - right.worst || left.order - right.order);
    sorted.forEach((group, at) => {
        const open = !listed.closed.has(group.key);
        rows.push({ group, open, height: GROUP_HEIGHT, level: 1, place: at + 1, count: sorted.length });
        if (open) {
            group.findings.forEach((finding, index) => rows.push({ finding, height: FINDING_HEIGHT, level: 2,
                place: index + 1, count: group.findings.length }));
        }
    });
    addFoundObjects(rows);
    listed.rows = rows;
    listed.tops = [];
    listed.height = 0;
    for (const row of rows) {
        listed.tops.push(listed.height);
        listed.height += row.height;
    }
    listed.active = Math.min(listed.active, Math.max(0, rows.length - 1));
}

// Objects whose name, handle or GlobalId the search names, so that they are reached without the plan.
function addFoundObjects(rows) {
    if (choice.search.length < MIN_OBJECT_SEARCH) {
        return;
    }
    const elements = report.elements;
    const found = [];
    for (let index = 0; index < elements.count && found.length < MAX_OBJECTS_FOUND; ++index) {
        if (elements.handle(index).toLowerCase() === choice.search
            || elements.name(index).toLowerCase().includes(choice.search)
            || (choice.search.length > 12 && elements.globalId(index).toLowerCase().includes(choice.search))) {
            found.push(index);
        }
    }
    if (found.length > 0) {
        rows.push({ group: { key: "objects", title: word("objectsFound"), own: true, findings: found,
            more: found.length === MAX_OBJECTS_FOUND }, open: true, height: GROUP_HEIGHT, level: 1, place: 1, count: 1 });
        found.forEach((object, index) => rows.push({ object, height: OBJECT_HEIGHT, level: 2, place: index + 1,
            count: found.length }));
    }
}

function rowAt(top) {
    let low = 0;
    let high = listed.rows.length;
    while (low + 1 < high) {
        const middle = (low + high) >> 1;
        if (listed.tops[middle] <= top) {
            low = middle;
        } else {
            high = middle;
        }
    }
    return low;
}

function drawRows() {
    const list = byId("list");
    const rows = byId("list-rows");
    rows.style.height = listed.height + "px";
    if (listed.rows.length === 0) {
        rows.style.height = "auto";
        const none = report.findings.length === 0;
        rows.replaceChildren(make("p", { class: "none" }, word(none ? "noFindings" : "nothingFits")),
            ...none ? [] : [make("button", { type: "button", class: "plain", onclick: clearFilters }, word("showAll"))]);
        list.removeAttribute("aria-activedescendant");
        return;
    }
    const first = Math.max(0, rowAt(list.scrollTop) - SPARE_ROWS);
    const last = Math.min(listed.rows.length, rowAt(list.scrollTop + list.clientHeight) + SPARE_ROWS + 1);
    const nodes = [];
    for (let index = first; index < last; ++index) {
        nodes.push(rowNode(index));
    }
    // The active row exists wherever the list is scrolled to: the container names it to assistive programs.
    if (listed.active < first || listed.active >= last) {
        nodes.push(rowNode(listed.active));
    }
    rows.replaceChildren(...nodes);
    list.setAttribute("aria-activedescendant", "row-" + listed.active);
}

function rowNode(index) {
    const row = listed.rows[index];
    const chosen = row.finding ? row.finding === choice.finding
        : row.object !== undefined && row.object === choice.object;
    const node = make("div", {
        id: "row-" + index, role: "treeitem", "aria-level": row.level, "aria-setsize": row.count,
        "aria-posinset": row.place, "aria-selected": row.group ? null : String(chosen),
        "aria-expanded": row.group ? String(row.open) : null,
        class: ["row", row.group ? "group" : row.finding ? "finding is-" + row.finding.state : "found",
            index === listed.active ? "active" : ""].join(" "),
    });
    node.style.top = listed.tops[index] + "px";
    node.style.height = row.height + "px";
    fillRow(node, row);
    return node;
}

function fillRow(node, row) {
    if (row.group) {
        node.append(make("span", { class: "arrow", "aria-hidden": "true" }, row.open ? "▾" : "▸"),
            row.group.own ? make("span", { class: "group-title" }, row.group.title)
                : fromModel(row.group.title, { class: "group-title" }),
            make("span", { class: "count" }, number(row.group.findings.length) + (row.group.more ? "+" : "")));
        return;
    }
    if (row.object !== undefined) {
        const about = report.elements.about(row.object);
        node.append(fromModel(report.elements.name(row.object) || word("unnamed"), { class: "sentence" }),
            make("span", { class: "meta" }, fromModel(about.className), " · ", fromModel(floorName(report.elements.floor[row.object]))));
        return;
    }
    const finding = row.finding;
    node.append(stateMark(finding.state), make("span", { class: "unseen" }, stateWord(finding.state, 1)),
        make("div", { class: "row-text" },
            fromModel(finding.sentence, { class: "sentence", title: finding.sentence }),
            make("span", { class: "meta" }, findingName(finding), " · ", fromModel(floorName(finding.shownFloor)), ...tagsOf(finding),
                ...whatText(finding))));
}

// The kind of error in the system's own words; the rule where the list is not grouped by it.
function whatText(finding) {
    const what = choice.group === "rule" ? term(finding.subCategory) : ruleTitle(finding.rule);
    return what ? [" · ", fromModel(what)] : [];
}

function tagsOf(finding) {
    const tags = [];
    if (finding.change === "new" || finding.change === "persisting" || finding.change === "gone") {
        tags.push(finding.change);
    }
    if (finding.trust.state !== "none") {
        tags.push(finding.trust.state);
    }
    return tags.map((tag) => make("span", { class: "tag tag-" + tag }, word(tag)));
}

function clearFilters() {
    Object.assign(choice, { search: "", onlyFloor: "all", onlyState: "all" });
    choice.hiddenStates.clear();
    byId("search").value = "";
    fillTotals();
    fillOptions();
    refreshList();
    byId("list").focus();
}

function useRow(index) {
    const row = listed.rows[index];
    listed.active = index;
    if (row.group) {
        toggleGroup(row);
    } else if (row.finding) {
        select(row.finding);
    } else {
        select(null, row.object);
    }
}

function toggleGroup(row) {
    if (row.group.key === "objects") {
        return;
    }
    if (!listed.closed.delete(row.group.key)) {
        listed.closed.add(row.group.key);
    }
    makeRows();
    drawRows();
}

function moveActive(to) {
    listed.active = Math.min(listed.rows.length - 1, Math.max(0, to));
    const list = byId("list");
    const top = listed.tops[listed.active];
    const bottom = top + listed.rows[listed.active].height;
    list.scrollTop = Math.max(bottom - list.clientHeight, Math.min(top, list.scrollTop));
    drawRows();
}

function listKey(event) {
    if (listed.rows.length === 0 || event.ctrlKey || event.metaKey || event.altKey) {
        return;
    }
    const row = listed.rows[listed.active];
    const actions = {
        ArrowDown: () => moveActive(listed.active + 1), ArrowUp: () => moveActive(listed.active - 1),
        Home: () => moveActive(0), End: () => moveActive(listed.rows.length - 1),
        PageDown: () => moveActive(rowAt(listed.tops[listed.active] + byId("list").clientHeight)),
        PageUp: () => moveActive(rowAt(listed.tops[listed.active] - byId("list").clientHeight)),
        Enter: () => useRow(listed.active), " ": () => useRow(listed.active),
        ArrowRight: () => row.group && !row.open ? toggleGroup(row) : moveActive(listed.active + (row.group ? 1 : 0)),
        ArrowLeft: () => row.group ? row.open && toggleGroup(row)
            : moveActive(listed.rows.findLastIndex((candidate, at) => at < listed.active && candidate.group)),
        Escape: () => select(null),
    };
    if (actions[event.key]) {
        event.preventDefault();
        actions[event.key]();
    }
}

// The chosen finding's row comes into sight, its group opened.
function showSelectedRow() {
    if (!choice.finding || !listed.findings.includes(choice.finding)) {
        return;
    }
    const key = groupOf(choice.finding).key;
    if (listed.closed.delete(key)) {
        makeRows();
    }
    moveActive(listed.rows.findIndex((row) => row.finding === choice.finding));
}

// The finding before or after the chosen one in the list's order.
function stepFinding(direction) {
    const findings = listed.rows.filter((row) => row.finding).map((row) => row.finding);
    const at = findings.indexOf(choice.finding);
    const next = findings[at + direction];
    if (next) {
        select(next);
    }
}
