// Supports as they are finished, as the analysis proposes them, and what is said of what they hold.
import assert from 'node:assert/strict';
import { readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import sharp from 'sharp';
import { Analysis } from 'stiltforge/analysis';
import { createSlicer } from 'stiltforge/slicing';
import { analysisParameters, defaultPrint, defaultSupport } from '../dist/index.js';
import { stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, footAndSpike, table } from './meshes.mjs';

/** What the command says of a part, and writes. */
async function run(t, triangles, words = ['--no-pictures']) {
  const folder = await temporaryFolder(t);
  await writeFile(join(folder, 'part.stl'), binaryStl(triangles));
  const result = await stiltforge(['part.stl', ...words], { cwd: folder });
  assert.equal(result.code, 0, result.err);
  const outputs = join(folder, 'part-supports');
  const read = (name) => readFile(join(outputs, name), 'utf8');
  return {
    ...result,
    ...{
      outputs,
      document: JSON.parse(await read('supports.json')),
      csv: await read('points.csv'),
    },
    warnings: result.err.split('\n').filter((line) => line.includes('warning')),
  };
}

const row = (out, name) => new RegExp(`^  ${name} +(.*)$`, 'm').exec(out)?.[1];

const turnedInward = (triangles) => triangles.map(([a, b, c]) => [a, c, b]);

/** The part, turned about the y axis. */
const tilted = (triangles, degrees) => {
  const [c, s] = [Math.cos, Math.sin].map((f) => f((degrees * Math.PI) / 180));
  return triangles.map((corners) => corners.map(([x, y, z]) => [c * x + s * z, y, c * z - s * x]));
};

/** A table whose top begins as a comb of thin bars, that are one plate a millimetre higher. */
const comb = () => [
  ...box([0, 0, 0], [20, 6, 1]),
  ...box([0, 2, 0.5], [2, 4, 8]),
  ...Array.from({ length: 17 }, (_, i) => box([3 + i, 0, 6], [3.4 + i, 6, 7.2])).flat(),
  ...box([0, 0, 6.15], [20, 6, 8]),
];

const manyPoints = ['--no-pictures', '--support-area', '3'];

test('--as-analysed: the points of the analysis, in its order and to the digit', async (t) => {
  const mesh = table();
  const { csv, document } = await run(t, mesh, ['--no-pictures', '--as-analysed']);
  const positions = Float32Array.from(mesh.flat(2));
  const slicer = createSlicer({
    ...{ ...defaultPrint, positions, margin: 2 },
    ...{ criticalAngle: defaultSupport.criticalAngle, inset: defaultSupport.inset },
  });
  const analysis = Analysis.create(analysisParameters(defaultPrint, defaultSupport, slicer));
  const rows = [];
  const digits = (value) => Math.round(1000 * value) / 1000;
  for await (const { layer, layerIndex } of analysis.run(slicer)) {
    layer.groups.forEach(({ supports }, group) => {
      for (const { x, y, isMinima } of supports) {
        const [column, row] = [slicer.cropX + x, slicer.cropY + y];
        rows.push(
          [
            digits(slicer.originX + (column + 0.5) * defaultPrint.pixelSize),
            digits(slicer.originY - (row + 0.5) * defaultPrint.pixelSize),
            digits(layerIndex * defaultPrint.layerHeight),
            ...[column, row, layerIndex, group + 1, isMinima ? 'island' : 'overhang'],
          ].join(','),
        );
      }
    });
  }
  await analysis.close();
  assert.ok(rows.length > 4);
  const [head, ...lines] = csv.trimEnd().split('\n');
  assert.equal(head, 'x_mm,y_mm,z_mm,column,row,layer,region,kind,reason');
  assert.deepEqual(
    lines,
    rows.map((point) => `${point},analysed`),
  );
  assert.equal(document.settings.asAnalysed, true);
  assert.deepEqual([document.summary.added, document.summary.merged, document.dropped], [0, 0, []]);
});

test('the finished points are those of the analysis but for the ones dropped and added', async (t) => {
  const { document: finished } = await run(t, comb(), manyPoints);
  const { document: analysed } = await run(t, comb(), [...manyPoints, '--as-analysed']);
  const place = ({ column, row, layer }) => `${column},${row},${layer}`;
  const proposed = new Set(analysed.supports.map(place));
  const kept = finished.supports.filter(({ reason }) => !reason.startsWith('added'));
  assert.deepEqual([...kept, ...finished.dropped].map(place).sort(), [...proposed].sort());
  assert.ok(finished.dropped.length > 0);
  const { summary } = finished;
  assert.equal(summary.supports, finished.supports.length);
  assert.equal(summary.dropped, finished.dropped.length);
  assert.equal(summary.supports - summary.added + summary.dropped, analysed.supports.length);
});

test('points that stand for others name them, and they name those', async (t) => {
  const { document } = await run(t, comb(), manyPoints);
  const { supports, dropped } = document;
  assert.ok(supports.some(({ reason }) => reason === 'merged'));
  supports.forEach(({ reason, merged }, number) => {
    if (reason === 'merged') assert.ok(merged.length > 0);
    if (reason === 'analysed') assert.equal(merged, undefined);
    for (const one of merged ?? []) assert.equal(dropped[one].into, number);
  });
  for (const { reason, into } of dropped) {
    assert.match(reason, /^(merged|holdsLittle|holdsNothing|noRoom|sealedVoid)$/);
    assert.equal(reason === 'merged', into !== undefined);
  }
});

test('every point tells what its region was owed and given, and what came from below', async (t) => {
  const { document } = await run(t, table());
  for (const { owed, given, below, region } of [...document.supports, ...document.dropped]) {
    assert.ok(region >= 1 && owed >= 0 && given >= 0);
    assert.deepEqual(Object.keys(below), ['resting', 'strength', 'supports', 'height']);
  }
  const [first] = document.supports;
  // The top of 12 x 12 mm on a leg of 2 x 2 mm.
  assert.equal(first.below.resting, 4);
  assert.ok(Math.abs(first.owed - 140) < 10, `${first.owed} mm2 of 144 mm2`);
  const { document: floating } = await run(t, footAndIsland());
  const [island] = floating.supports;
  assert.deepEqual(
    { owed: island.owed, below: island.below },
    { owed: 16, below: { resting: 0, strength: 0, supports: 0, height: 0 } },
  );
});

test('the verdict: islands with what holds them, overhang and its worst places', async (t) => {
  const { document, out } = await run(t, footAndIsland());
  const { islands, verdict, supports } = document;
  assert.equal(islands.length, 1);
  const { x, y, support, ...island } = islands[0];
  assert.deepEqual(island, {
    ...{ z: 2, column: island.column, row: island.row, layer: 40, area: 16, pixels: 6400 },
    ...{ heldBy: 'support', heldFrom: 40, hasRoom: true, isSealed: false },
  });
  assert.ok(Math.hypot(x - 8, y - 2) < 0.1, 'its place is its centre');
  assert.equal(supports[support].layer, 40);
  assert.equal(verdict.overhang.area, 16);
  assert.match(
    row(out, 'held'),
    /^1 island, held; 9\d % of the overhanging surface within 3 mm of a/,
  );
});

test('a spike is held by what it grows into, or by a support of its own', async (t) => {
  const { document } = await run(t, footAndSpike());
  for (const { heldBy, heldFrom, layer } of document.islands) {
    assert.match(heldBy, /^(support|part)$/);
    assert.ok(heldFrom >= layer && heldFrom <= layer + 4);
  }
});

test('a speck of a single pixel on which nothing grows gets no support', async (t) => {
  const speck = [...box([0, 0, 0], [4, 4, 4]), ...box([8.01, 2.01, 2.01], [8.06, 2.06, 2.06])];
  const { document, out } = await run(t, speck);
  assert.equal(document.supports.length, 0);
  assert.deepEqual(
    document.islands.map(({ pixels, heldBy }) => ({ pixels, heldBy })),
    [{ pixels: 1, heldBy: null }],
  );
  assert.match(row(out, 'held'), /^1 island, 1 of a single pixel not held \(layer 40\);/);
});

test('what is not held is told with its layer, and the weakest place with its distance', async (t) => {
  const { document, out } = await run(t, footAndIsland(), ['--no-pictures', '--min-height', '2.5']);
  assert.equal(document.supports.length, 0);
  assert.deepEqual(
    document.dropped.map(({ reason }) => reason),
    document.dropped.map(() => 'noRoom'),
  );
  assert.equal(document.islands[0].heldBy, null);
  assert.match(row(out, 'held'), /^1 island, 1 not held \(layer 40\); nothing overhangs where a/);
  assert.match(row(out, 'without room'), /^16 mm2 overhang less than 2\.5 mm above the plate/);

  const bridge = [...table(), ...box([0, 0, 4], [12, 60, 4.5])];
  const sparse = await run(t, bridge, ['--no-pictures', '--support-area', '400']);
  const [weakest] = sparse.document.verdict.worst;
  assert.ok(weakest.distance > 3);
  assert.equal(
    row(sparse.out, 'weakest'),
    `layer ${weakest.layer}, ${weakest.z.toFixed(2)} mm above the plate: ` +
      `${weakest.distance.toFixed(1)} mm from the nearest support`,
  );
  assert.match(
    row(sparse.out, 'held'),
    /^no islands; \d+ % of the overhanging surface within 3 mm/,
  );
});

test('the summary is plain about what was proposed, and what is doubtful as analysed', async (t) => {
  const finished = await run(t, comb(), manyPoints);
  const { summary, supports, verdict } = finished.document;
  assert.equal(
    row(finished.out, 'finished'),
    `${supports.length - summary.added + summary.dropped} were proposed: ${summary.dropped} merged ` +
      `or left out, ${summary.added} added`,
  );
  assert.deepEqual(verdict.closePairs, []);
  assert.equal(row(finished.out, 'doubtful'), undefined);
  assert.match(row(finished.out, 'not judged'), /^forces, the resin, /);
  const analysed = await run(t, comb(), [...manyPoints, '--as-analysed']);
  assert.equal(row(analysed.out, 'finished'), undefined);
  const pairs = analysed.document.verdict.closePairs.filter(({ isSeparate }) => !isSeparate);
  assert.ok(pairs.length > 0);
  assert.match(
    row(analysed.out, 'doubtful'),
    new RegExp(`^${pairs.length} pairs? closer than 1 mm`),
  );
});

test('--min-spacing keeps the points apart', async (t) => {
  const { document } = await run(t, table(), ['--no-pictures', '--min-spacing', '3.5']);
  const { supports, settings } = document;
  assert.equal(settings.minimumSpacing, 3.5);
  supports.forEach((a, i) => {
    for (const b of supports.slice(i + 1)) {
      assert.ok(Math.hypot(a.x - b.x, a.y - b.y, a.z - b.z) >= 3.4999);
    }
  });
  const { document: usual } = await run(t, table());
  assert.ok(Math.abs(usual.settings.minimumSpacing - 1.55) < 0.01);
  assert.ok(usual.supports.length > supports.length);
});

test('--min-height: no support begins closer above the plate or the part', async (t) => {
  const { document } = await run(t, table(), ['--no-pictures', '--min-height', '2.6']);
  assert.deepEqual(document.supports, []);
  const { document: lower } = await run(t, table(), ['--no-pictures', '--min-height', '2.5']);
  assert.ok(lower.supports.length > 4);
});

test('a part that lies a little askew on the plate is told to be laid flat or lifted', async (t) => {
  const { warnings, document } = await run(t, tilted(box([0, 0, 0], [30, 10, 4]), 0.3), manyPoints);
  assert.equal(warnings.length, 1);
  assert.match(
    warnings[0],
    /: \d+ supports? w(as|ere) left out less than 0\.2 mm above the plate, where none fits: lay the part flat on the plate, or lift it by 0\.20 mm or more\.$/,
  );
  for (const { z } of document.supports) assert.ok(z >= document.model.min[2] + 0.1999);
  assert.deepEqual(document.verdict.withoutRoom, []);
});

test('a part that is lifted by what was told has room for all its supports', async (t) => {
  const ledge = [...box([2, 2, 0], [18, 18, 1]), ...box([0, 0, 0.15], [20, 20, 4])];
  for (const layerHeight of ['0.05', '0.15']) {
    const words = [...manyPoints, '--layer-height', layerHeight];
    const { warnings } = await run(t, ledge, words);
    const [, lift] = /lift it by ([\d.]+) mm or more/.exec(warnings.join());
    const lifted = await run(t, ledge, [...words, '--lift', lift]);
    assert.deepEqual(
      lifted.warnings.filter((warning) => warning.includes('lift')),
      [],
    );
    assert.equal(lifted.document.verdict.overhangWithoutRoom.area, 0);
  }
});

test('a single proposed point is told as one', async (t) => {
  const { out } = await run(t, footAndIsland(), ['--no-pictures', '--support-area', '100']);
  assert.match(row(out, 'finished'), /^1 was proposed: /);
});

test('a sealed void gets no supports, and one sentence', async (t) => {
  const hollow = [...box([0, 0, 0], [14, 14, 14]), ...turnedInward(box([1, 1, 1], [13, 13, 13]))];
  const { warnings, document } = await run(t, hollow);
  assert.equal(warnings.length, 1);
  assert.match(
    warnings[0],
    /The part has 1 sealed void, in which .*drain hole, .* \d+ supports? that w(as|ere) wanted there/,
  );
  assert.deepEqual(document.supports, []);
  assert.ok(document.dropped.every(({ reason }) => reason === 'sealedVoid'));
  assert.ok(document.verdict.overhangInSealedVoids.area > 100);

  const {
    document: all,
    warnings: once,
    out,
  } = await run(t, hollow, [...['--no-pictures', '--as-analysed']]);
  assert.equal(once.length, 1);
  assert.deepEqual(
    all.verdict.inSealedVoids,
    all.supports.map((_, number) => number),
  );
  assert.match(row(out, 'doubtful'), /\d+ supports? in sealed voids/);
});

test('a void that only the slices seal is told, too', async (t) => {
  // A cup and a lid that overlaps its rim: two sound parts.
  const cup = [
    ...box([0, 0, 0], [14, 14, 1]),
    ...box([0, 0, 0.5], [1, 14, 8]),
    ...box([13, 0, 0.5], [14, 14, 8]),
    ...box([0, 0, 0.5], [14, 1, 8]),
    ...box([0, 13, 0.5], [14, 14, 8]),
  ];
  const { warnings } = await run(t, [...cup, ...box([0, 0, 7.5], [14, 14, 9])]);
  const [sealed, ...others] = warnings.filter((line) => line.includes('drain hole'));
  assert.match(sealed, /: The slices enclose voids with \d+ mm2 of overhang, in which resin stays/);
  assert.deepEqual(others, []);
});

test('a part of the model that stands on nothing is told with its height, once', async (t) => {
  const { warnings } = await run(t, footAndIsland());
  assert.equal(warnings.length, 1);
  assert.match(warnings[0], /: A part of the model stands on nothing, 2\.00 mm above the plate: /);

  const two = [...footAndIsland(), ...box([12, 0, 1], [14, 4, 3])];
  const { warnings: both } = await run(t, two);
  assert.match(both.join(), /: 2 parts of the model stand on nothing, the lowest 1\.00 mm above/);

  const stacked = [...box([0, 0, 0], [4, 4, 2]), ...box([0, 0, 5], [4, 4, 6])];
  const { warnings: gap } = await run(t, stacked);
  assert.equal(gap.length, 1);
  assert.match(gap[0], /: A gap of 3\.00 mm begins 2\.00 mm above the plate/);
});

test('several runs at once write what each writes alone', async (t) => {
  const alone = await run(t, comb(), manyPoints);
  const together = await Promise.all(
    [comb(), comb(), comb()].map((part) => run(t, part, manyPoints)),
  );
  for (const { document, csv } of together) {
    assert.deepEqual(document, alone.document);
    assert.equal(csv, alone.csv);
  }
});

/** Pixels of a picture that have about a colour. */
async function pixelsLike(file, [red, green, blue]) {
  const bytes = await sharp(file).removeAlpha().raw().toBuffer();
  let count = 0;
  for (let i = 0; i < bytes.length; i += 3) {
    const off =
      Math.abs(bytes[i] - red) + Math.abs(bytes[i + 1] - green) + Math.abs(bytes[i + 2] - blue);
    if (off < 24) count++;
  }
  return count;
}

const added = [0x7b, 0x2f, 0xd0];
const dropped = [0x46, 0x51, 0x5c];

test('the pictures show what finishing added and left out, with a legend', async (t) => {
  const words = ['--support-area', '3'];
  const part = tilted(comb(), 3);
  const finished = await run(t, part, words);
  const analysed = await run(t, part, [...words, '--as-analysed']);
  assert.ok(finished.document.summary.added > 0 && finished.document.summary.dropped > 0);
  for (const name of ['part.png', 'part_from_below.png', 'slices.png']) {
    for (const colour of [added, dropped]) {
      assert.ok((await pixelsLike(join(finished.outputs, name), colour)) > 20, `${name} ${colour}`);
    }
    assert.equal(await pixelsLike(join(analysed.outputs, name), added), 0, name);
  }
});

test('--inspect marks what became of the points of a region', async (t) => {
  const probe = await run(t, comb(), manyPoints);
  const { layer, region } = probe.document.dropped[0];
  const words = [...manyPoints, '--inspect', `${layer}:${region}`];
  const { outputs } = await run(t, comb(), words);
  const inspect = join(outputs, 'inspect');
  const sheet = (await readdir(inspect)).find((name) => name.endsWith('.png'));
  assert.ok((await pixelsLike(join(inspect, sheet), dropped)) > 20);
});
