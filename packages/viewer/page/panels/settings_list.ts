import type { MeshIndex, ScaffoldIndex, VerdictRecord } from '../../src/document.js';
import { element } from '../dom.js';
import type { ViewedPart } from '../part.js';
import { countText, millimetres } from '../words.js';

type Row = [name: string, value: string];

/** What the part was analysed with, and what this page leaves out. */
export function settingsList(part: ViewedPart): HTMLElement {
  const { document } = part;
  const { print, settings = {}, parameters = {}, generator } = document.part;
  const { crop } = print;
  const printRows: Row[] = [
    ['Layer height', millimetres(print.layerHeight, 3)],
    ...(print.firstLayerHeight === undefined
      ? []
      : [['First layer', millimetres(print.firstLayerHeight, 3)] satisfies Row]),
    ['Pixel size', millimetres(print.pixelSize, 3)],
    ['Screen', `${countText(print.screenWidth)} × ${countText(print.screenHeight)} pixels`],
    ['Layers', countText(print.layers)],
    [
      'Analysed part of it',
      `${crop.width} × ${crop.height} from column ${crop.column}, row ${crop.row}`,
    ],
  ];
  return element(
    'div',
    { class: 'settings' },
    group('Print', printRows),
    group('Supports', Object.entries(settings).map(settingRow)),
    ...(document.part.verdict === undefined
      ? []
      : [judged(document.part.verdict, document.scaffold)]),
    ...(document.scaffold === undefined ? [] : [built(document.scaffold)]),
    group('This report', [['Made by', generator], ...leftOut(part)]),
    element(
      'details',
      {},
      element('summary', { text: 'Parameters of the analysis' }),
      table(
        Object.entries(parameters).map(([name, value]): Row => [name, valueText(value, 6)]),
        'parameters',
      ),
    ),
  );
}

/** What the verdict goes by, and what it does not know. */
function judged(
  { nearReach, farReach }: VerdictRecord,
  scaffold: ScaffoldIndex | undefined,
): HTMLElement {
  const ways = 'forces, the resin, and whether a pillar finds its way';
  return group('What the points hold', [
    ['Overhang held well within', `${nearReach} mm of a point`],
    ['Overhang held at all within', `${farReach} mm of a point`],
    ['Not judged', scaffold === undefined ? ways : 'forces and the resin'],
  ]);
}

/** The supports of the picture. */
function built({ supports, braces, withoutWay }: ScaffoldIndex): HTMLElement {
  return group('Supports as they are built', [
    ['Built', countText(supports)],
    ['Braces between slender ones', countText(braces)],
    ['Points without a way for a pillar', countText(withoutWay.length)],
  ]);
}

const known: Record<string, [name: string, unit: string]> = {
  criticalAngle: ['Critical angle', '°'],
  inset: ['Inset from the contour', ' mm'],
  supportArea: ['Area that a support holds', ' mm²'],
  minimumHeight: ['Room that a support needs', ' mm'],
  minimumSpacing: ['Between points, at least', ' mm'],
  asAnalysed: ['Points as analysed, not finished', ''],
};

function settingRow([key, value]: [string, unknown]): Row {
  const [name, unit] = known[key] ?? [key, ''];
  return [name, `${valueText(value)}${unit}`];
}

function valueText(value: unknown, digits = 4): string {
  if (typeof value === 'boolean') return value ? 'yes' : 'no';
  return typeof value === 'number' ? String(Number(value.toPrecision(digits))) : String(value);
}

/** A word about what is not shown as it is. */
function leftOut(part: ViewedPart): Row[] {
  const { mesh, slices } = part.document;
  const rows: Row[] = [];
  const shown = `${countText(mesh.triangles)} triangles`;
  if (mesh.isOfLayers) {
    const how = `${shown} around the layers, within ${mesh.tolerance.toPrecision(1)} mm`;
    rows.push(['Shape shown', `${how}; the slices are exact`]);
  } else {
    rows.push(['Mesh shown', meshShown(mesh, shown)]);
  }
  const kept = slices.layers.length;
  rows.push([
    'Slices shown',
    kept === part.layerCount
      ? 'all'
      : `${countText(kept)} of ${countText(part.layerCount)}: all with points or islands, and some between, to keep the file small`,
  ]);
  return rows;
}

function meshShown({ triangles, sourceTriangles, tolerance }: MeshIndex, shown: string): string {
  return triangles === sourceTriangles
    ? shown
    : `${shown} of ${countText(sourceTriangles)}, within ${tolerance.toPrecision(1)} mm; the analysis saw all`;
}

function group(title: string, rows: readonly Row[]): HTMLElement {
  return element('section', {}, element('h3', { text: title }), table(rows));
}

function table(rows: readonly Row[], className = ''): HTMLElement {
  return element(
    'dl',
    { class: className },
    ...rows.map(([name, value]) =>
      element('div', {}, element('dt', { text: name }), element('dd', { text: value })),
    ),
  );
}
