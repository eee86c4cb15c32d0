// stiltforge check: whether prints hold as they are.
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { basename, extname, join } from 'node:path';
import { test } from 'node:test';
import { setTimeout } from 'node:timers/promises';
import { strToU8, zipSync } from 'fflate';
import sharp from 'sharp';
import { start, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box, footAndIsland, table } from './meshes.mjs';

const coarse = ['--pixel-size', '0.1', '--layer-height', '0.1', '--screen', '400x400'];

/** A file with that name in a folder that goes with the test. */
async function fileOf(t, name, content) {
  const file = join(await temporaryFolder(t), name);
  await writeFile(file, content);
  return file;
}

const stl = (t, triangles, name = 'part.stl') => fileOf(t, name, binaryStl(triangles));

const side = 40;

/** An SL1 of layers of 40 x 40 pixels of 0.1 mm; each is a list of [left, top, right, bottom]. */
async function sl1(
  t,
  layers,
  { layerHeight = '0.1', name = 'print.sl1', display = '4', more = '' } = {},
) {
  const pictures = await Promise.all(
    layers.map(async (rectangles, i) => {
      const pixels = Buffer.alloc(side * side);
      for (const [left, top, right, bottom] of rectangles) {
        for (let y = top; y < bottom; y++) pixels.fill(255, y * side + left, y * side + right);
      }
      const raw = { width: side, height: side, channels: 1 };
      const png = await sharp(pixels, { raw }).toColourspace('b-w').png().toBuffer();
      return [`print${String(i).padStart(5, '0')}.png`, new Uint8Array(png)];
    }),
  );
  const config = layerHeight === null ? '' : `layerHeight = ${layerHeight}\n`;
  const entries = {
    'config.ini': strToU8(`${config}numSlow = 0\nnumFast = ${layers.length}\n`),
    'prusaslicer.ini': strToU8(
      `display_width = ${display}\ndisplay_height = ${display}\ndisplay_pixels_x = ${side}\ndisplay_pixels_y = ${side}\n${more}`,
    ),
    ...Object.fromEntries(pictures),
  };
  return fileOf(t, name, zipSync(entries, { level: 0 }));
}

const foot = [5, 5, 15, 15];
const sound = Array(20).fill([foot]);
/** A block that begins in the air. */
const faulty = [...Array(10).fill([foot]), ...Array(10).fill([foot, [25, 5, 35, 15]])];

test('a mesh that is not closed is told: what is checked was guessed', async (t) => {
  const open = box([0, 0, 0], [4, 4, 3]).filter((corners) => !corners.every(([x]) => x === 4));
  const part = await stl(t, open);
  const { code, err } = await stiltforge(['check', part, ...coarse, '--quiet']);
  assert.equal(code, 0);
  assert.match(err, /^stiltforge: warning: .*part\.stl: The mesh has 4 open edges, .* up to 4 mm/);
});

test('a part that holds gives exit code 0 and one sentence', async (t) => {
  const part = await stl(t, box([0, 0, 0], [4, 4, 3]));
  const { code, out } = await stiltforge(['check', part, ...coarse, '--quiet']);
  assert.deepEqual([code, out], [0, '']);
  const loud = await stiltforge(['check', part, ...coarse]);
  assert.equal(loud.code, 0);
  assert.match(loud.out, /part\.stl: 30 layers, 48 mm3\n {2}holds; nothing was found\n/);
});

test('a part without its supports gives exit code 1 and a table', async (t) => {
  const part = await stl(t, footAndIsland());
  const { code, out, err } = await stiltforge(['check', part, ...coarse]);
  assert.equal(code, 1, err);
  assert.match(out, /finding +layers +x mm +y mm +z mm +size/);
  assert.match(out, /FAILS {2}part on nothing +20-29 +7\.95 +2\.05 +2\.00 +16 mm3/);
  assert.match(out, /Part on nothing: Put supports under it, or delete it\./);
});

test('... and with them 0, whichever of its files they come from', async (t) => {
  const part = await stl(t, footAndIsland());
  const folder = join(await temporaryFolder(t), 'out');
  await stiltforge([part, ...coarse, '--no-pictures', '--quiet', '--out', folder]);
  for (const name of ['points.csv', 'supports.json']) {
    const points = ['--points', join(folder, name)];
    const { code, out, err } = await stiltforge(['check', part, ...coarse, ...points]);
    assert.equal(code, 0, `${name}: ${out}${err}`);
  }
});

