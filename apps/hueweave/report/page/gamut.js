// SPDX-License-Identifier: MIT
// @ts-check
// Both gamuts in CIELAB: the device's as a solid in its own colours, the output's as a wire.
import * as THREE from "three";
import { OrbitControls } from "orbit-controls";
import { button, checkBox, element, onTheme, slider, styleColour, svg } from "./dom.js";
import { meshOf, pointOf, sliceOf, trianglesOf } from "./solid.js";

const MOST = 140; // of a* and b* in a slice
const KEYS = { ArrowLeft: [-0.12, 0], ArrowRight: [0.12, 0], ArrowUp: [0, -0.12], ArrowDown: [0, 0.12] };

/**
 * Places in space: a* to the right, L* upwards, b* to the back.
 * @param {Solid} solid
 * @param {number[]} points
 */
function placesOf(solid, points) {
    const places = new Float32Array(3 * points.length);
    points.forEach((point, n) => {
        const [lightness, a, b] = pointOf(solid, point);
        places.set([a, lightness - 50, -b], 3 * n);
    });
    return places;
}

/**
 * @param {Float32Array} places
 */
function geometryOf(places) {
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute("position", new THREE.BufferAttribute(places, 3));
    return geometry;
}

/**
 * @param {Solid} solid
 * @param {number[]} triangles
 */
function makeSolid(solid, triangles) {
    const points = Array.from({ length: solid.lab.length / 3 }, (_, n) => n);
    const geometry = geometryOf(placesOf(solid, points));
    const colours = new Uint8Array(3 * points.length);
    for (let n = 0; n < colours.length; ++n) colours[n] = parseInt(solid.srgb.slice(2 * n, 2 * n + 2), 16);
    geometry.setAttribute("color", new THREE.BufferAttribute(colours, 3, true));
    geometry.setIndex(triangles);
    const material = {
        vertexColors: THREE.VertexColors,
        side: THREE.DoubleSide,
        polygonOffset: true,
        polygonOffsetFactor: 1,
        polygonOffsetUnits: 1,
    };
    return new THREE.Mesh(geometry, new THREE.MeshBasicMaterial(material));
}

/**
 * The distance of the farthest point from the middle of the scene.
 * @param {Solid} solid
 */
function reachOf(solid) {
    let reach = 0;
    for (let n = 0; n < solid.lab.length; n += 3) {
        reach = Math.max(reach, Math.hypot(solid.lab[n] - 50, solid.lab[n + 1], solid.lab[n + 2]));
    }
    return reach;
}

/**
 * A label that always faces the reader.
 * @param {string} text
 * @param {number[]} place
 */
function makeLabel(text, place) {
    const canvas = document.createElement("canvas");
    canvas.width = canvas.height = 64;
    const sprite = new THREE.Sprite(
        new THREE.SpriteMaterial({ map: new THREE.CanvasTexture(canvas), depthTest: false }),
    );
    sprite.position.set(...place);
    sprite.scale.set(16, 16, 1);
    const paint = () => {
        const pen = /** @type {CanvasRenderingContext2D} */ (canvas.getContext("2d"));
        pen.clearRect(0, 0, 64, 64);
        pen.font = "600 34px system-ui, sans-serif";
        pen.textAlign = "center";
        pen.textBaseline = "middle";
        pen.fillStyle = styleColour("--ink");
        pen.fillText(text, 32, 32);
        sprite.material.map.needsUpdate = true;
    };
    paint();
    return { sprite, paint };
}

/**
 * Everything in the scene, and how it changes with the theme.
 * @param {Report} report
 */
