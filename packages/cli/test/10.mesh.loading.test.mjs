import assert from 'node:assert/strict';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { loadMesh } from '../dist/mesh/load.js';
import { binaryPly, binaryStl, box, obj, textPly, textStl, threeMf } from './meshes.mjs';

let folder;
before(async () => {
  folder = await mkdtemp(join(tmpdir(), 'stiltforge-meshes-'));
});
after(() => rm(folder, { recursive: true }));

async function load(name, content) {
  const path = join(folder, name);
  await writeFile(path, content);
  return loadMesh(path);
}

async function refused(name, content, message) {
  await assert.rejects(load(name, content), (error) => {
    assert.equal(error.name, 'UserError');
    assert.equal(error.exitCode, 3);
    assert.ok(error.message.startsWith(join(folder, name)), error.message);
    assert.match(error.message, message);
    return true;
  });
}

const cube = box([1, 2, 3], [4, 6, 8]);
const corners = Float32Array.from(cube.flat(2));

for (const [name, content] of [
  ['binary.stl', binaryStl(cube)],
  ['text.stl', textStl(cube)],
  ['cube.obj', obj(cube)],
  ['cube.ply', textPly(cube)],
  ['binary.ply', binaryPly(cube)],
  ['cube.3mf', threeMf(cube)],
]) {
  test(`${name}: every triangle keeps its corners and their order`, async () => {
    assert.deepEqual(await load(name, content), corners);
  });
}

test('the content decides over the extension', async () => {
  assert.deepEqual(await load('really_stl.obj', binaryStl(cube)), corners);
  assert.deepEqual(await load('really_3mf.stl', threeMf(cube)), corners);
  assert.deepEqual(await load('no_extension', textPly(cube)), corners);
});

test('a binary STL whose header begins with "solid" is read as binary', async () => {
  const bytes = binaryStl(cube);
  bytes.write('solid by some exporter');
  assert.deepEqual(await load('solid.stl', bytes), corners);
});

test('a 3MF is read with the transforms of its build items and in its unit', async () => {
  const moved = await load(
    'moved.3mf',
    threeMf(cube, { transform: [1, 0, 0, 0, 1, 0, 0, 0, 1, 10, 0, 0] }),
  );
  const expected = cube.flatMap((triangle) => triangle.flatMap(([x, y, z]) => [x + 10, y, z]));
  assert.deepEqual(moved, Float32Array.from(expected));
  const inches = await load('inches.3mf', threeMf(cube, { unit: 'inch' }));
  inches.forEach((value, i) => {
    assert.ok(Math.abs(value - 25.4 * corners[i]) < 1e-3);
  });
});

test('a mirrored build item keeps its fronts outside', async () => {
  const mirrored = await load(
    'mirrored.3mf',
    threeMf(cube, { transform: [-1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0] }),
  );
  let volume = 0;
  for (let i = 0; i < mirrored.length; i += 9) {
    const [ax, ay, az, bx, by, bz, cx, cy, cz] = mirrored.subarray(i, i + 9);
    volume += ax * (by * cz - bz * cy) + ay * (bz * cx - bx * cz) + az * (bx * cy - by * cx);
  }
  assert.equal(volume / 6, 3 * 4 * 5);
});

test('reading a 3MF leaves no browser interface behind', async () => {
  await load('part.3mf', threeMf(cube));
  assert.equal(globalThis.DOMParser, undefined);
});

test('an OBJ with quads and negative indices becomes triangles', async () => {
  const mesh = await load('quad.obj', 'v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 1\nf -4 -3 -2 -1\n');
  assert.deepEqual([...mesh], [0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 1]);
});

test('a file that is missing is named', async () => {
  await assert.rejects(
    loadMesh(join(folder, 'nowhere.stl')),
    /nowhere\.stl: the file can't be read/,
  );
});

