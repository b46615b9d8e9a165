// SPDX-License-Identifier: MIT
// @ts-check
// A picture before and after its conversion: a border that moves, a loupe, and the map of clipped channels.
import { checkBox, element, slider } from "./dom.js";

const ZOOM = 3; // of the loupe
const LOUPE = 200; // pixels across
const CHANNELS = ["red", "green", "blue"];
/** The colours in the map, by the channels that are clipped: 1 for red, 2 for green, 4 for blue. */
const MIXTURES = [
    [0, 0, 0],
    [230, 50, 40],
    [20, 160, 60],
    [240, 180, 0],
    [50, 90, 240],
    [210, 60, 220],
    [0, 180, 200],
    [255, 255, 255],
];

/**
 * The channels that a pixel of the map represents.
 * @param {Uint8ClampedArray} data
 * @param {number} at
 */
function channelsAt(data, at) {
    if (data[at + 3] === 0) return 0;
    return MIXTURES.findIndex(([r, g, b]) => data[at] === r && data[at + 1] === g && data[at + 2] === b);
}

/**
 * Draws the map with the chosen channels only.
 * @param {HTMLCanvasElement} canvas
 * @param {HTMLImageElement} map
 * @param {number} chosen
 */
function drawMap(canvas, map, chosen) {
    canvas.width = map.naturalWidth;
    canvas.height = map.naturalHeight;
    const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext("2d", { willReadFrequently: true }));
    pen.drawImage(map, 0, 0);
    const image = pen.getImageData(0, 0, canvas.width, canvas.height);
    for (let at = 0; at < image.data.length; at += 4) {
        const channels = channelsAt(image.data, at) & chosen;
        image.data.set(channels === 0 ? [0, 0, 0, 0] : [...MIXTURES[channels], 255], at);
    }
    pen.putImageData(image, 0, 0);
}

/**
 * The pictures, one over the other.
 * @param {HTMLImageElement} before
 * @param {HTMLImageElement} after
 */
function makeStage(before, after) {
    after.classList.add("top");
    const border = element("div", { class: "border" });
    const stage = element("div", { class: "stage" }, before, after, border);
    stage.append(element("span", { class: "tag left" }, "before"), element("span", { class: "tag right" }, "after"));
    const place = (/** @type {number} */ percent) => {
        after.style.clipPath = `inset(0 0 0 ${percent}%)`;
        border.style.left = `${percent}%`;
    };
    return { stage, place };
}

/**
 * A round glass over the stage, which shows both pictures in the same parts.
 * @param {HTMLElement} stage
 * @param {HTMLImageElement} before
 * @param {HTMLImageElement} after
 * @param {() => number} border in percent
 */
function makeLoupe(stage, before, after, border) {
    const canvas = /** @type {HTMLCanvasElement} */ (
        element("canvas", { class: "loupe", width: String(LOUPE), height: String(LOUPE), "aria-hidden": "true" })
    );
    canvas.hidden = true;
    stage.append(canvas);
    const at = { x: 0.5, y: 0.5 };
    const draw = () => {
        const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext("2d"));
        const [width, height] = [before.naturalWidth, before.naturalHeight];
        const scale = Math.max(1, (ZOOM * stage.clientWidth) / width);
        const [left, top] = [LOUPE / 2 - at.x * width * scale, LOUPE / 2 - at.y * height * scale];
        pen.imageSmoothingEnabled = false;
        pen.clearRect(0, 0, LOUPE, LOUPE);
        pen.drawImage(before, left, top, width * scale, height * scale);
        pen.save();
        pen.beginPath();
        pen.rect(left + (border() / 100) * width * scale, 0, LOUPE + width * scale, LOUPE);
        pen.clip();
        pen.drawImage(after, left, top, width * scale, height * scale);
        pen.restore();
        canvas.style.left = `${at.x * 100}%`;
        canvas.style.top = `${at.y * 100}%`;
    };
    const move = (/** @type {number} */ x, /** @type {number} */ y) => {
        at.x = Math.min(1, Math.max(0, x));
        at.y = Math.min(1, Math.max(0, y));
        draw();
    };
    return { canvas, draw, move, at };
}

/**
 * @param {HTMLElement} compare
 * @param {Picture} picture
 */
function start(compare, picture) {
    const images = ["before", "after", "clipmap"].map((name) => compare.querySelector(`.${name} img`));
    const [before, after, map] = /** @type {HTMLImageElement[]} */ (images);
    const captions = [...compare.querySelectorAll("figcaption")].map((caption) => caption.textContent ?? "");
    const { stage, place } = makeStage(before, after);
    const mapCanvas = /** @type {HTMLCanvasElement} */ (
        element("canvas", { class: "map", role: "img", "aria-label": map.alt })
    );
    mapCanvas.hidden = true;
    stage.querySelector(".border")?.before(mapCanvas);
    const range = slider("Before | after", { from: 0, to: 100, step: 0.5, value: 50 }, (value) => {
        place(value);
        loupe.draw();
    });
    const border = () => Number(range.input.value);
    const loupe = makeLoupe(stage, before, after, border);
    const follow = (/** @type {PointerEvent} */ event) => {
        const box = stage.getBoundingClientRect();
        loupe.move((event.clientX - box.left) / box.width, (event.clientY - box.top) / box.height);
        if (event.buttons === 0 || !loupe.canvas.hidden) return;
        range.input.value = String(100 * loupe.at.x);
        place(border());
    };
    stage.addEventListener("pointermove", follow);
    stage.addEventListener("pointerdown", follow);
    stage.tabIndex = 0;
    stage.setAttribute("role", "group");
    stage.setAttribute(
        "aria-label",
        `${picture.file}, before on the left and after on the right. With the loupe on, the arrow keys move it.`,
    );
    stage.addEventListener("keydown", (event) => {
        const step = { ArrowLeft: [-0.02, 0], ArrowRight: [0.02, 0], ArrowUp: [0, -0.02], ArrowDown: [0, 0.02] }[
            event.key
        ];
        if (!step || loupe.canvas.hidden) return;
        loupe.move(loupe.at.x + step[0], loupe.at.y + step[1]);
        event.preventDefault();
    });
    let chosen = 7;
    const showMap = (/** @type {boolean} */ isOn) => {
        mapCanvas.hidden = !isOn;
        stage.classList.toggle("mapped", isOn);
        channels.hidden = !isOn;
        if (isOn) drawMap(mapCanvas, map, chosen);
    };
    const boxes = CHANNELS.map((name, n) =>
        checkBox(name, true, (isOn) => {
            chosen = isOn ? chosen | (1 << n) : chosen & ~(1 << n);
            drawMap(mapCanvas, map, chosen);
        }),
    );
    const channels = element("span", { class: "tools", role: "group", "aria-label": "Channels in the map" }, ...boxes);
    channels.hidden = true;
    const loupeBox = checkBox("Loupe", false, (isOn) => {
        loupe.canvas.hidden = !isOn;
        stage.classList.toggle("magnified", isOn); // a finger then moves the loupe in both directions
        loupe.draw();
    });
    const tools = element(
        "div",
        { class: "tools" },
        range.label,
        loupeBox,
        checkBox("Map of clipped channels", false, showMap),
        channels,
    );
    compare.replaceChildren(stage, tools, element("figcaption", {}, `${captions[0]}. ${captions[1]}. ${captions[2]}.`));
    compare.dataset.live = "";
    place(50);
}

/**
 * @param {Report} report
 */
export function startPictures(report) {
    for (const compare of document.querySelectorAll(".compare")) {
        if (compare instanceof HTMLElement) start(compare, report.pictures[Number(compare.dataset.picture)]);
    }
}