test('a lifted part hangs on its points: the empty layers below it are no finding', async (t) => {
  const part = await stl(t, footAndIsland());
  const folder = join(await temporaryFolder(t), 'out');
  const lifted = [...coarse, '--lift', '2'];
  await stiltforge([part, ...lifted, '--no-pictures', '--quiet', '--out', folder]);
  const points = ['--points', join(folder, 'points.csv')];
  const held = await stiltforge(['check', part, ...lifted, ...points]);
  assert.equal(held.code, 0, held.out);
  assert.doesNotMatch(held.out, /empty layers/);
  const bare = await stiltforge(['check', part, ...lifted]);
  assert.equal(bare.code, 1);
  assert.match(bare.out, /FAILS {2}part on nothing +20-49 /);
  assert.doesNotMatch(bare.out, /empty layers/);
});

test('the points of a lifted part are where the part is', async (t) => {
  const part = await stl(t, footAndIsland());
  const folder = join(await temporaryFolder(t), 'out');
  const lifted = [part, ...coarse, '--lift', '3'];
  await stiltforge([...lifted, '--no-pictures', '--quiet', '--out', folder]);
  const points = ['--points', join(folder, 'points.csv')];
  const { out } = await stiltforge(['check', ...lifted, ...points]);
  assert.doesNotMatch(out, /idle points|part on nothing|island/);
});

test('points of other programs need only x, y and z', async (t) => {
  const part = await stl(t, footAndIsland());
  for (const table of [
    '8,2,2\n',
    'x;y;z\r\n8;2;2\r\n\r\n',
    'name\tZ_mm\tY_mm\tX_mm\nfirst\t2\t2\t8\n',
  ]) {
    const points = await fileOf(t, 'points.txt', table);
    const { code, out, err } = await stiltforge(['check', part, ...coarse, '--points', points]);
    assert.equal(code, 0, `${table}: ${out}${err}`);
  }
});

test('points elsewhere are told', async (t) => {
  const part = await stl(t, box([0, 0, 0], [4, 4, 3]));
  const points = await fileOf(t, 'points.csv', '100,2,2\n2,2,0\n');
  const { code, out } = await stiltforge(['check', part, ...coarse, '--points', points]);
  assert.equal(code, 0);
  assert.match(out, /risk +idle points +20 +1 point/);
});

test('a printer file is checked with what is in its layers', async (t) => {
  assert.equal((await stiltforge(['check', await sl1(t, sound)])).code, 0);
  const { code, out, err } = await stiltforge(['check', await sl1(t, faulty)]);
  assert.equal(code, 1, err);
  assert.match(out, /print\.sl1: 20 layers, 3 mm3/);
  assert.match(out, /FAILS {2}part on nothing +10-19/);
});

test('the places of findings lie above a first layer of its own height', async (t) => {
  const file = await sl1(t, faulty, { more: 'initial_layer_height = 0.5\n' });
  const { out } = await stiltforge(['check', file, '--json']);
  const [{ findings, volume }] = JSON.parse(out).files;
  const { place, box } = findings.find(({ kind }) => kind === 'floatingPart');
  assert.equal(place.layer, 10);
  assert.equal(place.z, 1.4);
  assert.deepEqual([box.min[2], box.max[2]], [1.4, 2.4]);
  // 20 layers of a foot and 10 of a block, 1 mm2 each, and 0.4 mm more of the foot.
  assert.ok(Math.abs(volume - 3.4) < 1e-9);
});

test('a printer file that does not say its layer height needs the option', async (t) => {
  const file = await sl1(t, sound, { layerHeight: null });
  const { code, err } = await stiltforge(['check', file]);
  assert.equal(code, 2);
  assert.match(
    err,
    /print\.sl1: the file does not say how high its layers are\. Give --layer-height\.\n$/,
  );
  assert.equal((await stiltforge(['check', file, '--layer-height', '0.1'])).code, 0);
});

