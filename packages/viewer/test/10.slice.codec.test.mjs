import assert from 'node:assert/strict';
import { test } from 'node:test';
import { decodeSlice, encodeSlice } from '../dist/slice_codec.js';
import { runsOf } from './parts.mjs';

/** The same numbers every time. */
function randomNumbers(seed) {
  let state = seed;
  return (below) => {
    state = (Math.imul(state, 1_664_525) + 1_013_904_223) >>> 0;
    return Math.floor((state / 2 ** 32) * below);
  };
}

function randomSlice(random, width, height) {
  const rows = Array.from({ length: height }, () => {
    const row = [];
    for (let x = random(width); x < width; x += 1 + random(width / 4)) {
      const end = Math.min(width, x + 1 + random(width / 3));
      row.push([x, end, 1 + random(300)]);
      x = end;
    }
    return random(5) === 0 ? [] : row;
  });
  const slice = runsOf(rows, [...Array(300).keys()]);
  for (let i = 0; i < slice.overhang.blue.length; i += 1) slice.overhang.blue[i] = random(255);
  return slice;
}

test('a slice comes back as it was, its overhang in two levels', () => {
  const random = randomNumbers(1);
  for (let round = 0; round < 200; round += 1) {
    const [width, height] = [1 + random(65_535), 1 + random(30)];
    const slice = randomSlice(random, width, height);
    const { material, overhang } = decodeSlice(encodeSlice(slice), height);
    const { rowStart, begin, end, region } = slice;
    assert.deepEqual(material, { rowStart, begin, end, value: region });
    let pixel = 0;
    for (let y = 0; y < height; y += 1) {
      const expected = [];
      for (let run = slice.overhang.rowStart[y]; run < slice.overhang.rowStart[y + 1]; run += 1) {
        for (let x = slice.overhang.begin[run]; x < slice.overhang.end[run]; x += 1) {
          expected.push(x, slice.overhang.blue[pixel++] < 128 ? 2 : 1);
        }
      }
      const found = [];
      for (let run = overhang.rowStart[y]; run < overhang.rowStart[y + 1]; run += 1) {
        for (let x = overhang.begin[run]; x < overhang.end[run]; x += 1) {
          found.push(x, overhang.value[run]);
        }
      }
      assert.deepEqual(found, expected);
    }
  }
});

test('a slice without material is a few bytes', () => {
  const code = encodeSlice(runsOf(Array.from({ length: 9000 }, () => [])));
  assert.ok(code.length < 10);
  assert.equal(decodeSlice(code, 9000).material.begin.length, 0);
});

test('bytes that are cut off or of a taller slice are refused', () => {
  const code = encodeSlice(runsOf([[[1, 4, 1]], [[1, 5, 1]]]));
  for (let length = 0; length < code.length; length += 1) {
    assert.throws(() => decodeSlice(code.subarray(0, length), 2), RangeError, `${length} bytes`);
  }
  assert.throws(() => decodeSlice(code, 1), RangeError);
});
