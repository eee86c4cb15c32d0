// --format: what the points are written to, and the project that PrusaSlicer makes its supports of.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { strFromU8, unzipSync } from 'fflate';
import sharp from 'sharp';
import { loadMesh } from 'stiltforge-cli';
import { outputNames, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';

/** Runs the command on a mesh; gives the files of the project and supports.json. */
async function projectOf(t, triangles, { file = 'part.stl', words = [] } = {}) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, file), binaryStl(triangles));
  const { code, err } = await stiltforge(
    [file, '--format', '3mf', '--format', 'json', '--no-pictures', '-q', '-o', 'out', ...words],
    { cwd: folder },
  );
  assert.equal(code, 0, err);
  const path = join(folder, 'out', 'part.3mf');
  const bytes = await readFile(path);
  const entries = Object.entries(unzipSync(bytes)).map(([name, data]) => [name, strFromU8(data)]);
  const document = JSON.parse(await readFile(join(folder, 'out', 'supports.json'), 'utf8'));
  return { folder, path, bytes, files: Object.fromEntries(entries), document };
}

const pointsFile = 'Metadata/Slic3r_PE_sla_support_points.txt';

/** The points of the only object: five numbers each. */
function pointsOf(files) {
  const [version, line] = files[pointsFile].split('\n');
  assert.equal(version, 'support_points_format_version=1');
  assert.match(line, /^object_id=1\|/);
  const numbers = line.replace('object_id=1|', '').split(' ').map(Number);
  assert.equal(numbers.length % 5, 0);
  return Array.from({ length: numbers.length / 5 }, (_, i) => numbers.slice(5 * i, 5 * i + 5));
}

test('--format says what the points are written to', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(table()));
  for (const [words, files] of [
    [[], ['points.csv', 'supports.json']],
    [['--format', 'csv'], ['points.csv']],
    [['--format', '3mf'], ['part.3mf']],
    [
      ['--format', 'json', '--format', '3mf'],
      ['part.3mf', 'supports.json'],
    ],
    [
      ['--format', 'json,csv,3mf'],
      ['part.3mf', 'points.csv', 'supports.json'],
    ],
  ]) {
    const { code } = await stiltforge(['part.stl', '--no-pictures', '-q', ...words], {
      cwd: folder,
    });
    assert.equal(code, 0);
    assert.deepEqual(await outputNames(join(folder, 'part-supports')), files, words.join(' '));
  }
  const { code, err } = await stiltforge(['part.stl', '--format', 'step'], { cwd: folder });
  assert.equal(code, 2);
  assert.match(err, /'step' is invalid\. It must be json, csv, 3mf, stl, or several with commas\./);
});

test('a project has the points about the middle of the part, and tells islands', async (t) => {
  const { files, document } = await projectOf(t, footAndIsland());
  const { min, max } = document.model;
  const points = pointsOf(files);
  assert.equal(points.length, document.supports.length);
  document.supports.forEach(({ x, y, z, kind }, i) => {
    const centre = min.map((value, axis) => (value + max[axis]) / 2);
    const place = [x - centre[0], y - centre[1], z - centre[2]];
    points[i].slice(0, 3).forEach((value, axis) => {
      assert.ok(Math.abs(value - place[axis]) < 1e-6);
    });
    assert.deepEqual(points[i].slice(3), [0.2, kind === 'island' ? 1 : 0]);
  });
  assert.ok(points.some(([, , , , island]) => island === 1));
});

test('a project has the mesh, standing in the middle of the screen', async (t) => {
  const { path, document } = await projectOf(t, box([-7, 2, 5], [1, 8, 9.5]));
  const { positions, format, objects } = await loadMesh(path);
  assert.equal(format, '3MF');
  assert.deepEqual(objects, [{ name: 'part.stl', triangles: 12 }]);
  const { screenWidth, screenHeight, pixelSize } = document.print;
  const [x, y] = [(screenWidth * pixelSize) / 2, (screenHeight * pixelSize) / 2];
  const expected = box([x - 4, y - 3, 0], [x + 4, y + 3, 4.5]).flat(2);
  positions.forEach((value, i) => {
    assert.ok(Math.abs(value - expected[i]) < 1e-4);
  });
});

