// --format stl: the supports as geometry, and the part with them.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import {
  buildSupports,
  defaultPrint,
  defaultSupport,
  loadMesh,
  partWithSupportsStl,
  placeSupports,
  supportsStl,
} from 'stiltforge-cli';
import { outputNames, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';
import { sl1 } from './prints.mjs';

const quiet = ['--no-pictures', '-q'];
const geometry = ['--format', 'json,stl', ...quiet];

/** Runs the command on a mesh; gives its folder of results, what it said, and supports.json. */
async function builtOf(t, triangles, words = []) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const { code, err } = await stiltforge(['part.stl', ...geometry, ...words], { cwd: folder });
  assert.equal(code, 0, err);
  const out = join(folder, 'part-supports');
  const document = JSON.parse(await readFile(join(out, 'supports.json'), 'utf8'));
  return { folder, out, err, document, scaffold: document.scaffold };
}

function extent(positions, axis) {
  const values = [...positions].filter((_, i) => i % 3 === axis);
  return [Math.min(...values), Math.max(...values)];
}

/** Whether each edge is run through as often in one direction as in the other. */
function isClosed(positions) {
  const balance = new Map();
  const corner = (i) => positions.subarray(i, i + 3).join(' ');
  for (let i = 0; i < positions.length; i += 9) {
    const corners = [corner(i), corner(i + 3), corner(i + 6)];
    corners.forEach((from, k) => {
      const to = corners[(k + 1) % 3];
      const [edge, step] = from < to ? [`${from}|${to}`, 1] : [`${to}|${from}`, -1];
      balance.set(edge, (balance.get(edge) ?? 0) + step);
    });
  }
  return [...balance.values()].every((sum) => sum === 0);
}

async function bytesOf(pieces) {
  const all = [];
  for await (const piece of pieces) all.push(piece);
  return Buffer.concat(all);
}

async function findingsOf(file) {
  const { out } = await stiltforge(['check', file, '--json']);
  return JSON.parse(out).files[0].findings;
}

test('the part is written as it was sliced: turned faces are turned back', async (t) => {
  const faces = table();
  const turned = faces.map(([a, b, c], i) => (i % 4 === 1 ? [a, c, b] : [a, b, c]));
  const { out } = await builtOf(t, turned, ['--merge']);
  const written = await readFile(join(out, 'part_with_supports.stl'));
  const { out: sound } = await builtOf(t, faces, ['--merge']);
  const { positions } = await loadMesh(join(out, 'part_with_supports.stl'));
  assert.ok(isClosed(positions.subarray(0, 9 * faces.length)));
  assert.equal(written.length, (await readFile(join(sound, 'part_with_supports.stl'))).length);
});

test('supports.stl has a support for each point, closed, from the plate into the part', async (t) => {
  const { out, document, scaffold } = await builtOf(t, footAndIsland());
  assert.deepEqual(await outputNames(out), ['supports.json', 'supports.stl']);
  assert.equal(scaffold.built, document.supports.length);
  assert.deepEqual(scaffold.leftOut, []);
  assert.equal(scaffold.merged, false);
  const { positions, format } = await loadMesh(join(out, 'supports.stl'));
  assert.equal(format, 'binary STL');
  assert.ok(isClosed(positions));
  const [low, high] = extent(positions, 2);
  assert.equal(low, 0);
  assert.ok(high > 2.1 && high < 2.3, `${high} mm: in the block from 2 mm on`);
});

test('the part with its supports, sliced, has no island', async (t) => {
  const { folder, out } = await builtOf(t, footAndIsland(), ['--merge']);
  const alone = await findingsOf(join(folder, 'part.stl'));
  assert.deepEqual(
    alone.map(({ kind }) => kind),
    ['floatingPart'],
  );
  assert.deepEqual(await findingsOf(join(out, 'part_with_supports.stl')), []);
});

