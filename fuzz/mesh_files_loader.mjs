// Makes damaged mesh files from a seed and loads them one after the other; see mesh_files.mjs.

import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { strToU8, zipSync } from 'fflate';
import { UserError } from '../packages/cli/dist/errors.js';
import { loadMesh } from '../packages/cli/dist/mesh/load.js';

const [seed, count] = process.argv.slice(2).map(Number);

// Mulberry32.
let state = seed * 2654435761;
function random(n) {
  state = (state + 0x6d2b79f5) | 0;
  let t = Math.imul(state ^ (state >>> 15), state | 1);
  t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
  return ((t ^ (t >>> 14)) >>> 0) % n;
}
const pick = (values) => values[random(values.length)];

const corners = [
  [0, 0, 0],
  [10, 0, 0],
  [0, 10, 0],
  [0, 0, 10],
];
const faces = [
  [0, 2, 1],
  [0, 1, 3],
  [1, 2, 3],
  [2, 0, 3],
];

function textStl() {
  const facets = faces.map(
    (face) =>
      `facet normal 0 0 0\nouter loop\n${face
        .map((corner) => `vertex ${corners[corner].join(' ')}\n`)
        .join('')}endloop\nendfacet\n`,
  );
  return strToU8(`solid tetrahedron\n${facets.join('')}endsolid tetrahedron\n`);
}

function binaryStl() {
  const bytes = Buffer.alloc(84 + 50 * faces.length);
  bytes.writeUInt32LE(faces.length, 80);
  faces.forEach((face, f) => {
    face.forEach((corner, c) => {
      corners[corner].forEach((value, axis) => {
        bytes.writeFloatLE(value, 84 + 50 * f + 12 + 12 * c + 4 * axis);
      });
    });
  });
  return new Uint8Array(bytes);
}

function obj() {
  const vertices = corners.map((corner) => `v ${corner.join(' ')}\n`).join('');
  return strToU8(
    `o tetrahedron\n${vertices}${faces.map((face) => `f ${face.map((corner) => corner + 1).join(' ')}\n`).join('')}`,
  );
}

const plyHeader = (format) =>
  `ply\nformat ${format} 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\nelement face 4\nproperty list uchar int vertex_indices\nend_header\n`;

function textPly() {
  const vertices = corners.map((corner) => `${corner.join(' ')}\n`).join('');
  return strToU8(
    `${plyHeader('ascii')}${vertices}${faces.map((face) => `3 ${face.join(' ')}\n`).join('')}`,
  );
}

function binaryPly() {
  const header = Buffer.from(plyHeader('binary_little_endian'));
  const body = Buffer.alloc(4 * 12 + 4 * 13);
  corners.flat().forEach((value, i) => {
    body.writeFloatLE(value, 4 * i);
  });
  faces.forEach((face, f) => {
    body.writeUInt8(3, 48 + 13 * f);
    face.forEach((corner, c) => {
      body.writeInt32LE(corner, 48 + 13 * f + 1 + 4 * c);
    });
  });
  return new Uint8Array(Buffer.concat([header, body]));
}

// The model inside the archive is damaged too, so that the archive itself stays readable.
function threeMf() {
  const vertices = corners.map(([x, y, z]) => `<vertex x="${x}" y="${y}" z="${z}"/>`).join('');
  const triangles = faces.map(([a, b, c]) => `<triangle v1="${a}" v2="${b}" v3="${c}"/>`).join('');
  const model = strToU8(
    `<?xml version="1.0"?><model unit="millimeter" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02"><resources><object id="1" type="model"><mesh><vertices>${vertices}</vertices><triangles>${triangles}</triangles></mesh></object></resources><build><item objectid="1"/></build></model>`,
  );
  const relations = strToU8(
    '<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>',
  );
  const types = strToU8(
    '<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>',
  );
  return zipSync({
    '[Content_Types].xml': types,
    '_rels/.rels': random(4) === 0 ? damaged(relations) : relations,
    '3D/3dmodel.model': random(4) === 0 ? model : damaged(model),
  });
}

const makers = [textStl, binaryStl, obj, textPly, binaryPly, threeMf];
const extensions = ['.stl', '.obj', '.ply', '.3mf', '.STL', ''];
const words = [
  'NaN',
  '1e999',
  '-1',
  '4294967295',
  '99999999999999999999',
  '0x10',
  '\0',
  '<',
  '&lol;',
  'f 1 2 3\n',
  'v 1 2\n',
  'element vertex 4000000000\n',
  'endsolid',
  'facet',
  '\ufeff',
  'é',
];

function spliced(bytes, at, removed, inserted) {
  const result = new Uint8Array(bytes.length - removed + inserted.length);
  result.set(bytes.subarray(0, at));
  result.set(inserted, at);
  result.set(bytes.subarray(at + removed), at + inserted.length);
  return result;
}

function damagedOnce(bytes) {
  if (bytes.length === 0) return bytes;
  const at = random(bytes.length);
  const length = Math.min(bytes.length - at, 1 + random(random(3) === 0 ? 200 : 12));
  switch (random(7)) {
    case 0:
      return bytes.slice(0, at);
    case 1:
      return spliced(bytes, at, length, new Uint8Array(0));
    case 2:
      return spliced(bytes, at, 0, bytes.slice(at, at + length));
    case 3:
      return spliced(bytes, at, random(2) * length, strToU8(pick(words)));
    case 4:
      return spliced(bytes, at, 0, pick(makers.slice(0, 5))());
    case 5: {
      const flipped = bytes.slice();
      flipped[at] ^= 1 << random(8);
      return flipped;
    }
    default: {
      const noisy = bytes.slice();
      for (let i = 0; i < length; i++) noisy[at + i] = random(256);
      return noisy;
    }
  }
}

function damaged(bytes) {
  let result = bytes;
  for (let n = random(4); n >= 0; n--) result = damagedOnce(result);
  return result;
}

function checkMesh(triangles) {
  if (!(triangles instanceof Float32Array)) throw new Error('the mesh is no Float32Array');
  if (triangles.length === 0 || triangles.length % 9 !== 0) {
    throw new Error(`${triangles.length} coordinates make no triangles`);
  }
  if (!triangles.every(Number.isFinite)) throw new Error('a coordinate is not finite');
}

const folder = await mkdtemp(join(tmpdir(), 'stiltforge-fuzz-'));
let meshes = 0;
try {
  for (let n = 0; n < count; n++) {
    const maker = pick(makers);
    const made = maker();
    const bytes = random(20) === 0 ? made : damaged(made);
    const path = join(folder, `mesh${pick(extensions)}`);
    await writeFile(path, bytes);
    console.log(`file ${n}: ${maker.name}, ${bytes.length} bytes, ${path}`);
    try {
      checkMesh(await loadMesh(path));
      meshes += 1;
    } catch (error) {
      if (!(error instanceof UserError)) throw error;
      if (!error.message.startsWith(path)) throw new Error(`unnamed: ${error.message}`);
    }
    await rm(path);
  }
} finally {
  await rm(folder, { recursive: true, force: true });
}
console.log(`meshes: ${meshes}`);
