// SPDX-License-Identifier: Apache-2.0
// The page's own texts. Texts of the model and of the rules stay as they are.

const WORDS = {
    en: {
        title: "Check report", print: "Print", language: "中文", languageLabel: "切换到中文",
        themeAuto: "Theme: system", themeLight: "Theme: light", themeDark: "Theme: dark",
        skipToFindings: "Skip to the findings", totals: "Findings by state; press to show or hide",
        findings: "Findings", search: "Search", searchPlaceholder: "Search sentence, code, floor, object, GlobalId …",
        groupBy: "Group", sortBy: "Sort", filterFloor: "Floor", filterState: "State",
        groupRule: "Rule", groupFloor: "Floor", groupSeverity: "Severity",
        sortGravity: "Gravest first", sortNumber: "Number", sortFloor: "Floor", sortTitle: "Sentence",
        all: "All", allFloors: "All floors",
        confirmed: "Confirmed", suspected: "Suspected", remind: "Reminder", reminds: "Reminders",
        trusted: "Trusted", expired: "Trust expired", stale: "Stale trust", notLookedAt: "Not looked at", gone: "Gone",
        new: "New", persisting: "Persisting",
        shownAll: "{n} in all", shownSome: "{n} of {all}", nothingFits: "No finding fits the search and filters.",
        noFindings: "No findings.", showAll: "Show all", place: "Middle of its objects", objectsFound: "Objects",
        disagree: "The list holds {list}, but the run counted {run}. Do not rely on this page's numbers.",
        plan: "Plan", floor: "Floor", floorUp: "Next floor up", floorDown: "Next floor down",
        noFloor: "Without a floor", specialties: "Specialties; press to show or hide",
        otherSpecialty: "other", zoomIn: "Zoom in", zoomOut: "Zoom out", fit: "Fit",
        planKeys: "Plan. Arrow keys move, plus and minus zoom, 0 fits, N and P step through the objects in sight, "
            + "Enter tells what is under the cross, Escape lets go, Page Up and Page Down change the floor.",
        emptyFloor: "Nothing on this floor has a place to draw.", sideView: "Height",
        lookNorth: "seen from the south", lookEast: "seen from the west", stretched: "heights × {n}",
        fitting: "fitting", device: "valve, device", equipment: "equipment", terminal: "terminal", other: "other",
        riser: "riser",
        finding: "Finding {n}", sentence: "Sentence", object: "Object", floorFindings: "{n} findings", floorFindingsOne: "1 finding",
        hint: "Click a finding, or anything in the plan", close: "Close", location: "Location string", code: "Feature code",
        copy: "Copy", copySentence: "Copy sentence", copied: "Copied", copyFailed: "Could not copy: select the text and copy it by hand.",
        objects: "Objects ({n})", noObjects: "The run named no object.", goneObjects: "Gone: not in this run any more.",
        why: "Why the rule cares", how: "How to fix it", rule: "Rule", where: "Where", concerns: "Concerns", severity: "Severity",
        specialty: "Specialty", category: "Category", subCategory: "Sub-category", detail: "Detail name",
        kind: "Kind", className: "Class", name: "Name", handle: "Handle", globalId: "GlobalId", diameter: "Diameter",
        length: "Length", height: "Height", position: "Position", touching: "Findings that touch it ({n})",
        untouched: "No finding touches it.", noPlace: "The model gives it no place.", unnamed: "(no name)",
        moreObjects: "Show all {n}", previous: "Previous", next: "Next",
        trustedBy: "Trusted by {person}, {date}", trustUntil: "until {date}",
        trustSince: "expired on {date}", newNote: "New: run {run} did not find it.", persistingNote: "Run {run} found it too.",
        bowedNote: "{n} of its objects run between the same two ends. Plan and side view draw them bowed, so that each is seen.",
        goneNote: "Run {run} found it, this run does not any more.",
        coverageGood: "Everything asked for was checked", coverageNote: "Everything asked for was checked, with reservations",
        coverageBad: "Not everything was checked", coverageNone: "Nothing was checked",
        crashedChecks: "{n} checks crashed", crashedChecksOne: "1 check crashed",
        cancelledChecks: "{n} checks cancelled", cancelledChecksOne: "1 check cancelled",
        skippedChecks: "{n} checks skipped, being trusted", skippedChecksOne: "1 check skipped, being trusted",
        notApplicableChecks: "{n} checks not applicable", notApplicableChecksOne: "1 check not applicable",
        leftOut: "{n} objects could not be looked at", leftOutOne: "1 object could not be looked at",
        expiredEntries: "{n} acceptances expired", expiredEntriesOne: "1 acceptance expired",
        staleEntries: "{n} acceptances match nothing any more", staleEntriesOne: "1 acceptance matches nothing any more",
        warningsChip: "{n} warnings about the file", warningsChipOne: "1 warning about the file", notices: "What the reader of the file noticed",
        noticeKind: "Kind", note: "note", warning: "warning", error: "error",
        noticesMore: "{n} more are not listed here.", line: "Line",
        hiddenBefore: "{n} findings of run {run} are not looked for any more, because that is trusted.",
        hiddenBeforeOne: "1 finding of run {run} is not looked for any more, because that is trusted.",
        notVisitedBefore: "For {n} findings of run {run} this run did not look again, so nobody can tell whether they are gone.",
        notVisitedBeforeOne: "For 1 finding of run {run} this run did not look again, so nobody can tell whether it is gone.",
        crashed: "crashed", cancelled: "cancelled", skipped: "skipped", notApplicable: "not applicable", lookedAtNothing: "could look at nothing",
        passed: "passed", failed: "failed", partialRun: "The run ended before its end: this is a part of the result.",
        withoutRule: "No rule of this run looks at these elements of the model: {list}.", ofSpecialty: "{n} of {specialty}", comma: ", ",
        narrowedRun: "The run was asked for less than the whole model.",
        withoutFloor: "{n} elements on no floor", withoutFloorOne: "1 element on no floor",
        lookAtThem: "Show them", outcomes: "Rules, floor by floor", showOutcomes: "All outcomes",
        hideOutcomes: "Hide outcomes", outcome: "Outcome", examined: "Examined", notExamined: "Not examined",
        reason: "Reason", count: "Count", trustList: "Trust list", scope: "What", person: "Who", date: "When",
        hides: "Findings", expires: "Until", never: "no end", state: "State", comparedWith: "compared with run {run}",
        runNumber: "run {n}", resumedRun: "resumed", ofRun: "(run {n})", goneFinding: "Finding of run {n}",
        elements: "{n} elements", tool: "norvex {version}", printed: "Findings", rules: "The rules",
        unsupported: "This browser cannot unpack the page's data. A browser from 2023 or later can.",
        broken: "The page's data is damaged: {why}",
        selected: "Finding {n}: {sentence}", selectedObject: "Object {name}", nothingHere: "Nothing here.",
    },
    zh: {
        title: "检查报告", print: "打印", language: "English", languageLabel: "Switch to English",
        themeAuto: "主题：跟随系统", themeLight: "主题：浅色", themeDark: "主题：深色",
        skipToFindings: "跳到检查结果", totals: "按状态统计，点按可显示或隐藏",
        findings: "检查结果", search: "搜索", searchPlaceholder: "搜索描述、特征码、楼层、构件、GlobalId …",
        groupBy: "分组", sortBy: "排序", filterFloor: "楼层", filterState: "状态",
        groupRule: "规则", groupFloor: "楼层", groupSeverity: "严重程度",
        sortGravity: "最严重在前", sortNumber: "编号", sortFloor: "楼层", sortTitle: "描述",
        all: "全部", allFloors: "全部楼层",
        confirmed: "确认错误", suspected: "疑似错误", remind: "提醒", reminds: "提醒",
        trusted: "已信任", expired: "信任已过期", stale: "信任已失效", notLookedAt: "未检查", gone: "已消失",
        new: "新增", persisting: "仍存在",
        shownAll: "共 {n} 条", shownSome: "{n} / {all} 条", nothingFits: "没有符合搜索和筛选条件的结果。",
        noFindings: "没有检查结果。", showAll: "全部显示", place: "构件中心", objectsFound: "构件",
        disagree: "列表中有 {list} 条，但检查统计为 {run} 条。请勿依赖本页数字。",
        plan: "平面图", floor: "楼层", floorUp: "上一层", floorDown: "下一层",
        noFloor: "无楼层", specialties: "专业，点按可显示或隐藏",
        otherSpecialty: "其他", zoomIn: "放大", zoomOut: "缩小", fit: "全图",
        planKeys: "平面图。方向键移动，加减号缩放，0 显示全图，N 和 P 逐个浏览可见构件，回车查看十字处的构件，"
            + "Esc 取消选择，Page Up 和 Page Down 切换楼层。",
        emptyFloor: "本层没有可绘制的构件。", sideView: "高度",
        lookNorth: "自南向北看", lookEast: "自西向东看", stretched: "高度 × {n}",
        fitting: "管件", device: "阀门、附件", equipment: "设备", terminal: "末端", other: "其他", riser: "立管",
        finding: "结果 {n}", sentence: "描述", object: "构件", floorFindings: "{n} 条结果",
        hint: "点按一条结果，或平面图中的任何构件", close: "关闭", location: "定位串", code: "错误特征码",
        copy: "复制", copySentence: "复制描述", copied: "已复制", copyFailed: "无法复制：请选中文字后手动复制。",
        objects: "构件（{n}）", noObjects: "本次检查未指明构件。", goneObjects: "已消失：本次检查中不再存在。",
        why: "为何检查", how: "如何修改", rule: "规则", where: "位置", concerns: "涉及", severity: "严重程度",
        specialty: "专业", category: "构件大类", subCategory: "构件小类", detail: "构件名称",
        kind: "类型", className: "类", name: "名称", handle: "句柄", globalId: "GlobalId", diameter: "管径",
        length: "长度", height: "标高", position: "坐标", touching: "涉及它的结果（{n}）",
        untouched: "没有结果涉及它。", noPlace: "模型未给出其位置。", unnamed: "（无名称）",
        moreObjects: "显示全部 {n} 个", previous: "上一条", next: "下一条",
        trustedBy: "由 {person} 于 {date} 信任", trustUntil: "有效期至 {date}",
        trustSince: "已于 {date} 过期", newNote: "新增：第 {run} 次检查未发现。", persistingNote: "第 {run} 次检查已发现。",
        bowedNote: "其中 {n} 个构件连接相同的两端，平面图和高度图中以弧线分开显示。",
        goneNote: "第 {run} 次检查曾发现，本次已不存在。",
        coverageGood: "要求检查的内容均已检查", coverageNote: "要求检查的内容均已检查，但请注意",
        coverageBad: "并非全部内容都已检查", coverageNone: "未进行任何检查",
        crashedChecks: "{n} 项检查崩溃", cancelledChecks: "{n} 项检查已取消", skippedChecks: "{n} 项检查因信任跳过",
        notApplicableChecks: "{n} 项检查不适用", leftOut: "{n} 个构件未能检查",
        expiredEntries: "{n} 条信任已过期", staleEntries: "{n} 条信任已失效",
        warningsChip: "关于文件的 {n} 条警告", noticeKind: "类别", note: "说明", warning: "警告", error: "错误", notices: "读取文件时的提示", noticesMore: "另有 {n} 条未列出。", line: "行",
        hiddenBefore: "第 {run} 次检查中的 {n} 条结果因信任不再检查。",
        notVisitedBefore: "第 {run} 次检查中的 {n} 条结果本次未再检查，无法判断是否已消失。",
        crashed: "崩溃", cancelled: "已取消", skipped: "已跳过", notApplicable: "不适用", lookedAtNothing: "未能检查",
        passed: "通过", failed: "未通过", partialRun: "检查提前结束：这里只是部分结果。",
        withoutRule: "模型中的以下构件没有规则检查：{list}。", ofSpecialty: "{specialty} {n} 个", comma: "、",
        narrowedRun: "本次检查只涉及模型的一部分。",
        withoutFloor: "{n} 个构件没有楼层",
        lookAtThem: "查看", outcomes: "各规则在各楼层的结论", showOutcomes: "全部结论",
        hideOutcomes: "收起结论", outcome: "结论", examined: "已检查", notExamined: "未能检查",
        reason: "原因", count: "数量", trustList: "信任列表", scope: "内容", person: "信任人", date: "日期",
        hides: "结果", expires: "有效期", never: "无期限", state: "状态", comparedWith: "与第 {run} 次检查对比",
        runNumber: "第 {n} 次检查", resumedRun: "续检", ofRun: "（第 {n} 次）", goneFinding: "第 {n} 次检查的结果",
        elements: "{n} 个构件", tool: "norvex {version}", printed: "检查结果", rules: "规则",
        unsupported: "此浏览器无法解开页面数据，请使用 2023 年及以后的浏览器。",
        broken: "页面数据已损坏：{why}",
        selected: "结果 {n}：{sentence}", selectedObject: "构件 {name}", nothingHere: "此处没有构件。",
    },
};

