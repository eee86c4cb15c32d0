// A folder with everything that results.mjs asks for: it takes nothing else with it to other systems.
import { cpSync, mkdirSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { strToU8, zipSync } from 'fflate';
import { binaryStl } from '../../packages/cli/test/meshes.mjs';
import { goo, nanoDlp, sl1 } from '../../packages/cli/test/prints.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));

/** The bunny, 20 mm high, standing as a slicer wants it: three corners of each triangle. */
function bunny() {
  const { positions, cells } = createRequire(import.meta.url)('bunny');
  const standing = positions.map(([x, y, z]) => [x, -z, y]);
  const heights = standing.map(([, , z]) => z);
  const lowest = heights.reduce((a, b) => Math.min(a, b));
  const factor = 20 / (heights.reduce((a, b) => Math.max(a, b)) - lowest);
  return { corners: standing.map((corner) => corner.map((value) => value * factor)), cells };
}

const stl = ({ corners, cells }) =>
  binaryStl(cells.map((cell) => cell.map((vertex) => corners[vertex])));

const obj = ({ corners, cells }) =>
  corners.map((corner) => `v ${corner.join(' ')}\n`).join('') +
  cells.map((cell) => `f ${cell.map((vertex) => vertex + 1).join(' ')}\n`).join('');

function threeMf({ corners, cells }) {
  const vertices = corners.map(([x, y, z]) => `<vertex x="${x}" y="${y}" z="${z}"/>`).join('');
  const triangles = cells.map(([a, b, c]) => `<triangle v1="${a}" v2="${b}" v3="${c}"/>`).join('');
  const model =
    '<?xml version="1.0" encoding="UTF-8"?>' +
    '<model unit="millimeter" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">' +
    `<resources><object id="1" type="model"><mesh><vertices>${vertices}</vertices>` +
    `<triangles>${triangles}</triangles></mesh></object></resources>` +
    '<build><item objectid="1"/></build></model>';
  const relations =
    '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">' +
    '<Relationship Id="rel0" Target="/3D/3dmodel.model" ' +
    'Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>';
  return zipSync({ '_rels/.rels': strToU8(relations), '3D/3dmodel.model': strToU8(model) });
}

export function writeSamples(folder) {
  rmSync(folder, { recursive: true, force: true });
  mkdirSync(folder, { recursive: true });
  cpSync(join(root, 'tests/golden'), join(folder, 'golden'), {
    recursive: true,
    filter: (file) => !/\.(cpp|h|txt|md)$/.test(file),
  });
  const mesh = bunny();
  writeFileSync(join(folder, 'part.stl'), stl(mesh));
  writeFileSync(join(folder, 'part.obj'), obj(mesh));
  writeFileSync(join(folder, 'part.3mf'), threeMf(mesh));
  // A name that is no ASCII, as people give files.
  writeFileSync(join(folder, 'tisch-größe-表.sl1'), sl1());
  writeFileSync(join(folder, 'table.nanodlp'), nanoDlp());
  writeFileSync(join(folder, 'table.goo'), goo());
  cpSync(join(root, 'scripts/prebuild/results.mjs'), join(folder, 'results.mjs'));
}