test('of several files each is checked, also after one that is none, and a table ends it', async (t) => {
  const files = [
    await fileOf(t, 'broken.stl', 'solid\nfacet'),
    await stl(t, footAndIsland(), 'island.stl'),
    join(await temporaryFolder(t), 'missing.stl'),
    await sl1(t, sound, { name: 'sound.sl1' }),
  ];
  const { code, out, err } = await stiltforge(['check', ...files, ...coarse]);
  assert.equal(code, 3);
  assert.match(err, /broken\.stl: /);
  assert.match(err, /missing\.stl: /);
  assert.match(out, /^\S+island\.stl: 30 layers, [\s\S]*^\S+sound\.sl1: 20 layers, .*\n {2}holds/m);
  const overview = out.slice(out.lastIndexOf('fails'));
  assert.match(overview, /broken\.stl +can't be checked, see below/);
  assert.match(overview, /island\.stl +1 +0 +0 +WOULD FAIL/);
  assert.match(overview, /missing\.stl +can't be checked, see below/);
  assert.match(overview, /sound\.sl1 +0 +0 +0 +holds\n/);
  assert.match(
    overview,
    /\n\n2 of 4 files can't be checked:\n {2}\S+broken\.stl: .*\n {2}\S+missing\.stl: .*\n$/,
  );
  const quiet = await stiltforge(['check', ...files, ...coarse, '--quiet']);
  assert.deepEqual([quiet.code, quiet.out], [3, '']);
});

test('files side by side each have the findings and the page of a check of their own', async (t) => {
  const files = [
    await stl(t, footAndIsland(), 'island.stl'),
    await sl1(t, faulty, { name: 'faulty.sl1' }),
    await sl1(t, sound, { name: 'sound.sl1' }),
  ];
  const folder = await temporaryFolder(t);
  const words = [...coarse, '--report', '--out'];
  const all = await stiltforge(['check', ...files, ...words, join(folder, 'all'), '--json']);
  assert.equal(all.code, 1, all.err);
  const documents = JSON.parse(all.out).files;
  for (const [i, file] of files.entries()) {
    const name = `${basename(file, extname(file))}-check`;
    const alone = await stiltforge(['check', file, ...words, join(folder, name), '--json']);
    assert.deepEqual(JSON.parse(alone.out).files, [documents[i]]);
    const page = await readFile(join(folder, name, 'report.html'));
    assert.ok(page.equals(await readFile(join(folder, 'all', name, 'report.html'))), name);
  }
});

/** A part of which a check takes long, with small pixels, and one of which it does not. */
async function longAndShort(t) {
  const options = ['--pixel-size', '0.004', '--screen', '60000x60000', '--layer-height', '0.005'];
  const long = await stl(t, table(), 'long.stl');
  const short = await stl(t, box([0, 0, 0], [0.2, 0.2, 0.1]), 'short.stl');
  return { long, short, options };
}

/** The processes of a command, as soon as there are any; in the order in which they were started. */
async function processesOf({ pid }) {
  for (;;) {
    const list = await readFile(`/proc/${pid}/task/${pid}/children`, 'utf8');
    if (list.trim() !== '') return list.trim().split(' ').map(Number);
    await setTimeout(5);
  }
}

test('a check whose process is killed fails alone', {
  skip: process.platform !== 'linux',
}, async (t) => {
  const { long, short, options } = await longAndShort(t);
  const { child, done } = start(['check', long, short, ...options]);
  const [first] = await processesOf(child);
  process.kill(first, 'SIGKILL');
  const { code, out, err } = await done;
  assert.equal(code, 5);
  assert.match(err, /long\.stl: its process was killed, as systems do when memory runs out/);
  assert.match(out, /long\.stl +can't be checked, see below/);
  assert.match(out, /short\.stl +0 +0 +0 +holds/);
});

test('Ctrl-C ends all checks', { skip: process.platform !== 'linux' }, async (t) => {
  const { long, options } = await longAndShort(t);
  const { child, done } = start(['check', long, long, ...options]);
  await processesOf(child);
  child.kill('SIGINT');
  const { code, out, err } = await done;
  assert.deepEqual([code, out], [130, '']);
  assert.match(err, /stiltforge: interrupted; 0 of 2 files had been checked\n$/);
});

test('memory that two files may not take together is given to one after the other', async (t) => {
  const files = [await sl1(t, sound, { name: 'a.sl1' }), await sl1(t, sound, { name: 'b.sl1' })];
  const { code, out } = await stiltforge(['check', ...files, '--memory', '0.001']);
  assert.equal(code, 0);
  assert.match(out, /a\.sl1 +0 +0 +0 +holds\n\S+b\.sl1 +0 +0 +0 +holds\n$/);
});

test('--json gives machines all of it, in one document', async (t) => {
  const files = [await sl1(t, faulty), join(await temporaryFolder(t), 'missing.stl')];
  const { code, out } = await stiltforge(['check', ...files, '--json']);
  assert.equal(code, 3);
  const document = JSON.parse(out);
  assert.equal(document.schemaVersion, 1);
  assert.equal(document.generator.name, 'stiltforge');
  const [print, missing] = document.files;
  assert.equal(missing.file, files[1]);
  assert.match(missing.error, /missing\.stl: /);
  assert.equal(missing.exitCode, 3);
  assert.deepEqual(print.counts, { fails: 1, risk: 0, note: 0 });
  assert.equal(print.layers, 20);
  const [{ place, box: around, ...finding }] = print.findings;
  assert.deepEqual(finding, {
    kind: 'floatingPart',
    severity: 'fails',
    what: 'a part of 1.00 mm3 in layers 10 to 19 stands on nothing',
    remedy: 'Put supports under it, or delete it.',
    firstLayer: 10,
    lastLayer: 19,
    count: 1,
    volume: 1,
    area: 1,
  });
  assert.deepEqual(place, { layer: 10, column: 29, row: 9, x: 2.95, y: 3.05, z: 1 });
  assert.deepEqual(around, { min: [2.5, 2.5, 1], max: [3.5, 3.5, 2] });
});

test('places are those of the plate, however the screen shows it', async (t) => {
  const placeWith = async (more) => {
    const { out } = await stiltforge(['check', await sl1(t, faulty, { more }), '--json']);
    const { x, y } = JSON.parse(out).files[0].findings[0].place;
    return [x, y];
  };
  assert.deepEqual(await placeWith(''), [2.95, 3.05]);
  assert.deepEqual(await placeWith('display_mirror_x = 1\n'), [1.05, 3.05]);
  assert.deepEqual(await placeWith('display_mirror_y = 1\n'), [2.95, 0.95]);
  assert.deepEqual(await placeWith('display_orientation = portrait\n'), [3.05, 1.05]);
});

test('--fail-on makes risks count', async (t) => {
  const bowl = [
    ...Array(5).fill([[2, 2, 38, 38]]),
    ...Array(30).fill([
      [2, 2, 38, 4],
      [2, 36, 38, 38],
      [2, 4, 4, 36],
      [36, 4, 38, 36],
    ]),
  ];
  const file = await sl1(t, bowl, { display: '12' });
  assert.equal((await stiltforge(['check', file])).code, 0);
  assert.equal((await stiltforge(['check', file, '--fail-on', 'risk'])).code, 1);
});

test('an overhang is told with the critical angle of the option', async (t) => {
  const part = await stl(t, table());
  assert.equal((await stiltforge(['check', part, ...coarse])).code, 1);
  const { code } = await stiltforge(['check', part, ...coarse, '--critical-angle', '1.2']);
  assert.equal(code, 0);
});

test('what is wrong with points is told with its place', async (t) => {
  const part = await stl(t, footAndIsland());
  const expectRefused = async (content, sentence, exitCode = 3) => {
    const points = await fileOf(t, 'points.csv', content);
    const { code, err } = await stiltforge(['check', part, ...coarse, '--points', points]);
    assert.equal(code, exitCode, err);
    assert.match(err, sentence);
  };
  await expectRefused(
    'x,y,z\n1,2,3\n1,2\n',
    /points\.csv: line 3 has no three numbers x, y and z\./,
  );
  await expectRefused(
    'x,y,z\n1e308,2,0\n',
    /points\.csv: line 2 lies more than 1,000 km from the origin\. Write them in millimetres/,
  );
  await expectRefused('1,2,inf\n', /line 1 has no/);
  await expectRefused('{"supports": 3}', /it has no list "supports"/);
  await expectRefused('{"supports": [{"x": 1, "y": 2}]}', /support 1 has no three numbers/);
  await expectRefused('{', /it is no JSON/);
  const missing = await stiltforge(['check', part, '--points', 'no-such.csv']);
  assert.equal(missing.code, 3);
  assert.match(missing.err, /no-such\.csv: it can't be read/);
});

test('points belong to one mesh', async (t) => {
  const part = await stl(t, footAndIsland());
  const points = await fileOf(t, 'points.csv', '8,2,2\n');
  const several = await stiltforge(['check', part, part, '--points', points]);
  assert.equal(several.code, 2);
  assert.match(several.err, /it holds the supports of one mesh, and 2 files are given/);
  const print = await stiltforge(['check', await sl1(t, sound), '--points', points]);
  assert.equal(print.code, 2);
  assert.match(print.err, /a printer file has its supports in its layers\. Leave out --points\./);
});

test('the command has a help of its own, and a mesh named like it is still a mesh', async (t) => {
  const { code, out } = await stiltforge(['check', '--help']);
  assert.equal(code, 0);
  assert.match(out, /^Usage: stiltforge check <file\.\.\.> \[options\]/);
  assert.equal((await stiltforge(['check'])).code, 2);
  const part = await stl(t, box([0, 0, 0], [4, 4, 3]), 'check');
  const named = await stiltforge(['check', part, ...coarse, '--quiet']);
  assert.equal(named.code, 0);
});
