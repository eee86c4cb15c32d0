import assert from 'node:assert/strict';
import { test } from 'node:test';
import { decodeRings, encodeRings } from '../dist/scaffold_codec.js';

test('rings come back as pieces from each to the next, to a hundredth of a millimetre', () => {
  const rings = Float64Array.of(
    ...[1.234, -5, 0, 1.5],
    ...[1.234, -5, 0.5, 0.5],
    ...[2, -4, 9.996, 0.2],
    // Another surface.
    ...[300.001, 7, 2, 0.3],
    ...[304, 7, 6, 0.3],
  );
  const bytes = encodeRings(rings, [
    { firstRing: 0, rings: 3 },
    { firstRing: 3, rings: 2 },
  ]);
  const expected = [
    ...[1.23, -5, 0, 1.5, 1.23, -5, 0.5, 0.5],
    ...[1.23, -5, 0.5, 0.5, 2, -4, 10, 0.2],
    ...[300, 7, 2, 0.3, 304, 7, 6, 0.3],
  ];
  assert.deepEqual(decodeRings(bytes, 2), Float32Array.from(expected));
  assert.ok(bytes.length < 40, `${bytes.length} bytes`);
});

test('nothing is nothing', () => {
  assert.equal(decodeRings(encodeRings(new Float64Array(), []), 0).length, 0);
});

test('bytes that end early are refused', () => {
  const bytes = encodeRings(Float64Array.of(1, 2, 3, 4, 5, 6, 7, 8), [{ firstRing: 0, rings: 2 }]);
  assert.throws(() => decodeRings(bytes.subarray(0, -1), 1), RangeError);
});
