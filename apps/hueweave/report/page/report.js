// SPDX-License-Identifier: MIT
// @ts-check
// The page reads and prints without this script, which makes its plots, tables and pictures live.
import "./report.css";
import { button } from "./dom.js";
import { startGamut } from "./gamut.js";
import { startPictures } from "./picture.js";
import { startPlots } from "./plots.js";
import { startTables } from "./tables.js";

/**
 * Offers the numbers as a file.
 * @param {string} text
 */
function save(text) {
    const link = document.createElement("a");
    link.href = URL.createObjectURL(new Blob([text], { type: "application/json" }));
    link.download = "report.json";
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

const text = document.getElementById("report-data")?.textContent ?? "";
/** @type {Report} */
const report = JSON.parse(text);
document.documentElement.classList.add("with-script");
startPlots(report);
startTables();
startPictures(report);
startGamut(report);
document.getElementById("json-tools")?.append(button("Save the numbers as JSON", () => save(text)));
document.documentElement.dataset.ready = String(Math.round(performance.now()));
