import assert from 'node:assert/strict';
import { test } from 'node:test';
import { decodeMesh, encodeMesh } from '../dist/mesh_codec.js';
import { gridMesh } from '../dist/mesh_grid.js';
import { boxesMesh } from './parts.mjs';

/** A ball of radius 1 with 2 * rows * rows triangles. */
function ball(rows) {
  const corner = (i, j) => {
    const [polar, around] = [(Math.PI * i) / rows, (2 * Math.PI * j) / rows];
    const radius = Math.sin(polar);
    return [radius * Math.cos(around), radius * Math.sin(around), Math.cos(polar)];
  };
  const positions = [];
  for (let i = 0; i < rows; i += 1) {
    for (let j = 0; j < rows; j += 1) {
      const [a, b, c, d] = [corner(i, j), corner(i + 1, j), corner(i + 1, j + 1), corner(i, j + 1)];
      positions.push(...a, ...b, ...c, ...a, ...c, ...d);
    }
  }
  return Float32Array.from(positions);
}

function volume({ corners, triangles }, { min, max }) {
  const place = (vertex, axis) =>
    min[axis] + (corners[3 * vertex + axis] / 65_535) * (max[axis] - min[axis]);
  let sum = 0;
  for (let i = 0; i < triangles.length; i += 3) {
    const [a, b, c] = [0, 1, 2].map((k) => [0, 1, 2].map((axis) => place(triangles[i + k], axis)));
    sum += a[0] * (b[1] * c[2] - b[2] * c[1]);
    sum += a[1] * (b[2] * c[0] - b[0] * c[2]);
    sum += a[2] * (b[0] * c[1] - b[1] * c[0]);
  }
  return sum / 6;
}

const unit = { min: [-1, -1, -1], max: [1, 1, 1] };

test('a mesh comes back with its triangles in their order', async () => {
  const box = { min: [-3, 0, 1], max: [5, 2, 9] };
  const { mesh, tolerance } = await gridMesh(boxesMesh([[-3, 0, 1, 5, 2, 9]]), box);
  const { bytes, vertices } = encodeMesh(mesh);
  assert.equal(vertices, 8);
  assert.ok(tolerance < 1e-4);
  const back = decodeMesh(bytes, vertices, 12);
  assert.ok(Math.abs(volume(back, box) - 128) < 0.01);
  const cornersOf = ({ corners, triangles }) =>
    Array.from(triangles, (vertex) => [...corners.subarray(3 * vertex, 3 * vertex + 3)]);
  assert.deepEqual(cornersOf(back), cornersOf(mesh));
});

test('a mesh of very many triangles gets fewer, and says how far they may be off', async () => {
  const { mesh, tolerance } = await gridMesh(ball(500), unit);
  assert.ok(mesh.triangles.length / 3 <= 250_000);
  assert.ok(tolerance < 0.02, `${tolerance}`);
  assert.ok(Math.abs(volume(mesh, unit) / ((4 / 3) * Math.PI) - 1) < 0.01);
});

test('corners a little beyond the box come to its sides', async () => {
  const { mesh } = await gridMesh(boxesMesh([[-1.1, -1, -1, 1, 1.1, 1.1]]), unit);
  assert.ok(Math.abs(volume(mesh, unit) - 8) < 0.001);
});

test('triangles that lose their area on the grid go', async () => {
  const thin = Float32Array.of(0, 0, 0, 1e-9, 0, 0, 1, 1, 1);
  const { mesh } = await gridMesh(thin, unit);
  assert.equal(mesh.triangles.length, 0);
});

test('damaged bytes are refused', async () => {
  const { mesh } = await gridMesh(boxesMesh([[-1, -1, -1, 1, 1, 1]]), unit);
  const { bytes } = encodeMesh(mesh);
  assert.throws(() => decodeMesh(bytes.subarray(0, 10), 8, 12), RangeError);
  assert.throws(() => decodeMesh(bytes, 9, 12), RangeError);
  assert.throws(() => decodeMesh(Uint8Array.of(9), 1, 1), RangeError);
});
