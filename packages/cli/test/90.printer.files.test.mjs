import assert from 'node:assert/strict';
import { mkdir, readdir, readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { outputNames, stiltforge, temporaryFolder } from './harness.mjs';
import { binaryStl, box } from './meshes.mjs';
import { goo, nanoDlp, png, screen, sl1, tableLayers, tablePngs } from './prints.mjs';

/** Runs the command on a file with this content; its supports.json, or how it was refused. */
async function analysed(t, content, words = [], name = 'table.sl1') {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, name), content);
  const result = await stiltforge([name, '--quiet', '--no-pictures', ...words], { cwd });
  assert.equal(result.code, 0, result.err);
  const text = await readFile(join(cwd, 'table-supports/supports.json'), 'utf8');
  return { ...result, document: JSON.parse(text) };
}

async function refused(t, content, words = [], name = 'table.sl1') {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, name), content);
  const result = await stiltforge([name, ...words], { cwd });
  assert.notEqual(result.code, 0);
  assert.deepEqual(await readdir(cwd), [name]);
  return result;
}

test('an SL1 goes the road of a mesh, with places on the plate', async (t) => {
  const { document } = await analysed(t, sl1());
  const { model, print, supports } = document;
  assert.deepEqual(model.layers, { format: 'SL1', printer: 'SL1', material: 'clear' });
  assert.equal(print.layerHeight, 0.05);
  assert.ok(Math.abs(print.pixelSize - 0.1) < 1e-12);
  assert.deepEqual([print.screenWidth, print.screenHeight], [160, 100]);
  for (const [axis, wanted] of [2, 4, 0].entries()) {
    assert.ok(Math.abs(model.min[axis] - wanted) < 1e-9, `min ${model.min}`);
  }
  for (const [axis, wanted] of [14, 7, 2.5].entries()) {
    assert.ok(Math.abs(model.max[axis] - wanted) < 1e-9, `max ${model.max}`);
  }
  assert.ok(Math.abs(model.sliceVolume - (3 * 3 * 2 + 12 * 3 * 0.5)) < 1e-6);
  assert.ok(supports.length > 0);
  for (const { x, y, z, column, row, layer } of supports) {
    assert.ok(Math.abs(x - (column + 0.5) / 10) < 1e-3);
    assert.ok(Math.abs(y - (100 - row - 0.5) / 10) < 1e-3);
    assert.ok(Math.abs(z - 0.05 * layer) < 1e-3);
    assert.ok(x > 5 && x < 14 && y > 4 && y < 7 && layer >= 40, JSON.stringify({ x, y, layer }));
  }
});

test('above a thicker first layer all heights are those of the print', async (t) => {
  const even = (await analysed(t, sl1())).document;
  const content = sl1(tablePngs, { more: 'initial_layer_height = 0.3\n' });
  const { document } = await analysed(t, content);
  assert.equal(even.print.firstLayerHeight, undefined);
  assert.equal(document.print.firstLayerHeight, 0.3);
  assert.equal(document.supports.length, even.supports.length);
  for (const [i, { z, layer }] of document.supports.entries()) {
    assert.equal(layer, even.supports[i].layer);
    assert.ok(Math.abs(z - (0.3 + 0.05 * (layer - 1))) < 1e-3, `${z}`);
  }
  assert.ok(Math.abs(document.model.max[2] - 2.75) < 1e-9);
  const foot = 3 * 3;
  assert.ok(Math.abs(document.model.sliceVolume - even.model.sliceVolume - 0.25 * foot) < 1e-6);
});

test('a layer height on the command line is that of the first layer, too', async (t) => {
  const content = sl1(tablePngs, { more: 'initial_layer_height = 0.3\n' });
  const { document } = await analysed(t, content, ['--layer-height', '0.1']);
  assert.equal(document.print.firstLayerHeight, undefined);
  assert.ok(Math.abs(document.model.max[2] - 5) < 1e-9);
});