function makeScene(report) {
    const { device, target } = report.gamut;
    const scene = new THREE.Scene();
    const solid = makeSolid(device, trianglesOf(device));
    const wire = new THREE.LineSegments(geometryOf(placesOf(target, meshOf(target, 4))), new THREE.LineBasicMaterial());
    const inner = new THREE.LineSegments(
        wire.geometry,
        new THREE.LineBasicMaterial({ depthTest: false, transparent: true, opacity: 0.35 }),
    );
    wire.add(inner); // what the solid hides shines through
    const outsidePoints = [...device.outside].flatMap((mark, n) => (mark === "1" ? [n] : []));
    const outside = new THREE.Points(
        geometryOf(placesOf(device, outsidePoints)),
        new THREE.PointsMaterial({ size: 3, sizeAttenuation: false }),
    );
    const axes = new THREE.LineSegments(
        geometryOf(new Float32Array([-110, -50, 0, 110, -50, 0, 0, -50, 110, 0, -50, -110, 0, -50, 0, 0, 58, 0])),
        new THREE.LineBasicMaterial(),
    );
    const ring = new THREE.LineSegments(
        geometryOf(new Float32Array(6)),
        new THREE.LineBasicMaterial({ depthTest: false }),
    );
    const labels = [makeLabel("a*", [118, -50, 0]), makeLabel("b*", [0, -50, -118]), makeLabel("L*", [0, 66, 0])];
    outside.visible = false;
    scene.add(solid, wire, outside, axes, ring, ...labels.map((label) => label.sprite));
    const paint = () => {
        scene.background = new THREE.Color(styleColour("--card"));
        wire.material.color.set(styleColour("--ink"));
        inner.material.color.set(styleColour("--ink"));
        outside.material.color.set(styleColour("--ink"));
        axes.material.color.set(styleColour("--muted"));
        ring.material.color.set(styleColour("--ink"));
        labels.forEach((label) => label.paint());
    };
    paint();
    return { scene, solid, wire, outside, ring, paint };
}

/**
 * The flat plot of a slice.
 * @param {Report} report
 */
function makeSlice(report) {
    const size = 2 * MOST;
    const plot = svg("svg", { viewBox: `${-MOST} ${-MOST} ${size} ${size}`, class: "static slice large", role: "img" });
    for (const at of [-100, -50, 0, 50, 100]) {
        plot.append(
            svg("line", { class: "grid", x1: at, x2: at, y1: -MOST, y2: MOST }),
            svg("line", { class: "grid", y1: at, y2: at, x1: -MOST, x2: MOST }),
            svg("text", { x: at, y: MOST - 3, "text-anchor": "middle", "font-size": 10 }, String(at)),
            svg("text", { x: 3 - MOST, y: at + 3, "font-size": 10 }, String(-at)),
        );
    }
    plot.append(
        svg("text", { class: "axis", x: MOST - 16, y: -5 }, "a*"),
        svg("text", { class: "axis", x: 5, y: 12 - MOST }, "b*"),
    );
    const solids = [report.gamut.target, report.gamut.device];
    const triangles = solids.map(trianglesOf);
    const paths = ["second", "first"].map((kind) => svg("path", { class: `line ${kind}` }));
    plot.append(...paths);
    const show = (/** @type {number} */ lightness) => {
        const pieces = solids.map((solid, n) => sliceOf(solid, triangles[n], lightness));
        pieces.forEach((list, n) => {
            paths[n].setAttribute(
                "d",
                list
                    .map(([a, b, c, d]) => `M${a.toFixed(2)} ${(-b).toFixed(2)}L${c.toFixed(2)} ${(-d).toFixed(2)}`)
                    .join(""),
            );
        });
        plot.setAttribute(
            "aria-label",
            `Both gamuts at L* ${lightness}: solid line the device, dashed ${report.target.name}`,
        );
        return pieces[1];
    };
    return { plot, show };
}

/**
 * @param {HTMLElement} host
 * @param {Report} report
 */
