// SPDX-License-Identifier: MIT
// @ts-check
// Curves that can be zoomed and read out, in place of the still ones.
import Dygraph from "dygraphs";
import "dygraphs-style";
import { button, checkBox, element, onTheme, styleColour } from "./dom.js";

/**
 * @typedef {{ name: string, kind: string }} Line
 * @typedef {{ lines: Line[], rows: (number | null)[][], x: string, y: string,
 *             range?: [number, number], digits: number }} Plot
 */

// A finger scrolls the page, and moves the read-out sideways, which `followFinger` does.
const { touchstart: _1, touchmove: _2, touchend: _3, ...forMouse } = Dygraph.defaultInteractionModel;

/**
 * Dashes as in the style.
 * @type {Record<string, number[] | null>}
 */
const DASHES = { red: null, green: [8, 4], blue: [2, 3], first: null, second: [7, 4], third: [2, 3] };
const RGB = [
    { name: "Red", kind: "red" },
    { name: "Green", kind: "green" },
    { name: "Blue", kind: "blue" },
];

/**
 * Columns as rows, with the first column made from the row's number.
 * @param {number[][]} columns
 * @param {number} step
 */
function rowsOf(columns, step) {
    return columns[0].map((_, n) => [n * step, ...columns.map((column) => column[n])]);
}

/**
 * @param {Differences} differences @returns {Plot}
 */
function courseOf(differences) {
    const steps = differences.course.filter((step) => step.colours > 0);
    const half = 50 / differences.course.length;
    return {
        lines: [
            { name: "mean", kind: "first" },
            { name: "largest", kind: "second" },
        ],
        rows: steps.map((step) => [step.L + half, step.mean, step.maximum]),
        x: "L*",
        y: "CIEDE2000",
        digits: 4,
    };
}

/**
 * All plots of a report, by the names of their figures.
 * @param {Report} report
 * @returns {Map<string, Plot>}
 */
export function plotsOf(report) {
    /** @type {Map<string, Plot>} */
    const plots = new Map();
    const { tone, curves, differences } = report;
    const grey = { x: "device grey, 0 to 255", digits: 2 };
    const step = 255 / (tone.L.length - 1);
    plots.set("tone", {
        ...grey,
        lines: [{ name: "L*", kind: "first" }],
        rows: rowsOf([tone.L], step),
        y: "L*",
        range: [0, 100],
    });
    const tint = [
        { name: "a*", kind: "first" },
        { name: "b*", kind: "second" },
    ];
    plots.set("tint", { ...grey, lines: tint, rows: rowsOf([tone.a, tone.b], step), y: "a*, b*" });
    const curve = { x: "input", y: "output", digits: 4 };
    if (curves.device) {
        plots.set("device", { ...curve, lines: RGB, rows: rowsOf(curves.device, 1 / (curves.device[0].length - 1)) });
    }
    if (curves.connection) {
        const names = curves.connection_space === "XYZ" ? ["X", "Y", "Z"] : ["L*", "a*", "b*"];
        const lines = ["first", "second", "third"].map((kind, n) => ({ name: names[n], kind }));
        plots.set("connection", {
            ...curve,
            lines,
            rows: rowsOf(curves.connection, 1 / (curves.connection[0].length - 1)),
        });
    }
    plots.set("course-exact", courseOf(differences.exact));
    if (differences.library) plots.set("course-library", courseOf(differences.library));
    report.pictures.forEach((picture, n) => {
        const inner = [picture.before, picture.after].flat().flatMap((channel) => channel.slice(1, -1));
        const pixels = picture.before[0].reduce((sum, count) => sum + count, 0);
        const most = (105 * inner.reduce((a, b) => Math.max(a, b), 1)) / pixels;
        for (const [when, histogram] of Object.entries({ before: picture.before, after: picture.after })) {
            const shares = histogram.map((channel) => channel.map((count) => (100 * count) / pixels));
            const histogramPlot = {
                lines: RGB,
                rows: rowsOf(shares, 1),
                x: "sample, 0 to 255",
                y: "share of the pixels, %",
                digits: 3,
            };
            plots.set(`histogram-${when}-${n}`, { ...histogramPlot, range: [0, most] });
        }
    });
    return plots;
}

/**
 * @param {Plot} plot
 */
function coloursOf(plot) {
    const colours = plot.lines.map((line) => styleColour(`--${line.kind}`));
    return { colors: colours, gridLineColor: styleColour("--grid"), axisLineColor: styleColour("--rule") };
}

/**
 * @param {Plot} plot
 */
function optionsOf(plot) {
    /** @type {Record<string, object>} */
    const series = {};
    for (const line of plot.lines) series[line.name] = { strokePattern: DASHES[line.kind] };
    return {
        ...coloursOf(plot),
        labels: ["x", ...plot.lines.map((line) => line.name)],
        series,
        legend: "never",
        xlabel: plot.x,
        ylabel: plot.y,
        strokeWidth: 2,
        highlightCircleSize: 4,
        animatedZooms: false,
        interactionModel: forMouse,
        axes: {
            x: { pixelsPerLabel: 60, drawGrid: true },
            y: {
                axisLabelWidth: 62, // of which the label of the axis takes 18
                pixelsPerLabel: 40,
                axisLabelFormatter: (/** @type {number} */ value) => String(Number(value.toPrecision(6))),
            },
        },
        ...(plot.range ? { valueRange: plot.range } : {}),
    };
}