test('a first layer that is no length is refused', async (t) => {
  const { code, err } = await refused(
    t,
    sl1(tablePngs, { more: 'initial_layer_height = thick\n' }),
  );
  assert.equal(code, 3);
  assert.match(err, /prusaslicer\.ini has the initial_layer_height "thick", which is no positive/);
});

test('layers that need more memory than there is are refused with what helps them', async (t) => {
  const { code, err } = await refused(t, sl1(), ['--memory', '0.05']);
  assert.equal(code, 5);
  assert.match(
    err,
    /: its layers have 160 x 100 pixels, .* Give the mesh that it was made of, or export it with larger pixels; --memory/,
  );
});

test('mirrored and turned layers give the same places on the plate', async (t) => {
  const plain = (await analysed(t, sl1())).document;
  const mirrored = tableLayers.map((grey) => {
    const rows = Array.from({ length: screen.height }, (_, y) =>
      Buffer.from(grey.subarray(y * screen.width, (y + 1) * screen.width)).reverse(),
    );
    return png(screen.width, screen.height, Buffer.concat(rows));
  });
  const { document } = await analysed(t, sl1(mirrored, { more: 'display_mirror_x = 1\n' }));
  assert.deepEqual(document.model.min, plain.model.min);
  assert.deepEqual(document.model.max, plain.model.max);
  assert.ok(document.supports.every(({ x }) => x > 5 && x < 14));
});

test('a NanoDLP archive and a GOO file give the points of the same layers in an SL1', async (t) => {
  const { supports } = (await analysed(t, sl1())).document;
  const places = supports.map(({ column, row, layer }) => [column, row, layer]);
  for (const [content, name, format] of [
    [nanoDlp(), 'table.nanodlp', 'NanoDLP'],
    [goo(), 'table.goo', 'GOO'],
  ]) {
    const { document } = await analysed(t, content, [], name);
    assert.equal(document.model.layers.format, format);
    assert.deepEqual(
      document.supports.map(({ column, row, layer }) => [column, row, layer]),
      places,
    );
  }
});

test('its pictures are those of its slices, where there is material', async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'table.sl1'), sl1());
  const { code, out, err } = await stiltforge(['table.sl1'], { cwd });
  assert.equal(code, 0, err);
  assert.match(out, /^table\.sl1\n {2}size {9}12 x 3 x 2\.5 mm\n {2}layers {7}50\n/);
  assert.deepEqual(await outputNames(join(cwd, 'table-supports')), [
    'points.csv',
    'slices',
    'slices.png',
    'supports.json',
  ]);
});

test('a folder of pictures needs the layer height and the pixel size', async (t) => {
  const cwd = await temporaryFolder(t);
  await mkdir(join(cwd, 'table'));
  for (const [i, content] of tablePngs.entries()) {
    await writeFile(join(cwd, 'table', `${i}.png`), content);
  }
  const run = (...words) => stiltforge(['table/', '--no-pictures', '--quiet', ...words], { cwd });
  const bare = await run();
  assert.equal(bare.code, 2);
  assert.equal(
    bare.err,
    'stiltforge: table/: the file does not say how high its layers are. Give --layer-height.\n',
  );
  assert.match((await run('--layer-height', '0.05')).err, /how large its pixels are.*--pixel-size/);
  const whole = await run('--layer-height', '0.05', '--pixel-size', '0.1');
  assert.equal(whole.code, 0, whole.err);
  const { supports, model } = JSON.parse(
    await readFile(join(cwd, 'table-supports/supports.json'), 'utf8'),
  );
  assert.equal(model.layers.format, 'folder of pictures');
  assert.ok(supports.length > 0);
});

test('options overrule what the file says', async (t) => {
  const { document } = await analysed(t, sl1(), ['--layer-height', '0.1', '--pixel-size', '0.05']);
  assert.equal(document.print.layerHeight, 0.1);
  assert.equal(document.print.pixelSize, 0.05);
});