test('slender pillars are braced unless the command line says otherwise', async (t) => {
  const high = table().map((face) => face.map(([x, y, z]) => [x, y, 6 * z]));
  const thin = ['--pillar-diameter', '0.6', '--merge'];
  const { folder, out, scaffold } = await builtOf(t, high, thin);
  assert.ok(scaffold.braces > 0);
  const { positions } = await loadMesh(join(out, 'supports.stl'));
  assert.ok(isClosed(positions));
  assert.deepEqual(await findingsOf(join(out, 'part_with_supports.stl')), []);
  const words = ['--format', 'stl,json', '--no-pictures', '--out', join(folder, 'without')];
  const part = join(folder, 'part.stl');
  const { code, out: told } = await stiltforge([part, ...thin, ...words, '--brace-reach', '0']);
  assert.equal(code, 0);
  const document = JSON.parse(await readFile(join(folder, 'without/supports.json'), 'utf8'));
  assert.equal(document.scaffold.braces, 0);
  assert.ok(document.scaffold.alone.length > scaffold.alone.length);
  assert.match(told, /braces +0; \d+ slender pillars out of reach\n/);
});

test('... and keeps the triangles of the part', async (t) => {
  const { out } = await builtOf(t, table(), ['--merge']);
  const { positions } = await loadMesh(join(out, 'part_with_supports.stl'));
  const part = Float32Array.from(table().flat(2));
  assert.deepEqual(positions.subarray(0, part.length), part);
  const supports = await loadMesh(join(out, 'supports.stl'));
  assert.deepEqual(positions.subarray(part.length), supports.positions);
});

test('what hangs over the part below stands on it', async (t) => {
  const wide = [...box([-30, -30, 0], [42, 42, 1]), ...table()];
  const { out, scaffold } = await builtOf(t, wide, ['--merge']);
  assert.ok(scaffold.stands.part > 0);
  assert.equal(scaffold.stands.plate, 0);
  assert.deepEqual(await findingsOf(join(out, 'part_with_supports.stl')), []);
});

test('a lifted part stands on its supports, and they on a raft', async (t) => {
  const { out, scaffold } = await builtOf(t, footAndIsland(), [
    ...['--lift', '4', '--raft', '0.8', '--merge', '--tip-diameter', '0.5', '--foot-height', '0.3'],
  ]);
  assert.equal(scaffold.raftThickness, 0.8);
  assert.equal(scaffold.tipDiameter, 0.5);
  assert.equal(scaffold.footHeight, 0.3);
  const { positions } = await loadMesh(join(out, 'supports.stl'));
  assert.ok(isClosed(positions));
  assert.equal(extent(positions, 2)[0], -4);
  const findings = await findingsOf(join(out, 'part_with_supports.stl'));
  const loose = findings.filter(({ kind }) => ['island', 'floatingPart'].includes(kind));
  assert.deepEqual(loose, []);
});

test('the same run writes the same bytes', async (t) => {
  const [first, second] = [await builtOf(t, table()), await builtOf(t, table())];
  const fileOf = ({ out }) => readFile(join(out, 'supports.stl'));
  assert.deepEqual(await fileOf(first), await fileOf(second));
});

test('a part that needs no supports has an empty file of them', async (t) => {
  const { out, scaffold } = await builtOf(t, box([0, 0, 0], [4, 4, 4]));
  assert.equal(scaffold.built, 0);
  assert.equal((await readFile(join(out, 'supports.stl'))).length, 84);
});

test('a support without a way is told with its place, and the others are built', async (t) => {
  // A roof over a slot that is narrower than these tips, and one that hangs free.
  const slot = [
    ...box([0, 0, 0], [10, 16, 10]),
    ...box([14, 0, 0], [20, 16, 10]),
    ...box([0, 0, 9], [40, 16, 12]),
    ...box([0, 0, 0], [20, 16, 1]),
  ];
  const wide = ['--tip-diameter', '4.5', '--pillar-diameter', '4.5', '--foot-diameter', '4.5'];
  const { err, scaffold, document } = await builtOf(t, slot, wide);
  assert.ok(scaffold.built > 0);
  const [{ support, reason }] = scaffold.leftOut;
  assert.equal(reason, 'noWay');
  const { x, y, z } = document.supports[support];
  const sentence = err.split('\n').find((line) => /not built/.test(line));
  assert.match(sentence, /the part is in the way wherever a pillar might go/);
  assert.ok(sentence.includes(`at ${x}, ${y}, ${z} mm`), sentence);
  assert.ok(document.model.warnings.some((warning) => sentence.endsWith(warning)));
});

