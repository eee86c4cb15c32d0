// Printer files through binding.node as a host program sees them. Run by ctest, which names the folder
// of binaries.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';
import { Analysis } from 'stiltforge/analysis';
import { analysisParameters, defaultPrint, defaultSupport } from 'stiltforge/slicing';
import { sl1 } from '../../packages/cli/test/prints.mjs';
import { png } from '../pictures.mjs';
import { binding } from './harness.mjs';

const { openPrinterFile, isPrinterFile, LayerSlicer, MaskSlicer } = binding;

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-printer-file-'));
after(() => rmSync(folder, { recursive: true }));

const [width, height] = [40, 30];
const channels = { layerHeight: 0.05, pixelSize: 0.05 };

const picture = (pixels, samples) => png(width, height, pixels, samples);

/** A block that grows to the right from layer to layer. */
function block(layer) {
  const grey = Buffer.alloc(width * height);
  for (let y = 10; y < 20; y++) grey.fill(255, y * width + 5, y * width + 10 + 3 * layer);
  return grey;
}

function pictures(name, layers) {
  const path = join(folder, name);
  mkdirSync(path);
  layers.forEach((layer, i) => {
    writeFileSync(join(path, `layer${i}.png`), layer);
  });
  return path;
}

const masks = [0, 1, 2, 3, 4, 5].map(block);
const print = pictures(
  'print',
  masks.map((mask) => picture(mask)),
);

test('promises what a folder of pictures says of its print', async () => {
  assert.deepEqual(await openPrinterFile(print), {
    format: 'folder of pictures',
    layerCount: 6,
    width,
    height,
    turned: false,
    mirroredX: false,
    mirroredY: false,
    printer: '',
    material: '',
  });
  assert.equal(isPrinterFile(print), true);
  assert.equal(isPrinterFile(join(folder, 'nothing')), false);
});

test('a layer slicer gives the slices that a mask slicer gives of the same pictures', async () => {
  const slicer = new LayerSlicer(await openPrinterFile(print), channels);
  const maskSlicer = new MaskSlicer({ maskWidth: width, maskHeight: height, ...channels });
  for (const [i, mask] of masks.entries()) {
    assert.deepEqual(await slicer.slice(i), await maskSlicer.next(new Uint8Array(mask)));
  }
  assert.equal((await slicer.runs(0, 6)).length, 6);
});

test('a layer slicer shows the part of the layers that is asked for', async () => {
  const file = await openPrinterFile(print);
  const whole = new LayerSlicer(file, channels);
  const part = { cropX: 3, cropY: 8, width: 30, height: 15 };
  const slicer = new LayerSlicer(file, { ...channels, ...part });
  assert.deepEqual([slicer.cropX, slicer.cropY, slicer.width, slicer.height], [3, 8, 30, 15]);
  const pixels = new Uint32Array((await slicer.slice(4)).pixels);
  const all = new Uint32Array((await whole.slice(4)).pixels);
  for (let y = 0; y < 15; y++) {
    const start = (8 + y) * width + 3;
    assert.deepEqual(pixels.slice(30 * y, 30 * (y + 1)), all.slice(start, start + 30));
  }
});

async function layersOf(slicer) {
  const settings = { ...defaultPrint, ...channels };
  const analysis = Analysis.create(analysisParameters(settings, defaultSupport, slicer));
  const layers = [];
  for await (const { layer } of analysis.run(slicer)) layers.push(layer);
  await analysis.close();
  return layers;
}

test('an analysis takes its layers as it takes those of a slicer', async () => {
  const layers = await layersOf(new LayerSlicer(await openPrinterFile(print), channels));
  assert.equal(layers.length, 6);
  assert.equal(layers[5].groups.length, 1);
  assert.equal(layers[5].pixelCount, 10 * 20);
});

test('the bytes of a file are as good as its path, and the host may change them meanwhile', async () => {
  const path = join(folder, 'plate.sl1');
  const bytes = sl1();
  writeFileSync(path, bytes);
  assert.equal(isPrinterFile(bytes), true);
  assert.equal(isPrinterFile(new Uint8Array(8)), false);
  assert.equal(isPrinterFile(new Uint8Array(8), 'plate.goo'), true);
  const opened = openPrinterFile(bytes, { name: 'plate.sl1' });
  bytes.fill(0);
  const [file, same] = [await opened, await openPrinterFile(path)];
  assert.equal(file.format, 'SL1');
  assert.deepEqual(file, same);
  const [layers, expected] = [file, same].map((from) => layersOf(new LayerSlicer(from, channels)));
  assert.deepEqual(await layers, await expected);
  await assert.rejects(openPrinterFile(bytes, { name: 'plate.sl1' }), {
    code: 'ERR_STILTFORGE_FILE',
    message: /^plate\.sl1: /,
  });
});

