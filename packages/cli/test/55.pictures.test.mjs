// What the pictures show, and what drawing them costs.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { Readable } from 'node:stream';
import { test } from 'node:test';
import { sidesPicture, undersidePicture } from '../dist/pictures/part_picture.js';
import { partScene } from '../dist/pictures/part_scene.js';
import { drawView, frameOf } from '../dist/pictures/part_view.js';
import { scaleBar } from '../dist/pictures/scale_bar.js';
import { sliceSheet } from '../dist/pictures/slice_sheet.js';
import { cornerNormals } from '../dist/pictures/surface_normals.js';
import { Visibility } from '../dist/pictures/visibility.js';
import { mostDrawnBuilt, withShownSupports } from '../dist/shown_supports.js';
import { start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box } from './meshes.mjs';

const triangles = (list) => Float32Array.from(list.flat(2));
const turnedInward = (list) => list.map(([a, b, c]) => [a, c, b]);
const fromAbove = { azimuth: -60, elevation: 30, withPlate: false };
const fromBelow = { azimuth: -60, elevation: -30, withPlate: false };

/** Pixels of a view in the colour of a point under an overhang. */
function orangePixels(mesh, positions, view) {
  const points = positions.map((position) => ({ position, kind: 'overhang' }));
  const scene = partScene(triangles(mesh), points, 45, 0.05);
  const rgb = drawView(scene, view, frameOf(scene, view, 300, 300));
  let count = 0;
  for (let i = 0; i < rgb.length; i += 3) {
    if (rgb[i] > 150 && rgb[i + 1] < 0.6 * rgb[i] && rgb[i + 2] < 40) count++;
  }
  return count;
}

// 20 mm wide, its walls a quarter of a millimetre thick: thinner than a point is drawn.
const shell = [
  ...box([0, 0, 0], [20, 20, 20]),
  ...turnedInward(box([0.25, 0.25, 0.25], [19.75, 19.75, 19.75])),
];

test('a point on an inner surface does not shine through the skin', () => {
  const inside = [
    [10, 10, 19.75],
    [10, 0.3, 19.75],
    [19.7, 10, 19.75],
  ];
  for (const view of [fromAbove, fromBelow]) assert.equal(orangePixels(shell, inside, view), 0);
});

test('a point on the underside is seen from below, not through a thin plate from above', () => {
  const plate = [...box([0, 0, 10], [20, 20, 10.1]), ...box([0, 0, 0], [4, 4, 10])];
  const point = [[14, 10, 10]];
  assert.ok(orangePixels(plate, point, fromBelow) > 3);
  assert.equal(orangePixels(plate, point, fromAbove), 0);
});

test('a point behind an edge is seen as far as it looks out', () => {
  const column = [...box([0, 0, 0], [6, 6, 20]), ...box([0, -6, 12], [6, 6, 20])];
  const level = { azimuth: -90, elevation: 4, withPlate: false };
  assert.ok(orangePixels(column, [[3, -5.9, 12]], level) > 3);
});

test('triangles side by side cover each sample once', () => {
  const size = 40;
  const corner = (i, j) => [
    (i * size) / 8 + (i % 8 === 0 ? 0 : Math.sin(7 * i + 3 * j)),
    (j * size) / 8 + (j % 8 === 0 ? 0 : Math.cos(5 * i + 2 * j)),
    0,
  ];
  const hits = new Uint8Array(size * size);
  for (let i = 0; i < 8; i++) {
    for (let j = 0; j < 8; j++) {
      const [a, b, c, d] = [corner(i, j), corner(i + 1, j), corner(i + 1, j + 1), corner(i, j + 1)];
      for (const triangle of [
        [a, b, c],
        [a, c, d],
      ]) {
        const samples = new Visibility(size, size);
        samples.drawTriangles(Float32Array.from(triangle.flat()), 0);
        samples.surface.forEach((surface, sample) => {
          if (surface === 0) hits[sample]++;
        });
      }
    }
  }
  assert.ok(hits.every((count) => count === 1));
});

