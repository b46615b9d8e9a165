// SPDX-License-Identifier: MIT
// @ts-check
// The surface of an RGB cube in CIELAB, as the report stores it: six faces of equal rows of points.

/**
 * A point as [L*, a*, b*].
 * @param {Solid} solid
 * @param {number} point
 * @returns {[number, number, number]}
 */
export function pointOf(solid, point) {
    return [solid.lab[3 * point], solid.lab[3 * point + 1], solid.lab[3 * point + 2]];
}

/**
 * The corners of all triangles, as numbers of points.
 * @param {Solid} solid
 * @returns {number[]}
 */
export function trianglesOf(solid) {
    const side = solid.face_points;
    const corners = [];
    for (let face = 0; face < 6; ++face) {
        for (let row = 0; row + 1 < side; ++row) {
            for (let n = 0; n + 1 < side; ++n) {
                const at = (face * side + row) * side + n;
                corners.push(at, at + side, at + side + 1, at, at + side + 1, at + 1);
            }
        }
    }
    return corners;
}

/**
 * Pairs of points on every `step`-th line of each face, in both directions.
 * @param {Solid} solid
 * @param {number} step
 * @returns {number[]}
 */
export function meshOf(solid, step) {
    const side = solid.face_points;
    const ends = [];
    for (let face = 0; face < 6; ++face) {
        for (let line = 0; line < side; line += step) {
            for (let n = 0; n + 1 < side; ++n) {
                const along = (face * side + line) * side + n;
                const across = (face * side + n) * side + line;
                ends.push(along, along + 1, across, across + side);
            }
        }
    }
    return ends;
}

/**
 * Where the surface has this L*: pieces [a, b, a, b] in the plane of a* and b*.
 * @param {Solid} solid
 * @param {number[]} triangles
 * @param {number} lightness
 * @returns {[number, number, number, number][]}
 */
export function sliceOf(solid, triangles, lightness) {
    /** @type {[number, number, number, number][]} */
    const pieces = [];
    for (let t = 0; t < triangles.length; t += 3) {
        const crossings = [];
        for (let s = 0; s < 3; ++s) {
            const p = pointOf(solid, triangles[t + s]);
            const q = pointOf(solid, triangles[t + ((s + 1) % 3)]);
            if (p[0] < lightness === q[0] < lightness) continue;
            const share = (lightness - p[0]) / (q[0] - p[0]);
            crossings.push(p[1] + share * (q[1] - p[1]), p[2] + share * (q[2] - p[2]));
        }
        if (crossings.length === 4) pieces.push([crossings[0], crossings[1], crossings[2], crossings[3]]);
    }
    return pieces;
}