// The system's vocabulary is Chinese and stays; English readers get a gloss beside it.
const GLOSS = {
    "弱电": "low voltage", "消防": "fire protection", "暖通": "HVAC", "电气": "electrical", "给排水": "water",
    "工程": "project", "管线": "pipelines", "电缆桥架": "cable trays", "照明器具": "lighting", "设备": "equipment",
    "附件": "attachments", "零星构件": "miscellaneous", "配电箱柜": "distribution boxes",
    "属性合理性": "attribute plausibility", "建模遗漏": "modelling omissions", "建模合理性": "modelling plausibility",
    "计算检查": "calculation checks", "设计规范": "design code",
    "管道": "pipe", "风管": "duct", "电缆": "cable", "桥架": "tray", "桥架配件": "tray fitting", "管件": "pipe fitting",
    "阀门": "valve", "仪表": "instrument", "风管管件": "duct fitting", "风阀": "damper", "风口": "air terminal",
    "灯具": "lamp", "配电箱": "distribution box", "插座": "outlet", "开关": "switch", "接线盒": "junction box",
    "水泵": "pump", "水箱": "tank", "暖通设备": "HVAC equipment", "卫生器具": "sanitary fixture", "喷头": "sprinkler",
    "消火栓": "hydrant", "弱电设备": "low-voltage device", "电气设备": "electrical device",
    "管道闭合成环": "pipes close a loop", "管径缺失": "diameter missing", "水管与附件管径不一致": "pipe and device differ in diameter",
    "管道连接方式错误": "wrong kind of joint", "设备与管道未布置法兰": "no flange between equipment and pipe",
};