test('the nearer surface is seen, whatever is drawn first', () => {
  const square = (depth) => Float32Array.from([0, 0, depth, 9, 0, depth, 0, 9, depth]);
  for (const [first, second] of [
    [1, 2],
    [2, 1],
  ]) {
    const samples = new Visibility(4, 4);
    samples.drawTriangles(square(first), first);
    samples.drawTriangles(square(second), second);
    assert.equal(samples.surface[5], 1);
  }
});

test('sharp edges stay sharp, gentle bends become smooth', () => {
  const normals = cornerNormals(triangles(box([0, 0, 0], [1, 1, 1])));
  for (let i = 0; i < normals.length; i += 3) {
    assert.equal(Math.abs(normals[i]) + Math.abs(normals[i + 1]) + Math.abs(normals[i + 2]), 1);
  }
  const roof = [
    [
      [0, 0, 0],
      [4, 0, 0],
      [0, 4, 1],
    ],
    [
      [4, 0, 0],
      [0, 0, 0],
      [0, -4, 1],
    ],
  ];
  const [, y, z] = cornerNormals(triangles(roof));
  assert.ok(Math.abs(y) < 1e-6 && Math.abs(z - 1) < 1e-6, 'the two normals at the ridge are one');
});

test('the bar of a slice is a round number of millimetres long', () => {
  for (const [perMillimetre, longest, width, words] of [
    [20, 145, 100, 5],
    [7.5, 145, 75, 10],
    [300, 145, 60, 0.2],
    [0.05, 145, 100, 2000],
  ]) {
    const svg = scaleBar(20, 500, perMillimetre, longest);
    assert.equal(Number(/width="([\d.]+)"/.exec(svg)[1]), width, `${words} mm`);
  }
});

test('regions, islands and overhangs of a slice have the colours of the legend', async () => {
  const width = 40;
  const height = 20;
  const labels = new Uint32Array(width * height).fill(0xff000000);
  const supportValues = new Uint8Array(width * height);
  for (let row = 4; row < 16; row++) {
    for (let column = 4; column < 36; column++) {
      const region = column < 12 ? 1 : column < 24 ? 2 : 3;
      labels[row * width + column] = 0x80000000 + region;
      supportValues[row * width + column] = region === 2 ? 255 : 0;
    }
  }
  const slice = {
    title: 'Layer 7',
    caption: '3 regions',
    width,
    height,
    pixelSize: 0.05,
    box: { left: 4, top: 4, right: 36, bottom: 16 },
    labels,
    supportValues,
    islands: new Set([1]),
    points: [],
    earlierPoints: [],
  };
  const { default: sharp } = await import('sharp');
  const { sheet, tiles } = await sliceSheet(Readable.from([slice, slice]), 2, 'part', 'below', {
    dropped: 'left out',
  });
  const sizes = await Promise.all([sheet, ...tiles].map((png) => sharp(png).metadata()));
  assert.deepEqual([sizes[1].width, sizes[2].width, sizes[0].width], [620, 620, 1240]);
  assert.ok(sizes[0].height > sizes[1].height + 70, 'room for a title and the legend');
  const pixels = await sharp(tiles[1]).raw().toBuffer();
  const at = (share) => {
    const pixel = 3 * (270 * 620 + Math.round(20 + share * 580));
    return [...pixels.subarray(pixel, pixel + 3)];
  };
  assert.deepEqual(at(0.2), [247, 148, 128], 'the island');
  assert.deepEqual(at(0.5), [207, 190, 226], 'the second region, held by what is below');
  assert.deepEqual(
    at(0.8),
    [244, 220, 160].map((channel) => Math.floor(0.62 * channel)),
  );
  assert.deepEqual(at(0.01), [248, 250, 251], 'the background');
});

