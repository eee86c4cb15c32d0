// The golden stacks, and what is expected of them.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { gunzipSync } from 'node:zlib';

const folder = new URL('../../../tests/golden/', import.meta.url);

export function readStack(name) {
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

export function readExpected(name) {
  const lines = gunzipSync(readFileSync(new URL(`${name}.jsonl.gz`, folder))).toString();
  return lines
    .trim()
    .split('\n')
    .map((line) => JSON.parse(line));
}

/** 64-bit FNV-1a, as 16 hex digits, in two 32-bit halves. */
export function digest(bytes) {
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

export const names = readdirSync(folder)
  .filter((file) => file.endsWith('.stack.gz'))
  .map((file) => file.replace('.stack.gz', ''));