test('supports that reach over the edge of the screen are told', async (t) => {
  const { err } = await builtOf(t, footAndIsland(), ['--screen', '210x90', '--foot-diameter', '8']);
  assert.match(err, /The supports reach \d\.\d mm over the edge of the screen/);
});

test('options have ranges, and are for the geometry of meshes alone', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table()));
  await writeFile(join(folder, 'part.sl1'), sl1());
  const stl = ['--format', 'stl'];
  for (const [words, sentence] of [
    [['part.stl', '--raft', '1'], /--raft: it is for supports as geometry\. Add --format stl\./],
    [['part.stl', '--merge'], /--merge: it is for supports as geometry\. Add --format stl\./],
    [['part.stl', ...stl, '--raft', '1'], /--raft 1: the part must be lifted by at least 1\.5 mm/],
    [['part.stl', ...stl, '--tip-diameter', '6'], /--tip-diameter 6: it must be from 0\.1 to 5 mm/],
    [
      ['part.stl', ...stl, '--tip-diameter', '2'],
      /--pillar-diameter 1: it must be at least the tip/,
    ],
    [['part.stl', ...stl, '--foot-diameter', '0.9'], /--foot-diameter 0\.9: it must be at least/],
    [['part.stl', ...stl, '--tip-length', '1e3'], /It must be a plain number above 0/],
    [['part.stl', ...stl, '--foot-height', '-1'], /It must be a plain number from 0/],
    [['part.sl1', ...stl], /--format stl: it needs the mesh, and part\.sl1 has layers alone/],
  ]) {
    const { code, err } = await stiltforge([...words, ...quiet], { cwd: folder });
    assert.equal(code, 2, words.join(' '));
    assert.match(err, sentence);
  }
  assert.deepEqual(await outputNames(folder), ['part.sl1', 'part.stl']);
});

test('files of others in the way are told before the work', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table()));
  await writeFile(join(folder, 'part_with_supports.stl'), 'mine');
  const words = ['part.stl', '--format', 'stl', '--merge', ...quiet, '--out', '.'];
  const { code, err } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 4);
  assert.match(err, /part_with_supports\.stl: this file was not written by stiltforge/);
  assert.equal(await readFile(join(folder, 'part_with_supports.stl'), 'utf8'), 'mine');
});

test('programs build supports of a part that they have', async () => {
  const mesh = Float32Array.from(footAndIsland().flat(2));
  const job = { name: 'part.stl', mesh, print: defaultPrint, support: defaultSupport };
  const part = await placeSupports(job);
  const { scaffold, document } = await buildSupports(part, { settings: {}, merge: true });
  assert.equal(document.scaffold.built, document.supports.length);
  assert.equal(part.document.scaffold, undefined);
  const alone = await bytesOf(supportsStl(scaffold));
  assert.equal(alone.length, 84 + (50 * scaffold.positions.length) / 9);
  const both = await bytesOf(partWithSupportsStl(part, scaffold));
  assert.equal(both.length, alone.length + 50 * footAndIsland().length);
  const reason = new Error('enough');
  const signal = AbortSignal.abort(reason);
  await assert.rejects(
    buildSupports(part, { settings: {}, merge: true }, undefined, signal),
    reason,
  );
  await assert.rejects(bytesOf(supportsStl(scaffold, signal)), reason);
});

test('a mesh too large for its geometry is refused before the work', async (t) => {
  const folder = await temporaryFolder(t);
  const boxes = Array.from({ length: 20000 }, () => box([0, 0, 0], [4, 4, 4])).flat();
  await writeFile(join(folder, 'part.stl'), binaryStl(boxes));
  const words = ['part.stl', ...quiet, '--memory', '0.17', '--screen', '200x200'];
  const { code } = await stiltforge(words, { cwd: folder });
  assert.equal(code, 0);
  const { code: built, err } = await stiltforge([...words, '--format', 'stl'], { cwd: folder });
  assert.equal(built, 5);
  assert.match(err, /the run may take 1\d\d MB of memory, more than the 170 MB there are/);
});