let language = (navigator.language || "en").toLowerCase().startsWith("zh") ? "zh" : "en";

// The text of a key, with {name} replaced by the values' own.
function word(key, values = {}) {
    return WORDS[language][key].replace(/\{(\w+)\}/g, (whole, name) => name in values ? String(values[name]) : whole);
}

// The text of a key for a number of things; one of them may have a text of its own.
function counted(key, count, values = {}) {
    const one = count === 1 && key + "One" in WORDS[language];
    return word(one ? key + "One" : key, { ...values, n: number(count) });
}

// A factor in two digits that count, however small or large it is.
function rough(value) {
    return value.toLocaleString(language === "zh" ? "zh-CN" : "en-GB", { maximumSignificantDigits: 2 });
}

// "2026-03-01T08:30:00Z" as a person reads it.
const timeText = (time) => time.replace(/^(\d{4}-\d\d-\d\d)T(\d\d:\d\d):\d\d(\.\d+)?Z$/, "$1 $2 UTC");

function number(value, digits = 0) {
    return value.toLocaleString(language === "zh" ? "zh-CN" : "en-GB",
        { minimumFractionDigits: digits, maximumFractionDigits: digits });
}

// A word of the system's vocabulary, with its gloss in English.
function term(text) {
    return language === "en" && GLOSS[text] ? text + " " + GLOSS[text] : text;
}