test('a threshold tells which grey is material', async (t) => {
  const dim = tableLayers.map((grey) =>
    png(
      screen.width,
      screen.height,
      Buffer.from(grey, 0).map((value) => value >> 2),
    ),
  );
  const { code, err } = await refused(t, sl1(dim));
  assert.equal(code, 3);
  assert.match(err, /no pixel of its layers counts as material\. Lower --threshold/);
  const { document } = await analysed(t, sl1(dim), ['--threshold', '60']);
  assert.ok(document.supports.length > 0);
});

test('pictures may carry the channels', async (t) => {
  const rgb = (blue) =>
    tableLayers.map((grey) => {
      const pixels = Buffer.from([...grey].flatMap((red) => [red, 0, blue]));
      return png(screen.width, screen.height, pixels, 3);
    });
  const supported = await analysed(t, sl1(rgb(255)), ['--channels']);
  const free = await analysed(t, sl1(rgb(0)), ['--channels']);
  assert.ok(free.document.supports.length > supported.document.supports.length);
  const { err, code } = await refused(t, sl1(), ['--channels']);
  assert.equal(code, 3);
  assert.match(err, /layer 0 \("table00000\.png"\) carries no channels/);
});

test('pixels that are not square are told', async (t) => {
  const { err, document } = await analysed(t, sl1());
  assert.equal(err, '');
  const stretched = await analysed(t, sl1(tablePngs, { width: 20 }));
  assert.match(stretched.err, /pixels are not square \(0\.125 x 0\.1 mm\)/);
  assert.ok(stretched.document.model.max[0] > document.model.max[0]);
});

test('what is wrong with a file exits with 3, names the layer and writes nothing', async (t) => {
  const damaged = tablePngs.with(30, tablePngs[30].subarray(0, 70));
  const { code, err } = await refused(t, sl1(damaged));
  assert.equal(code, 3);
  assert.match(err, /^stiltforge: table\.sl1: layer 30 \("table00030\.png"\) is cut off in/m);
  const smaller = tablePngs.with(7, png(4, 4, Buffer.alloc(16)));
  assert.match(
    (await refused(t, sl1(smaller))).err,
    /layer 7 .* has 4 x 4 pixels, but layer 0 has/,
  );
  const cut = await refused(t, sl1().subarray(0, 5000));
  assert.equal(cut.code, 3);
  assert.match(cut.err, /^stiltforge: table\.sl1: the archive is cut off/);
  const garbage = await refused(t, 'garbage', [], 'table.goo');
  assert.match(garbage.err, /content is none of SL1, NanoDLP, GOO or a zip archive of pictures/);
});

test('options that are for meshes, or for printer files, are refused with the reason', async (t) => {
  for (const [words, reason] of [
    [['--height', '5'], /--height: of table\.sl1 its layers are cut already/],
    [['--screen', '100x100'], /--screen: of table\.sl1 the file says how many pixels/],
    [['--format', '3mf'], /--format 3mf: it needs the mesh, .* has layers alone/],
    [['--threshold', '0'], /whole number from 1 to 255/],
  ]) {
    const { code, err } = await refused(t, sl1(), words);
    assert.equal(code, 2, words.join(' '));
    assert.match(err, reason);
  }
  const mesh = binaryStl(box([0, 0, 0], [5, 5, 5]));
  const { code, err } = await refused(t, mesh, ['--channels'], 'box.stl');
  assert.equal(code, 2);
  assert.match(err, /--channels: box\.stl is a mesh/);
});

test('a region of a printer file can be inspected', async (t) => {
  const cwd = await temporaryFolder(t);
  await writeFile(join(cwd, 'table.sl1'), sl1());
  const words = ['table.sl1', '--no-pictures', '--quiet', '--inspect', '40:1'];
  const { code, err } = await stiltforge(words, { cwd });
  assert.equal(code, 0, err);
  assert.ok((await outputNames(join(cwd, 'table-supports'))).includes('inspect'));
  const { err: beyond } = await refused(t, sl1(), ['--inspect', '50:1']);
  assert.match(beyond, /table\.sl1 has the layers 0 to 49/);
});
