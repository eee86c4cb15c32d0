import assert from 'node:assert/strict';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { loadMesh } from '../dist/mesh/load.js';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryPly, binaryStl, box, obj, textPly, textStl, threeMf } from './meshes.mjs';

// What each format may hold is tested with the readers, in tests/mesh.

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

function refused(path, message) {
  return assert.rejects(loadMesh(path), (error) => {
    assert.equal(error.name, 'UserError');
    assert.equal(error.exitCode, 3);
    assert.ok(error.message.startsWith(`${path}: `), error.message);
    assert.match(error.message, message);
    return true;
  });
}

const cube = box([1, 2, 3], [4, 6, 8]);
const corners = Float32Array.from(cube.flat(2));

for (const [name, format, content] of [
  ['binary.stl', 'binary STL', binaryStl(cube)],
  ['text.stl', 'text STL', textStl(cube)],
  ['cube.obj', 'OBJ', obj(cube)],
  ['cube.ply', 'PLY', textPly(cube)],
  ['binary.ply', 'PLY', binaryPly(cube)],
  ['cube.3mf', '3MF', threeMf(cube)],
]) {
  test(`${name}: every triangle keeps its corners and their order`, async () => {
    const mesh = await load(name, content);
    assert.deepEqual(mesh.positions, corners);
    assert.equal(mesh.format, format);
    assert.deepEqual(mesh.warnings, []);
    assert.equal(mesh.objects.length, 1);
    assert.equal(mesh.objects[0].triangles, 12);
  });
}

test('a 3MF is read with the transforms of its build items and in its unit', async () => {
  const transform = [1, 0, 0, 0, 1, 0, 0, 0, 1, 10, 0, 0];
  const { positions } = await load('moved.3mf', threeMf(cube, { transform, unit: 'centimeter' }));
  const expected = cube.flat().flatMap(([x, y, z]) => [10 * (x + 10), 10 * y, 10 * z]);
  assert.deepEqual(positions, Float32Array.from(expected));
});

test('a file that is missing is named', () =>
  refused(join(folder, 'nowhere.stl'), /: there is no such file\. Check the path\.$/));

test('a folder is told from a file', () =>
  refused(folder, /: this is a folder\. Name a mesh file in it\.$/));

test(
  'a device without an end is not read',
  { skip: process.platform === 'win32' ? 'has no /dev/zero' : false },
  () => refused('/dev/zero', /: this is a device, not a file\./),
);

test('a file that is no mesh, cut off or without triangles is named with what is wrong', async () => {
  const pentagon = textPly(cube).replace('\n3 0 1 2', '\n5 0 1 2 3 99');
  const rest = Buffer.from(threeMf(cube)).subarray(0, -60);
  for (const [name, content, message] of [
    ['notes.txt', 'dear diary', /none of STL, OBJ, PLY or 3MF/],
    ['empty.stl', '', /the file is empty/],
    ['cut.stl', binaryStl(cube).subarray(0, 300), /announces 12 triangles, its 300 bytes hold 4/],
    ['cut_text.stl', textStl(cube).slice(0, 400), /cut off after 4 whole triangles/],
    ['line.obj', 'v 0 0 0\nv 1 0\n', /line 2 has a vertex without three numbers/],
    ['pentagon.ply', pentagon, /line 46: face 0 names vertex 99, but 36 vertices/],
    ['cut.3mf', rest, /the 3MF archive is cut off/],
    ['none.stl', binaryStl([]), /the mesh has no triangles/],
  ]) {
    await writeFile(join(folder, name), content);
    await refused(join(folder, name), message);
  }
});

test('a mesh may be read until a signal is aborted', async () => {
  const path = join(folder, 'aborted.stl');
  await writeFile(path, textStl(cube));
  const reason = new Error('enough');
  await assert.rejects(loadMesh(path, AbortSignal.abort(reason)), reason);
  assert.deepEqual((await loadMesh(path, new AbortController().signal)).positions, corners);
});

test('the command says what is wrong with a mesh, and passes warnings on', async (t) => {
  const here = await temporaryFolder(t);
  const run = async (name, content) => {
    await writeFile(join(here, name), content);
    return stiltforge([name, '--no-pictures', '--quiet'], { cwd: here });
  };
  const flat = await run('flat.stl', binaryStl(box([0, 0, 0], [5, 5, 0])));
  assert.equal(flat.code, 3);
  assert.match(flat.err, /^stiltforge: flat\.stl: The model is flat/);
  const points = await run(
    'points.ply',
    textPly(cube).replace(/element face 12[\s\S]*?end_header/, 'end_header'),
  );
  assert.equal(points.code, 3);
  assert.match(points.err, /^stiltforge: points\.ply: the PLY is a point cloud: 36 vertices/);
  const longer = await run('longer.stl', Buffer.concat([binaryStl(cube), Buffer.alloc(2)]));
  assert.equal(longer.code, 0);
  assert.match(
    longer.err,
    /warning: longer\.stl: 2 bytes after the last triangle of the binary STL/,
  );
});