test('a project keeps each position once, and no triangle without three of them', async (t) => {
  const flat = [
    [0, 0, 0],
    [0, 0, 0],
    [4, 0, 0],
  ];
  const { files } = await projectOf(t, [...box([0, 0, 0], [4, 4, 4]), flat]);
  const model = files['3D/3dmodel.model'];
  assert.equal(model.match(/<vertex /g).length, 8);
  assert.equal(model.match(/<triangle /g).length, 12);
});

test('a project is the same every time, whatever the name of the part', async (t) => {
  const file = 'a "b" & <c>.stl';
  const first = await projectOf(t, table(), { file });
  const second = await projectOf(t, table(), { file });
  assert.deepEqual(first.bytes, second.bytes);
  const { objects } = await loadMesh(first.path);
  assert.equal(objects[0].name, file);
});

test('a part that needs no points makes a project without', async (t) => {
  const { files } = await projectOf(t, box([0, 0, 0], [4, 4, 4]));
  assert.equal(files[pointsFile], 'support_points_format_version=1\n');
});

const slicer = 'prusa-slicer';
const hasSlicer = spawnSync(slicer, ['--help']).error === undefined;

test('PrusaSlicer puts a support under each of the points, none elsewhere, and it holds', {
  skip: hasSlicer ? false : `${slicer} is not installed`,
}, async (t) => {
  const underside = 3.5; // mm, of the table's top
  const { folder, path, document } = await projectOf(t, table());
  const { print, model, supports } = document;
  const [width, height] = [print.screenWidth, print.screenHeight].map((n) => n * print.pixelSize);
  const archive = join(folder, 'part.sl1');
  const { status, stdout, stderr } = spawnSync(
    slicer,
    [
      '--export-sla',
      ...['--datadir', join(folder, 'settings'), '--output', archive],
      ...['--printer-technology', 'SLA', '--center', `${width / 2},${height / 2}`],
      ...['--display-width', `${width}`, '--display-height', `${height}`],
      ...['--display-pixels-x', `${print.screenWidth}`],
      ...['--display-pixels-y', `${print.screenHeight}`],
      ...['--display-orientation', 'landscape', '--no-display-mirror-x'],
      ...['--layer-height', '0.05', '--initial-layer-height', '0.05'],
      // The part's first layer lies on the plate, as its points expect.
      ...['--supports-enable', '--pad-enable', '--pad-around-object'],
      path,
    ],
    { encoding: 'utf8' },
  );
  assert.equal(status, 0, stdout + stderr);
  const pictures = Object.entries(unzipSync(await readFile(archive)))
    .filter(([name]) => name.endsWith('.png') && !name.includes('thumbnail'))
    .sort(([a], [b]) => (a < b ? -1 : 1));
  assert.equal(pictures.length, print.layers);
  // The layer below the table shows the post, and the tips that reach up to the table.
  const [, picture] = pictures[Math.round(underside / print.layerHeight) - 1];
  const pieces = await piecesOf(picture);
  assert.equal(pieces.length, 1 + supports.length);
  for (const { x, y } of supports) {
    const column = width / 2 + x - (model.min[0] + model.max[0]) / 2;
    const row = height / 2 - y + (model.min[1] + model.max[1]) / 2;
    const nearest = Math.min(
      ...pieces.map((piece) =>
        Math.hypot(piece.x * print.pixelSize - column, piece.y * print.pixelSize - row),
      ),
    );
    assert.ok(nearest < 0.1, `${nearest.toFixed(2)} mm from ${x}, ${y} to the next tip`);
  }
  const { code, out } = await stiltforge(['check', archive, '--fail-on', 'note'], { cwd: folder });
  assert.equal(code, 0, out);
});

/** Middles of the connected pieces of a picture, pixels. */
async function piecesOf(png) {
  const { data, info } = await sharp(png).greyscale().raw().toBuffer({ resolveWithObject: true });
  const pieces = [];
  for (let start = 0; start < data.length; start++) {
    if (data[start] < 128) continue;
    const queue = [start];
    let [count, x, y] = [0, 0, 0];
    data[start] = 0;
    while (queue.length > 0) {
      const pixel = queue.pop();
      count += 1;
      x += (pixel % info.width) + 0.5;
      y += Math.floor(pixel / info.width) + 0.5;
      for (const next of [pixel - 1, pixel + 1, pixel - info.width, pixel + info.width]) {
        if (!(data[next] >= 128)) continue;
        data[next] = 0;
        queue.push(next);
      }
    }
    pieces.push({ x: x / count, y: y / count });
  }
  return pieces;
}
