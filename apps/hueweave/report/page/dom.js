// SPDX-License-Identifier: MIT
// @ts-check

/**
 * Makes an element. Children that are strings become text, never markup.
 * @param {string} name
 * @param {Record<string, string>} attributes
 * @param {(Node | string)[]} children
 * @returns {HTMLElement}
 */
export function element(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    made.append(...children);
    return made;
}

/**
 * The same for SVG.
 * @param {string} name
 * @param {Record<string, string | number>} attributes
 * @param {(Node | string)[]} children
 */
export function svg(name, attributes = {}, ...children) {
    const made = document.createElementNS("http://www.w3.org/2000/svg", name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, String(value));
    made.append(...children);
    return made;
}

/**
 * @param {string} text
 * @param {() => void} act
 */
export function button(text, act) {
    const made = element("button", { type: "button" }, text);
    made.addEventListener("click", act);
    return made;
}

/**
 * A check box with its label.
 * @param {string} text
 * @param {boolean} isOn
 * @param {(isOn: boolean) => void} act
 * @param {Node[]} before what comes between the box and the text
 */
export function checkBox(text, isOn, act, ...before) {
    const box = /** @type {HTMLInputElement} */ (element("input", { type: "checkbox" }));
    box.checked = isOn;
    box.addEventListener("change", () => act(box.checked));
    return element("label", {}, box, ...before, text);
}

/**
 * A range with its label.
 * @param {string} text
 * @param {{ from: number, to: number, step: number, value: number }} range
 * @param {(value: number) => void} act
 */
export function slider(text, range, act) {
    const input = /** @type {HTMLInputElement} */ (
        element("input", {
            type: "range",
            min: String(range.from),
            max: String(range.to),
            step: String(range.step),
            value: String(range.value),
        })
    );
    input.addEventListener("input", () => act(Number(input.value)));
    return { input, label: element("label", {}, text, input) };
}

/**
 * The value of a custom property of the style, such as "--ink".
 * @param {string} name
 */
export function styleColour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}

/**
 * Calls `act` whenever the reader changes from light to dark or back.
 * @param {() => void} act
 */
export function onTheme(act) {
    window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", act);
}