function startSolid(host, report) {
    const parts = makeScene(report);
    const renderer = new THREE.WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
    const camera = new THREE.PerspectiveCamera(38, 1, 1, 2000);
    const controls = new OrbitControls(camera, renderer.domElement);
    host.append(renderer.domElement);
    Object.assign(controls, {
        enableKeys: false,
        enablePan: false,
        enableZoom: false,
        minDistance: 120,
        maxDistance: 900,
    });
    const render = () => renderer.render(parts.scene, camera);
    const reach = Math.max(reachOf(report.gamut.device), reachOf(report.gamut.target));
    const turn = (/** @type {number} */ around, /** @type {number} */ up, /** @type {number} */ factor) => {
        const { x, y, z } = camera.position;
        const distance = Math.min(900, Math.max(120, Math.hypot(x, y, z) * factor));
        const angle = Math.atan2(x, z) + around;
        const height = Math.min(1.5, Math.max(-1.5, Math.asin(y / Math.hypot(x, y, z)) - up));
        const flat = distance * Math.cos(height);
        camera.position.set(flat * Math.sin(angle), distance * Math.sin(height), flat * Math.cos(angle));
        controls.update();
        render();
    };
    const reset = () => {
        camera.position.set(150, 105, 290).setLength(2.4 * reach);
        turn(0, 0, 1);
    };
    // The wheel scrolls the page until the reader chooses the solid.
    host.addEventListener("focus", () => (controls.enableZoom = true));
    host.addEventListener("blur", () => (controls.enableZoom = false));
    host.addEventListener("pointerdown", () => host.focus({ preventScroll: true }));
    host.addEventListener("keydown", (event) => {
        const arrow = KEYS[/** @type {keyof typeof KEYS} */ (event.key)];
        if (arrow) turn(arrow[0], arrow[1], 1);
        else if (event.key === "+" || event.key === "=") turn(0, 0, 0.85);
        else if (event.key === "-") turn(0, 0, 1.18);
        else if (event.key === "0") reset();
        else return;
        event.preventDefault();
    });
    controls.addEventListener("change", render);
    const resize = () => {
        renderer.setPixelRatio(Math.min(2, window.devicePixelRatio));
        renderer.setSize(host.clientWidth, host.clientHeight, false);
        camera.aspect = host.clientWidth / Math.max(1, host.clientHeight);
        camera.fov = 38 * Math.max(1, 1.2 / camera.aspect); // the solid fits into a narrow window as well
        camera.updateProjectionMatrix();
        render();
    };
    new ResizeObserver(resize).observe(host);
    onTheme(() => {
        parts.paint();
        render();
    });
    reset();
    resize();
    return { ...parts, render, turn, reset };
}

/**
 * @param {ReturnType<typeof startSolid>} view
 * @param {number} count
 */
function makeTools(view, count) {
    const show = (/** @type {any} */ part) => (/** @type {boolean} */ isOn) => {
        part.visible = isOn;
        view.render();
    };
    const boxes = element(
        "div",
        { class: "tools" },
        checkBox("Device", true, show(view.solid)),
        checkBox("Output", true, show(view.wire)),
        checkBox(`Dots on what lies outside (${count} of the points)`, false, show(view.outside)),
    );
    const buttons = element(
        "div",
        { class: "tools" },
        button("Turn left", () => view.turn(-0.3, 0, 1)),
        button("Turn right", () => view.turn(0.3, 0, 1)),
        button("Zoom in", () => view.turn(0, 0, 0.85)),
        button("Zoom out", () => view.turn(0, 0, 1.18)),
        button("Reset", view.reset),
    );
    return [boxes, buttons];
}

/**
 * @param {Report} report
 */
export function startGamut(report) {
    const place = document.getElementById("gamut-view");
    if (!place) return;
    const host = element("div", {
        class: "solid",
        tabindex: "0",
        role: "group",
        "aria-label":
            "The device’s gamut as a solid, the output’s as a wire. The arrow keys turn it, plus and minus zoom, 0 resets.",
    });
    const solidCard = element("div", {}, host);
    const slice = makeSlice(report);
    place.className = "view";
    place.hidden = false;
    place.append(solidCard);
    /** @type {ReturnType<typeof startSolid> | null} */
    let view = null;
    try {
        view = startSolid(host, report);
        solidCard.append(...makeTools(view, [...report.gamut.device.outside].filter((mark) => mark === "1").length));
    } catch {
        host.replaceWith(
            element("p", {}, "This browser shows no three-dimensional pictures (WebGL). The slices show both gamuts."),
        );
    }
    const told = element("output", { "aria-live": "polite" });
    const choose = (/** @type {number} */ lightness) => {
        const pieces = slice.show(lightness);
        told.textContent = pieces.length === 0 ? `L* ${lightness}: the device has no colour there` : `L* ${lightness}`;
        if (!view) return;
        const places = pieces.flatMap(([a, b, c, d]) => [a, lightness - 50, -b, c, lightness - 50, -d]);
        view.ring.geometry.dispose();
        view.ring.geometry = geometryOf(new Float32Array(places));
        view.render();
    };
    const range = slider("Slice at L*", { from: 1, to: 99, step: 1, value: 50 }, choose);
    place.append(element("div", {}, slice.plot, element("div", { class: "tools" }, range.label), told));
    choose(50);
}