test('supports that were built stand in the place of pillars', () => {
  const mesh = triangles(box([10, 0, 5], [14, 4, 9]));
  const points = [{ position: [12, 2, 5], kind: 'overhang' }];
  const built = triangles(box([11, 1, 0], [13, 3, 5]));
  const { pillars } = partScene(mesh, points, 45, 0.05, 5, built);
  const expected = triangles(box([-1, -1, 0], [1, 1, 5]));
  assert.deepEqual(pillars.positions, expected, 'moved as the part is');
  assert.equal(pillars.normals.length, built.length);
});

test('a part is drawn with the supports that its geometry has', async (t) => {
  const folder = await temporaryFolder(t);
  const table = [...box([0, 0, 0], [4, 4, 12]), ...box([0, 0, 12], [20, 12, 15])];
  await writeFile(join(folder, 'table.stl'), binaryStl(table));
  const pictureOf = async (out, ...words) => {
    const all = ['table.stl', '--out', out, '--layer-height', '0.1', ...words];
    const { code, err } = await stiltforge(all, { cwd: folder });
    assert.equal(code, 0, err);
    return readFile(join(folder, out, 'part.png'));
  };
  const [usual, geometry, thick] = await Promise.all([
    pictureOf('usual'),
    pictureOf('geometry', '--format', 'stl'),
    pictureOf('thick', '--format', 'stl', '--pillar-diameter', '2'),
  ]);
  assert.ok(usual.equals(geometry));
  assert.ok(!usual.equals(thick));
});

test('supports of a large part are built for a report, not for pictures alone', async () => {
  const mesh = triangles(box([0, 0, 3], [6, 6, 5]));
  const document = { supports: [{ x: 3, y: 3, z: 3 }], print: { layerHeight: 0.05 } };
  const shown = (many, job) =>
    withShownSupports(job, { mesh, document, slicer: { plateZ: 0, report: { triangles: many } } });
  const small = mostDrawnBuilt.triangles;
  assert.ok((await shown(small, { pictures: true })).built.positions.length > 0);
  assert.equal((await shown(small + 1, { pictures: true })).built, undefined);
  assert.equal((await shown(small, { pictures: false })).built, undefined);
  assert.ok((await shown(small + 1, { pictures: false, report: true })).built);
});

test('the pictures of a part with many points are drawn, and how long it took is told', async (t) => {
  const { default: sharp } = await import('sharp');
  const points = Array.from({ length: 150 }, (_, i) => ({
    position: [(i * 7) % 20, (i * 3) % 20, 20],
    kind: 'overhang',
  }));
  const before = process.cpuUsage();
  const scene = partScene(triangles(box([0, 0, 0], [20, 20, 20])), points, 45, 0.05);
  const words = { title: 'cube', points: { overhang: '150 under overhangs' } };
  const pictures = [
    await sidesPicture(scene, words, async () => {}),
    await undersidePicture(scene, words, async () => {}),
  ];
  const { user, system } = process.cpuUsage(before);
  t.diagnostic(`${(user + system) / 1e6} s of processor time`);
  for (const png of pictures) assert.equal((await sharp(png).metadata()).format, 'png');
});

test('a run without pictures loads nothing that draws', async (t) => {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'cube.stl'), binaryStl(box([0, 0, 0], [4, 4, 4])));
  const preload = `data:text/javascript,import Module from 'node:module';
    process.on('exit', () => console.log(Object.keys(Module._cache).join(' ')));`;
  const loaded = async (words) => {
    const { done } = start(['cube.stl', ...words], {
      cwd: folder,
      env: { NODE_OPTIONS: `--import=${encodeURI(preload)}` },
    });
    const { code, out, err } = await done;
    assert.equal(code, 0, err);
    return out;
  };
  const drawing = /node_modules[/\\](sharp|opentype\.js|cli-progress)[/\\]/;
  assert.doesNotMatch(await loaded(['--no-pictures']), drawing);
  assert.match(await loaded([]), drawing);
});
