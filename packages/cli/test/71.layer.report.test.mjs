// Reports of prints that have no mesh, and of what a check found.
import assert from 'node:assert/strict';
import { readdir, readFile, rm, stat, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { createLayerSlicer, defaultSupport, openPrinterFile } from 'stiltforge/slicing';
import { analyseLayers, openPrint, packedPrint, preparePrint } from 'stiltforge-cli/part';
import { openFile, sliceShown, withoutBrowser } from '../../viewer/test/browser.mjs';
import { croppedRuns } from '../dist/output/cropped_runs.js';
import { layerSurface } from '../dist/output/layer_surface.js';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, footAndIsland } from './meshes.mjs';
import { png, screen, sl1, tableLayers, tablePngs } from './prints.mjs';

async function documentOf(file) {
  const [, json] = /id="stiltforge-document">(.*)<\/script>\n/.exec(await readFile(file, 'utf8'));
  return JSON.parse(json);
}

/** Runs of rows of text: '#' is material. */
function runsOf(rows) {
  const runs = { rowStart: [0], begin: [], end: [] };
  for (const row of rows) {
    for (const { index, 0: text } of row.matchAll(/#+/g)) {
      runs.begin.push(index);
      runs.end.push(index + text.length);
    }
    runs.rowStart.push(runs.begin.length);
  }
  return runs;
}

/** Layers of a pixel and a layer of a millimetre, x across and y against the rows. */
function layersOf(pictures, more = {}) {
  return {
    ...{ width: pictures[0][0].length, height: pictures[0].length, layers: pictures.length },
    ...{ heights: { layerHeight: 1 }, pixelWidth: 1, pixelHeight: 1 },
    placeOf: (column, row) => [column, pictures[0].length - row],
    runs: async (first, count) => pictures.slice(first, first + count).map(runsOf),
    ...more,
  };
}

/** mm3, as the triangles are turned, and how often each edge is used in one direction without the other. */
function measure(positions) {
  let volume = 0;
  const edges = new Map();
  for (let i = 0; i < positions.length; i += 9) {
    const [a, b, c] = [0, 3, 6].map((k) => [...positions.subarray(i + k, i + k + 3)]);
    volume += a[0] * (b[1] * c[2] - b[2] * c[1]);
    volume += a[1] * (b[2] * c[0] - b[0] * c[2]);
    volume += a[2] * (b[0] * c[1] - b[1] * c[0]);
    for (const [from, to] of [
      [a, b],
      [b, c],
      [c, a],
    ]) {
      const key = `${from} ${to}`;
      const back = `${to} ${from}`;
      if (edges.get(back)) edges.set(back, edges.get(back) - 1);
      else edges.set(key, (edges.get(key) ?? 0) + 1);
    }
  }
  const open = [...edges.values()].reduce((sum, count) => sum + count, 0);
  return { volume: volume / 6, open };
}

const block = Array(6).fill(Array(8).fill('..######..'));
const blob = [
  ['.......', '..###..', '..###..', '.......'],
  ['..###..', '.#####.', '.#####.', '..###..'],
  ['.#####.', '#######', '#######', '.#####.'],
  ['..#.#..', '.##.##.', '.##.##.', '..#.#..'],
];

test('the surface of layers is closed and has material inside', async () => {
  for (const [pictures, volume] of [
    [block, 288],
    [blob, 60],
  ]) {
    const { positions, tolerance } = await layerSurface(layersOf(pictures));
    const measured = measure(positions);
    assert.equal(measured.open, 0);
    assert.ok(
      measured.volume > 0.7 * volume && measured.volume < 1.25 * volume,
      `${measured.volume}`,
    );
    assert.equal(tolerance, 1);
  }
});

test('... also where the plate shows mirrored or turned', async () => {
  const places = [
    (column, row) => [-column, -row],
    (column, row) => [column, row],
    (column, row) => [row, column],
    (column, row) => [-row, column],
  ];
  for (const placeOf of places) {
    const { positions } = await layerSurface(layersOf(blob, { placeOf }));
    const { volume, open } = measure(positions);
    assert.equal(open, 0);
    assert.ok(volume > 0, `${placeOf}`);
  }
});

test('the surface stays within the box of the layers', async () => {
  const { positions } = await layerSurface(layersOf(block));
  for (let i = 0; i < positions.length; i += 3) {
    assert.ok(positions[i] >= 0 && positions[i] <= 10);
    assert.ok(positions[i + 1] >= 0 && positions[i + 1] <= 8);
    assert.ok(positions[i + 2] >= 0 && positions[i + 2] <= 6);
  }
});

test('the surface is higher by what the first layer is thicker', async () => {
  const heights = { layerHeight: 1, firstLayerHeight: 3 };
  const topOf = async (more) => {
    const { positions } = await layerSurface(layersOf(block, more));
    return Math.max(...positions.filter((_, i) => i % 3 === 2));
  };
  assert.equal(await topOf({ heights }), (await topOf()) + 2);
});

test('layers of many pixels are seen coarser, which is told', async () => {
  const wide = Array(4).fill(Array(720).fill('#'.repeat(720)));
  const { positions, tolerance } = await layerSurface(layersOf(wide));
  assert.equal(tolerance, 4);
  assert.ok(positions.length / 9 < 500_000);
  assert.ok(Math.abs(measure(positions).volume / (720 * 720 * 4) - 1) < 0.1);
});

test('the check, the shape and the pictures of a print are all told as they go on', async (t) => {
  const path = join(await temporaryFolder(t), 'plate.sl1');
  await writeFile(path, sl1(Array(4).fill(tablePngs).flat()));
  const printed = await openPrint(path, {});
  const host = { generator: 'test', memory: 1e9 };
  const prepared = preparePrint({ name: path, printed, support: defaultSupport }, {}, host);
  const shares = [];
  await packedPrint(prepared, await analyseLayers(prepared, {}), (share) => shares.push(share));
  const gaps = shares.map((share, i) => share - (shares[i - 1] ?? 0));
  assert.ok(Math.min(...gaps) >= 0, `${shares}`);
  // So few layers are checked at once.
  assert.ok(shares[0] > 0 && shares[0] < 0.5, `${shares}`);
  assert.ok(Math.max(...gaps.slice(1)) < 0.2, `${shares}`);
  assert.equal(shares.at(-1), 1);
});

test('a report goes by the layers that the analysis has decoded, where they may stay', async (t) => {
  const host = { generator: 'test', memory: 1e9 };
  for (const isReadAgain of [true, false]) {
    const path = await temporaryFolder(t);
    const names = tablePngs.map((_, i) => join(path, `layer${i}.png`));
    for (const [i, png] of tablePngs.entries()) await writeFile(names[i], png);
    const given = { layerHeight: 0.05, pixelSize: 0.05, isReadAgain };
    const printed = await openPrint(path, given);
    const prepared = preparePrint({ name: path, printed, support: defaultSupport }, {}, host);
    const part = await analyseLayers(prepared, {});
    for (const name of names) await rm(name);
    const packed = packedPrint(prepared, part);
    if (isReadAgain) assert.equal((await packed).document.layers.regions.length, names.length);
    else await assert.rejects(packed, { code: 'ERR_STILTFORGE_FILE' });
  }
});

test('the layers of a crop are those of its slicer', async (t) => {
  const path = join(await temporaryFolder(t), 'plate.sl1');
  await writeFile(path, sl1());
  const file = await openPrinterFile(path);
  const settings = { layerHeight: 0.05, pixelSize: 0.05 };
  const slicer = createLayerSlicer(file, settings);
  const count = Math.min(16, file.layerCount);
  const read = await slicer.runs(0, count);
  const rows = read.flatMap(({ rowStart }) =>
    Array.from(rowStart, (_, row) => row).filter((row) => rowStart[row + 1] > rowStart[row]),
  );
  const columns = {
    begin: read.flatMap(({ begin }) => [...begin]),
    end: read.flatMap(({ end }) => [...end]),
  };
  const crop = { column: Math.min(...columns.begin), row: Math.min(...rows) };
  const width = Math.max(...columns.end) - crop.column;
  const height = Math.max(...rows) + 1 - crop.row;
  const part = { cropX: crop.column, cropY: crop.row, width, height };
  const expected = await createLayerSlicer(file, { ...settings, ...part }).runs(0, count);
  for (const [i, runs] of read.entries()) {
    assert.deepEqual(croppedRuns(runs, { ...crop, height }), expected[i]);
  }
});

test('--report of a printer file shows its layers, the shape that they make and the points', async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'plate.sl1'), sl1());
  const { code, out, err } = await stiltforge(['plate.sl1', '--report', '--no-pictures'], { cwd });
  assert.equal(code, 0, err);
  assert.match(out, /report\.html/);
  const folder = join(cwd, 'plate-supports');
  const supports = JSON.parse(await readFile(join(folder, 'supports.json'), 'utf8'));
  const { part, mesh, layers } = await documentOf(join(folder, 'report.html'));
  assert.equal(part.supports.length, supports.supports.length);
  assert.ok(part.supports.length > 0);
  assert.deepEqual(part.model.min, supports.model.min);
  assert.ok(mesh.isOfLayers && mesh.triangles > 100);
  assert.equal(layers.regions.length, tableLayers.length);
  // The grid leads from a point's pixel to its place.
  const { corner, column, row } = part.print.grid;
  for (const point of part.supports) {
    for (const [axis, name] of ['x', 'y'].entries()) {
      const at = corner[axis] + (point.column + 0.5) * column[axis] + (point.row + 0.5) * row[axis];
      assert.ok(Math.abs(at - point[name]) < 1e-3, `${name}: ${at}, ${point[name]}`);
    }
  }
  assert.ok(part.print.crop.width < screen.width, 'the empty part of the screen is left out');
});

