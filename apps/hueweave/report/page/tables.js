// SPDX-License-Identifier: MIT
// @ts-check
import { button } from "./dom.js";

/**
 * The first number of a cell, or its text.
 * @param {Element | undefined} cell
 * @param {boolean} isNumber
 */
function keyOf(cell, isNumber) {
    const text = cell?.textContent ?? "";
    return isNumber ? parseFloat(text) : text;
}

/**
 * @param {HTMLTableElement} table
 * @param {number} column
 * @param {boolean} isNumber
 * @param {number} sense
 */
function sort(table, column, isNumber, sense) {
    const body = table.tBodies[0];
    const rows = [...body.rows].map((row) => ({ row, key: keyOf(row.cells[column], isNumber) }));
    rows.sort((x, y) => {
        const order =
            typeof x.key === "number" && typeof y.key === "number"
                ? x.key - y.key
                : String(x.key).localeCompare(String(y.key), "en", { numeric: true });
        return sense * order;
    });
    body.append(...rows.map((one) => one.row));
}

/** Tables of the class "sortable" get a button in each heading. */
export function startTables() {
    for (const table of document.querySelectorAll("table.sortable")) {
        if (!(table instanceof HTMLTableElement)) continue;
        const headings = [...table.querySelectorAll("thead th")];
        headings.forEach((heading, column) => {
            if (!(heading instanceof HTMLElement) || heading.dataset.sort === undefined) return;
            const isNumber = heading.dataset.sort === "number";
            const text = heading.textContent ?? "";
            const act = () => {
                const isDown = heading.getAttribute("aria-sort") === "ascending";
                headings.forEach((other) => other.removeAttribute("aria-sort"));
                heading.setAttribute("aria-sort", isDown ? "descending" : "ascending");
                sort(table, column, isNumber, isDown ? -1 : 1);
            };
            heading.replaceChildren(button(text, act));
        });
    }
}
