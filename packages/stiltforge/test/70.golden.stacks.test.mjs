import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { test } from 'node:test';
import { gunzipSync } from 'node:zlib';
import stiltforge from 'stiltforge';
import { analyse, groupImages } from './harness.mjs';

const folder = new URL('../../../tests/golden/', import.meta.url);

function readStack(name) {
  const bytes = gunzipSync(readFileSync(new URL(`${name}.stack.gz`, folder)));
  assert.equal(bytes.toString('latin1', 0, 8), 'SLICES01');
  const [width, height, count, jsonLength] = [8, 12, 16, 20].map((at) => bytes.readUInt32LE(at));
  const parameters = JSON.parse(bytes.toString('utf8', 24, 24 + jsonLength));
  const size = width * height * 4;
  const slices = Array.from({ length: count }, (_, i) => {
    const start = 24 + jsonLength + i * size;
    return Uint8Array.from(bytes.subarray(start, start + size)).buffer;
  });
  return { parameters, slices };
}

function readExpected(name) {
  const lines = gunzipSync(readFileSync(new URL(`${name}.jsonl.gz`, folder))).toString();
  return lines
    .trim()
    .split('\n')
    .map((line) => JSON.parse(line));
}

/** 64-bit FNV-1a, as 16 hex digits, in two 32-bit halves. */
function digest(bytes) {
  let high = 0xcbf29ce4;
  let low = 0x84222325;
  for (const byte of bytes) {
    low = (low ^ byte) >>> 0;
    // The prime is 2^40 + 0x1b3.
    const product = low * 0x1b3;
    high = (Math.imul(high, 0x1b3) + Math.floor(product / 2 ** 32) + (low << 8)) >>> 0;
    low = product >>> 0;
  }
  return high.toString(16).padStart(8, '0') + low.toString(16).padStart(8, '0');
}

function countSupports(layer) {
  return layer.groups.reduce((sum, group) => sum + group.supports.length, 0);
}

const names = readdirSync(folder)
  .filter((file) => file.endsWith('.stack.gz'))
  .map((file) => file.replace('.stack.gz', ''));

test('there are sixteen stacks', () => assert.equal(names.length, 16));

for (const name of names) {
  test(`stack ${name} gives the expected layers, buffers and group images`, async () => {
    const { parameters, slices } = readStack(name);
    const expected = readExpected(name);

    for (const needBuffer of [true, false]) {
      stiltforge.InitAnalyseSlice({ ...parameters, needBuffer });
      for (const [i, pixels] of slices.entries()) {
        const result = await analyse(pixels, i);
        const line = expected[i];
        const at = `${name}, slice ${i}, needBuffer ${needBuffer}`;
        assert.equal(JSON.stringify(result.layer), JSON.stringify(line.layer), at);
        assert.equal(countSupports(result.layer), line.supportCount, at);
        if (!needBuffer) continue;
        for (const buffer of ['pixelBuffer', 'topPixelBuffer', 'supportedPixels']) {
          assert.equal(digest(result[buffer]), line[buffer], `${at}, ${buffer}`);
        }
      }
      for (const line of expected.slice(slices.length)) {
        const [...images] = await groupImages(line.layerIndex, line.groupIndex);
        const [width, height] = images.splice(8);
        const at = `${name}, group ${line.groupIndex} of layer ${line.layerIndex}`;
        assert.deepEqual([width, height], [line.width, line.height], at);
        assert.deepEqual(images.map(digest), line.images, at);
      }
      stiltforge.CleanPointer();
    }
  });
}