test('check --report writes a page beside what it prints, for each file', async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'plate.sl1'), sl1());
  await writeFile(join(cwd, 'part.stl'), binaryStl(footAndIsland()));
  const words = ['check', 'plate.sl1', 'part.stl', '--report', '--out', 'pages'];
  const { code, out } = await stiltforge([...words], { cwd });
  assert.equal(code, 1);
  assert.match(out, /plate\.sl1: 50 layers/);
  assert.deepEqual(await readdir(join(cwd, 'pages')), ['part-check', 'plate-check']);
  for (const name of ['part', 'plate']) {
    const { part } = await documentOf(join(cwd, 'pages', `${name}-check`, 'report.html'));
    assert.equal(part.supports.length, 0);
    assert.ok(part.check.counts.fails > 0);
    assert.equal(part.check.findings[0].severity, 'fails');
  }
  const again = await stiltforge(words, { cwd });
  assert.equal(again.code, 1, 'its own page is replaced');
  await writeFile(join(cwd, 'pages/plate-check/report.html'), 'mine');
  const refused = await stiltforge(words, { cwd });
  assert.equal(refused.code, 4);
  assert.match(refused.err, /plate-check\/report\.html: this file was not written by stiltforge/);
  assert.match(refused.out, /part\.stl: /, 'the others are checked');
  assert.equal((await stiltforge([...words, '--force'], { cwd })).code, 1);
});