/**
 * The values of a row in words.
 * @param {Plot} plot
 * @param {number} row
 */
function readOut(plot, row) {
    const [x, ...values] = plot.rows[row];
    const texts = plot.lines.map(
        (line, n) => `${line.name} ${values[n] === null ? "none" : Number(values[n]).toFixed(plot.digits)}`,
    );
    return `${plot.x.split(",")[0]} ${Number(x).toFixed(plot.digits > 2 ? 3 : 1)}: ${texts.join(", ")}`;
}

/**
 * Makes one figure live.
 * @param {HTMLElement} figure
 * @param {Plot} plot
 */
function start(figure, plot) {
    const title = figure.querySelector("figcaption")?.textContent ?? "";
    const host = element("div", {
        class: "live",
        tabindex: "0",
        role: "group",
        "aria-label": `${title}. The arrow keys move the read-out, plus and minus zoom, 0 shows the whole.`,
    });
    const told = element("output", { "aria-live": "polite" });
    figure.querySelector("svg.static")?.after(host, told);
    figure.dataset.live = "";
    let row = -1;
    const tell = (/** @type {number} */ at) => {
        row = at;
        told.textContent = readOut(plot, at);
    };
    const graph = new Dygraph(host, plot.rows, {
        ...optionsOf(plot),
        highlightCallback: (
            /** @type {Event} */ _event,
            /** @type {number} */ _x,
            /** @type {object[]} */ _points,
            /** @type {number} */ at,
        ) => tell(at),
    });
    const zoom = (/** @type {number} */ factor) => {
        const [from, to] = graph.xAxisRange();
        const [first, last] = [Number(plot.rows[0][0]), Number(plot.rows[plot.rows.length - 1][0])];
        const middle = row < 0 ? (from + to) / 2 : Number(plot.rows[row][0]);
        const half = Math.min((last - first) / 2, ((to - from) / 2) * factor);
        const left = Math.max(first, Math.min(last - 2 * half, middle - half));
        graph.updateOptions({ dateWindow: [left, left + 2 * half] });
    };
    const whole = () => {
        graph.resetZoom();
        graph.updateOptions({ dateWindow: null });
    };
    followFinger(host, graph, tell);
    host.addEventListener("keydown", (event) => {
        const move = { ArrowRight: 1, ArrowLeft: -1, PageUp: 16, PageDown: -16 }[event.key];
        if (move !== undefined) {
            tell(Math.max(0, Math.min(plot.rows.length - 1, row + move)));
            graph.setSelection(row);
        } else if (event.key === "+" || event.key === "=") zoom(0.5);
        else if (event.key === "-") zoom(2);
        else if (event.key === "0") whole();
        else return;
        event.preventDefault();
    });
    makeTools(figure, plot, graph, zoom, whole);
    onTheme(() => graph.updateOptions(coloursOf(plot)));
    Object.assign(figure, { graph }); // for whoever looks into the page
}

/**
 * Moves the read-out to where a finger is.
 * @param {HTMLElement} host
 * @param {Dygraph} graph
 * @param {(row: number) => void} tell
 */
function followFinger(host, graph, tell) {
    const follow = (/** @type {PointerEvent} */ event) => {
        if (event.pointerType === "mouse") return;
        const row = graph.findClosestRow(event.clientX - host.getBoundingClientRect().left);
        graph.setSelection(row);
        tell(row);
    };
    host.addEventListener("pointerdown", follow);
    host.addEventListener("pointermove", follow);
}

/**
 * The legend gets boxes that show and hide lines; buttons zoom.
 * @param {HTMLElement} figure
 * @param {Plot} plot
 * @param {Dygraph} graph
 * @param {(factor: number) => void} zoom
 * @param {() => void} whole
 */
function makeTools(figure, plot, graph, zoom, whole) {
    if (plot.lines.length > 1) {
        figure.querySelectorAll(".legend li").forEach((item, n) => {
            const key = item.querySelector("svg");
            const text = item.querySelector("span")?.textContent ?? "";
            item.replaceChildren(checkBox(text, true, (isOn) => graph.setVisibility(n, isOn), ...(key ? [key] : [])));
        });
    }
    figure.append(
        element(
            "div",
            { class: "tools" },
            button("Zoom in", () => zoom(0.5)),
            button("Zoom out", () => zoom(2)),
            button("Show all", whole),
        ),
    );
}

/**
 * @param {Report} report
 */
export function startPlots(report) {
    const plots = plotsOf(report);
    for (const figure of document.querySelectorAll("figure.plot")) {
        if (!(figure instanceof HTMLElement)) continue;
        const plot = plots.get(figure.dataset.plot ?? "");
        if (plot) start(figure, plot);
    }
}