test(
  'a device without an end is not read',
  {
    skip: process.platform === 'win32' ? 'has no /dev/zero' : false,
  },
  () =>
    assert.rejects(loadMesh('/dev/zero'), {
      name: 'UserError',
      message: /^\/dev\/zero: the file can't be read \(it is a device/,
    }),
);

test('a folder is told from a file', () =>
  assert.rejects(loadMesh(folder), {
    message: `${folder}: this is a folder. Name a mesh file in it.`,
  }));

test('a mesh without triangles is refused', async () => {
  await refused('none.stl', 'solid x\nendsolid x\n', /the mesh has no triangles/);
  await refused('none.obj', 'v 0 0 0\n', /the mesh has no triangles/);
});

test('an empty file is refused', () => refused('empty.stl', '', /the file is empty/));

test('a file that is no mesh is refused', async () => {
  await refused('notes.txt', 'dear diary', /none of STL, OBJ, PLY or 3MF/);
  await refused(
    'picture.obj',
    Buffer.from([0x89, 0x50, 0x4e, 0x47, 0, 1, 2]),
    /not that of a file named \.obj/,
  );
});

test('files that are cut off are refused', async () => {
  await refused('cut.stl', binaryStl(cube).subarray(0, 300), /announces 12 triangles.*hold 4/);
  await refused('cut_text.stl', textStl(cube).slice(0, 400), /cut off after 4 whole triangles/);
  await refused('cut.ply', textPly(cube).slice(0, -40), /ends in face 8 of the 12/);
  await refused('cut.3mf', Buffer.from(threeMf(cube)).subarray(0, -60), /cut off/);
});

test('a binary STL that promises more triangles than it holds says how many', () => {
  const bytes = binaryStl(cube);
  bytes.writeUInt32LE(4_000_000_000, 80);
  return refused('promises.stl', bytes, /4,?000,?000,?000/);
});

test('coordinates that are not numbers are refused, with the triangle', async () => {
  const bytes = binaryStl(cube);
  bytes.writeFloatLE(Number.NaN, 84 + 50 * 5 + 12);
  await refused('nan.stl', bytes, /triangle 5 has a coordinate that is not a number/);
  bytes.writeFloatLE(Number.POSITIVE_INFINITY, 84 + 50 * 5 + 12);
  await refused('infinite.stl', bytes, /triangle 5/);
});

test('a mesh without triangles or without volume is refused', async () => {
  await refused('none.stl', binaryStl([]), /no triangles/);
  await refused('points.obj', 'v 0 0 0\nv 1 0 0\nv 0 1 0\n', /no triangles/);
  await refused('flat.stl', binaryStl(box([0, 0, 0], [5, 5, 0])), /flat/);
});

test('an OBJ face that names a vertex that is not there is refused', () =>
  refused('index.obj', 'v 0 0 0\nv 1 0 0\nv 0 1 1\nf 1 2 9\n', /line 4.*3 vertices precede it/));

test('numbers that are cut off or none are refused, with the line', async () => {
  await refused('line.stl', textStl(cube).slice(0, 60), /line \d of the text STL has a vertex/);
  await refused('nan.stl', textStl(cube).replace('vertex 1 ', 'vertex nan '), /line 4 of/);
  await refused('line.obj', 'v 0 0 0\nv 1 0\n', /line 2 has a vertex without three numbers/);
});

test('a PLY that can only be read in part is refused', async () => {
  await refused('cut.ply', binaryPly(cube).subarray(0, 300), /ends in vertex \d+ of the 36/);
  await refused('head.ply', 'ply\nformat ascii 1.0\n', /no "end_header"/);
  const pentagon = textPly(cube).replace('\n3 0 1 2', '\n5 0 1 2 3 4');
  await refused('pentagon.ply', pentagon, /face 0 has 5 corners/);
});

test('a zip archive that is no 3MF is refused', () => {
  const end = `PK\x05\x06${'\0'.repeat(18)}`;
  return refused('other.3mf', Buffer.from(`PK\x03\x04....${end}`, 'latin1'), /can't be read/);
});