test('the points of a checked mesh are in its page, with their reason where the list says it', async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'part.stl'), binaryStl(footAndIsland()));
  await stiltforge(['part.stl', '--no-pictures', '--quiet'], { cwd });
  const points = ['--points', 'part-supports/points.csv'];
  const { code } = await stiltforge(['check', 'part.stl', ...points, '--report'], { cwd });
  assert.equal(code, 0);
  const supports = JSON.parse(await readFile(join(cwd, 'part-supports/supports.json'), 'utf8'));
  const { part } = await documentOf(join(cwd, 'part-check/report.html'));
  const told = ({ x, y, z, column, row, layer, region, kind }) => [
    x,
    y,
    z,
    column,
    row,
    layer,
    region,
    kind,
  ];
  assert.deepEqual(part.supports.map(told), supports.supports.map(told));
  await writeFile(join(cwd, 'points.csv'), '6,1,2\n8,2,2\n');
  await stiltforge(['check', 'part.stl', '--points', 'points.csv', '--report'], { cwd });
  const bare = await documentOf(join(cwd, 'part-check/report.html'));
  assert.deepEqual(
    bare.part.supports.map(({ region }) => region),
    [0, 0],
  );
});

test('a page of layers opens and leads to what was found', { skip: withoutBrowser }, async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'plate.sl1'), sl1());
  await stiltforge(['check', 'plate.sl1', '--report'], { cwd });
  const file = join(cwd, 'plate-check/report.html');
  assert.ok((await stat(file)).size < 8e6);
  const { page, asked, complaints } = await openFile(t, file);
  await page.getByText('Would fail').waitFor();
  await page.getByText('Check report').waitFor();
  const { part } = await documentOf(file);
  const { place } = part.check.findings[0];
  await page
    .getByRole('button', { name: `layer ${place.layer}` })
    .first()
    .click();
  await sliceShown(page, place.layer);
  assert.deepEqual([asked, complaints], [[], []]);
});

test('a print without material has a page, too', async (t) => {
  const cwd = await temporaryFolder(t);
  const empty = png(screen.width, screen.height, Buffer.alloc(screen.width * screen.height));
  await writeFile(join(cwd, 'empty.sl1'), sl1(Array(5).fill(empty)));
  const { code, err } = await stiltforge(['check', 'empty.sl1', '--report'], { cwd });
  assert.equal(code, 1, err);
  const { part, mesh } = await documentOf(join(cwd, 'empty-check/report.html'));
  assert.equal(part.check.findings[0].kind, 'emptyLayers');
  assert.equal(mesh.triangles, 0);
});
