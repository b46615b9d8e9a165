// SPDX-License-Identifier: MIT
// The JSON of a report, as far as the modules use it, and the libraries.

declare interface Solid {
    face_points: number;
    volume: number;
    lab: number[];
    srgb: string;
    outside: string;
}

declare interface Picture {
    file: string;
    shown: [number, number];
    before: number[][];
    after: number[][];
}

declare interface Course {
    L: number;
    colours: number;
    mean: number | null;
    maximum: number | null;
}

declare interface Differences {
    histogram: number[];
    course: Course[];
}

declare interface Report {
    target: { name: string };
    curves: { connection_space: string; device: number[][] | null; connection: number[][] | null };
    tone: { L: number[]; a: number[]; b: number[] };
    gamut: { device: Solid; target: Solid };
    differences: { edges: number[]; exact: Differences; library: Differences | null };
    pictures: Picture[];
}

declare module "dygraphs" {
    export default class Dygraph {
        static defaultInteractionModel: Record<string, unknown>;
        constructor(host: HTMLElement, rows: (number | null)[][], options: object);
        updateOptions(options: object): void;
        setVisibility(series: number, isOn: boolean): void;
        setSelection(row: number | false): void;
        findClosestRow(x: number): number;
        resetZoom(): void;
        resize(): void;
        xAxisRange(): [number, number];
        xAxisExtremes(): [number, number];
        isZoomed(): boolean;
    }
}

declare module "three" {
    export const Scene: any;
    export const PerspectiveCamera: any;
    export const WebGLRenderer: any;
    export const BufferGeometry: any;
    export const BufferAttribute: any;
    export const Mesh: any;
    export const MeshBasicMaterial: any;
    export const LineSegments: any;
    export const LineBasicMaterial: any;
    export const Points: any;
    export const PointsMaterial: any;
    export const Color: any;
    export const Sprite: any;
    export const SpriteMaterial: any;
    export const CanvasTexture: any;
    export const DoubleSide: any;
    export const VertexColors: any;
}

declare module "orbit-controls" {
    export const OrbitControls: any;
}