test('pictures may carry the channels', async () => {
  const rgb = (mask, blue) => Buffer.from([...mask].flatMap((grey) => [grey, 7, blue]));
  const path = pictures('channels', [picture(rgb(masks[5], 255), 3), picture(rgb(masks[5], 0), 3)]);
  const file = await openPrinterFile(path);
  const slicer = new LayerSlicer(file, { ...channels, haveChannels: true });
  const [first, second] = await slicer.runs(0, 2);
  assert.equal(first.overhang.blue.length, 0);
  assert.deepEqual(second.overhang.blue, new Uint8Array(200));
  assert.deepEqual(second.overhang.green, new Uint8Array(200).fill(7));
  const grey = new LayerSlicer(await openPrinterFile(print), { ...channels, haveChannels: true });
  await assert.rejects(grey.slice(0), {
    code: 'ERR_STILTFORGE_FILE',
    message: `${print}: layer 0 ("layer0.png") carries no channels: it is no RGB picture. Leave out the option for channels, or export RGB pictures.`,
  });
});

test('options that are none are refused in words', async () => {
  await assert.rejects(openPrinterFile(folder, 128), {
    name: 'TypeError',
    message: 'The second argument must be an object with options.',
  });
  await assert.rejects(openPrinterFile(folder, { treshold: 200 }), {
    name: 'TypeError',
    message: 'There is no option "treshold"; the options are name, threshold, keptBytes, signal.',
  });
});

test('a threshold tells which grey is material', async () => {
  const path = pictures('soft', [picture(Buffer.alloc(width * height, 40))]);
  const materialAt = async (threshold) => {
    const file = await openPrinterFile(path, { threshold });
    return (await new LayerSlicer(file, channels).slice(0)).materialPixels;
  };
  assert.equal(await materialAt(40), width * height);
  assert.equal(await materialAt(41), 0);
  await assert.rejects(openPrinterFile(path, { threshold: 0 }), /whole number from 1 to 255/);
});

test('layers that stay decoded need their file no more', async () => {
  for (const [keptBytes, stays] of [
    [undefined, false],
    [0, false],
    [1e6, true],
  ]) {
    const path = pictures(
      `kept${keptBytes}`,
      masks.map((mask) => picture(mask)),
    );
    const file = await openPrinterFile(path, { keptBytes });
    const expected = await new LayerSlicer(file, channels).runs(0, masks.length);
    rmSync(path, { recursive: true });
    const again = new LayerSlicer(file, channels).runs(0, masks.length);
    if (stays) assert.deepEqual(await again, expected);
    else await assert.rejects(again, { code: 'ERR_STILTFORGE_FILE' });
  }
  for (const keptBytes of [-1, 0.5, 2 ** 32, NaN, '9']) {
    await assert.rejects(openPrinterFile(folder, { keptBytes }), /"keptBytes"/);
  }
});

test('what is wrong with a file or a layer is a sentence with a code', async () => {
  const missing = join(folder, 'nothing.sl1');
  await assert.rejects(openPrinterFile(missing), {
    code: 'ERR_STILTFORGE_FILE',
    message: `${missing}: there is no such file. Check the path.`,
  });
  const damaged = pictures('damaged', [picture(masks[0]), picture(masks[1]).subarray(0, 60)]);
  const slicer = new LayerSlicer(await openPrinterFile(damaged), channels);
  await assert.rejects(layersOf(slicer), {
    code: 'ERR_STILTFORGE_FILE',
    message: /damaged: layer 1 \("layer1\.png"\) is cut off in/,
  });
  await assert.rejects(
    openPrinterFile(7),
    /The printer file must be a path or the bytes of a file/,
  );
  await assert.rejects(openPrinterFile('a\0b'), /character 0/);
  await assert.rejects(openPrinterFile(print, { signal: AbortSignal.abort() }), {
    code: 'ABORT_ERR',
  });
});

test('wrong arguments of a layer slicer are refused', async () => {
  const file = await openPrinterFile(print);
  assert.throws(() => new LayerSlicer({ ...file }, channels), /openPrinterFile\(\) has opened/);
  assert.throws(() => new LayerSlicer(file), /second argument must be an object with options/);
  assert.throws(() => new LayerSlicer(file, { ...channels, crop: 1 }), /no option "crop"/);
  assert.throws(() => new LayerSlicer(file, { ...channels, cropX: 1 }), /layers have only 40 x 30/);
  assert.throws(() => new LayerSlicer(file, { ...channels, haveChannels: 1 }), /true or false/);
});
