import assert from 'node:assert/strict';
import { readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { packed } from '../dist/plate/packing.js';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';
import { sl1 } from './prints.mjs';

async function folderWith(t, files) {
  const folder = await temporaryFolder(t);
  for (const [name, content] of Object.entries(files)) {
    await writeFile(join(folder, name), content);
  }
  return folder;
}

const documentIn = async (folder) =>
  JSON.parse(await readFile(join(folder, 'supports.json'), 'utf8'));

/** Numbers from 0 on, always the same ones. */
function* randomNumbers(seed) {
  for (let state = seed; ; ) {
    state = (1103515245 * state + 12345) % 2 ** 31;
    yield state;
  }
}

test('packed rectangles lie in the room and do not overlap', () => {
  const numbers = randomNumbers(1);
  const below = (limit) => numbers.next().value % limit;
  for (let round = 0; round < 300; round++) {
    const room = { width: 20 + below(200), depth: 20 + below(200) };
    const sizes = Array.from({ length: 1 + below(30) }, () => ({
      width: 1 + below(40),
      depth: 1 + below(40),
    }));
    const placed = packed(sizes, room).flatMap((corner, i) =>
      corner === undefined ? [] : [{ ...corner, ...sizes[i] }],
    );
    for (const [i, a] of placed.entries()) {
      assert.ok(a.x >= 0 && a.y >= 0);
      assert.ok(a.x + a.width <= room.width && a.y + a.depth <= room.depth);
      for (const b of placed.slice(i + 1)) {
        const apart =
          a.x + a.width <= b.x ||
          b.x + b.width <= a.x ||
          a.y + a.depth <= b.y ||
          b.y + b.depth <= a.y;
        assert.ok(apart, JSON.stringify([a, b]));
      }
    }
  }
});

test('what fills the room exactly finds its place, and what is too much does not', () => {
  const squares = Array.from({ length: 12 }, () => ({ width: 10, depth: 10 }));
  const room = { width: 40, depth: 30 };
  assert.ok(packed(squares, room).every((corner) => corner !== undefined));
  const more = packed([...squares, { width: 1, depth: 1 }], room);
  assert.equal(more.filter((corner) => corner === undefined).length, 1);
  assert.deepEqual(packed([{ width: 41, depth: 1 }], room), [undefined]);
});

test('copies stand side by side and get the supports of one, each in its place', async (t) => {
  const cwd = await folderWith(t, { 'part.stl': binaryStl(footAndIsland()) });
  const options = ['--no-pictures', '--quiet', '--as-analysed'];
  await stiltforge(['part.stl', '--center', '--out', 'one', ...options], { cwd });
  const words = ['part.stl', '--copies', '4', '--gap', '2', '--out', 'four', ...options];
  const { code, err } = await stiltforge(words, { cwd });
  assert.equal(code, 0, err);
  const one = await documentIn(join(cwd, 'one'));
  const four = await documentIn(join(cwd, 'four'));
  assert.equal(four.model.file, 'part.stl');
  assert.deepEqual(
    four.model.plate.map(({ file }) => file),
    Array(4).fill('part.stl'),
  );
  assert.equal(four.summary.islands, 4 * one.summary.islands);
  const [from, to] = [four.model.min, four.model.max];
  for (const axis of [0, 1]) assert.ok(Math.abs(from[axis] + to[axis]) < 0.1, 'in the middle');
  const xs = four.model.plate.map(({ move }) => move[0]).sort((a, b) => a - b);
  const ys = four.model.plate.map(({ move }) => move[1]).sort((a, b) => a - b);
  for (const [places, size] of [
    [xs, 10],
    [ys, 4],
  ]) {
    const steps = places.slice(1).map((place, i) => place - places[i]);
    assert.ok(
      steps.every((step) => step < 0.01 || step > size + 2 - 0.01),
      `${steps}`,
    );
  }
  for (const { move } of four.model.plate) {
    const inside = four.supports.filter(
      ({ x, y }) => x > move[0] - 1 && x < move[0] + 11 && y > move[1] - 1 && y < move[1] + 5,
    );
    assert.equal(inside.length, one.supports.length);
  }
  for (const [number, { min, max }] of four.model.plate.entries()) {
    const own = four.supports.filter(({ part }) => part === number);
    assert.equal(own.length, one.supports.length);
    for (const { x, y } of own) {
      assert.ok(x > min[0] && x < max[0] && y > min[1] && y < max[1], `${[x, y, min, max]}`);
    }
  }
  assert.ok(one.supports.every(({ part }) => part === undefined));
  const table = await readFile(join(cwd, 'four/points.csv'), 'utf8');
  const [names, ...rows] = table.trimEnd().split('\n');
  assert.equal(names, 'x_mm,y_mm,z_mm,column,row,layer,region,kind,reason,part');
  assert.deepEqual(
    rows.map((row) => Number(row.split(',').at(-1))),
    four.supports.map(({ part }) => part),
  );
});

test('--plate makes one print of several meshes', async (t) => {
  const cwd = await folderWith(t, {
    'table.stl': binaryStl(table()),
    'island.stl': binaryStl(footAndIsland().map((face) => face.map(([x, y, z]) => [x, y, z + 7]))),
  });
  const words = ['table.stl', 'island.stl', '--plate', '--copies', '2', '--format', 'json,3mf'];
  const { code, out, err } = await stiltforge([...words, '--no-pictures'], { cwd });
  assert.equal(code, 0, err);
  assert.match(out, /^table\.stl, island\.stl\n/);
  const document = await documentIn(join(cwd, 'plate-supports'));
  assert.deepEqual(
    document.model.plate.map(({ file }) => file),
    ['table.stl', 'table.stl', 'island.stl', 'island.stl'],
  );
  assert.equal(document.model.plate[3].move[2], -7, 'each stands on the plate');
  assert.equal(document.summary.islands, 2);
  assert.deepEqual(
    document.islands.map(({ part }) => part),
    [2, 3],
  );
  const perPart = [0, 1, 2, 3].map(
    (number) => document.supports.filter(({ part }) => part === number).length,
  );
  assert.equal(perPart[0], perPart[1]);
  assert.match(
    out,
    new RegExp(
      `by part +2 table\\.stl with ${perPart[0]} each, 2 island\\.stl with ${perPart[2]} each\n`,
    ),
  );
  assert.equal(document.model.mesh.triangles, 2 * table().length + 2 * footAndIsland().length);

  const inspected = await stiltforge(
    ['inspect', 'plate-supports', '--layer', '41', '--region', '1'],
    { cwd },
  );
  assert.equal(inspected.code, 0, inspected.err);
  const model = ['--model', 'table.stl', '--layer', '4', '--region', '1'];
  const refused = await stiltforge(['inspect', 'plate-supports', ...model], { cwd });
  assert.equal(refused.code, 2);
  assert.match(refused.err, /a plate of 2 meshes\. Put them here or beside the folder/);
});

test('what finds no room on the screen is named with its size, and nothing is written', async (t) => {
  const cwd = await folderWith(t, {
    'block.stl': binaryStl(box([0, 0, 0], [40, 30, 5])),
    'wide.stl': binaryStl(box([0, 0, 0], [300, 10, 5])),
  });
  const screen = ['--screen', '2000x1400', '--pixel-size', '0.05'];
  const words = ['block.stl', 'wide.stl', '--plate', '--copies', '5', ...screen];
  const { code, err } = await stiltforge(words, { cwd });
  assert.equal(code, 3);
  assert.equal(
    err,
    'stiltforge: 6 of 10 parts find no room on the screen of 100 x 70 mm with 5 mm between parts: ' +
      'block.stl (40 x 30 mm), 5 times wide.stl (300 x 10 mm). Give fewer, less --gap, or a larger ' +
      'screen.\n',
  );
  assert.deepEqual(await readdir(cwd), ['block.stl', 'wide.stl']);
});

test('layers of a printer file are cut already: no plate, no copies', async (t) => {
  const cwd = await folderWith(t, { 'plate.sl1': sl1(), 'table.stl': binaryStl(table()) });
  for (const words of [
    ['plate.sl1', '--copies', '2'],
    ['table.stl', 'plate.sl1', '--plate'],
  ]) {
    const { code, err } = await stiltforge(words, { cwd });
    assert.equal(code, 2);
    assert.match(err, /of plate\.sl1 its layers are cut already/);
  }
});

test('a number of copies that is none, and a gap that is none, are refused', async () => {
  for (const words of [
    ['--copies', '0'],
    ['--copies', '2.5'],
    ['--gap', '-1'],
  ]) {
    const { code, err } = await stiltforge(['part.stl', ...words]);
    assert.equal(code, 2);
    assert.match(err, /must be/);
  }
});
