import { mkdirSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { basename, dirname, extname, join } from 'node:path';
import sharp from 'sharp';
import { createMaskSlicer } from 'stiltforge/slicing';
import yauzl from 'yauzl';
import { parametersFor, print } from './print_settings.mjs';

/** The demo mesh, 60 mm high and standing on z = 0: nine floats a triangle, mm, z up. */
export function demoMesh() {
  const bunny = createRequire(import.meta.url)('bunny');
  const corners = bunny.cells.flatMap((cell) => cell.map((vertex) => bunny.positions[vertex]));
  const heights = corners.map(([, y]) => y);
  const lowest = heights.reduce((a, b) => Math.min(a, b));
  const scale = 60 / (heights.reduce((a, b) => Math.max(a, b)) - lowest);
  return new Float32Array(
    corners.flatMap(([x, y, z]) => [scale * x, -scale * z, scale * (y - lowest)]),
  );
}

/** A square plate, mm, lying on z = 0. */
export function plateMesh(side, height) {
  const corner = (i) => [(i & 1) * side, ((i >> 1) & 1) * side, (i >> 2) * height];
  const faces = [
    ...[0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4],
    ...[2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5],
  ];
  return new Float32Array(faces.flatMap(corner));
}

/** Writes a mesh as binary STL, for the command. */
export function writeStl(triangles, file) {
  const count = triangles.length / 9;
  const bytes = Buffer.alloc(84 + 50 * count);
  bytes.writeUInt32LE(count, 80);
  for (let i = 0; i < count; i++) {
    for (let k = 0; k < 9; k++) {
      bytes.writeFloatLE(triangles[9 * i + k], 84 + 50 * i + 12 + 4 * k);
    }
  }
  mkdirSync(dirname(file), { recursive: true });
  writeFileSync(file, bytes);
}

/** Writes a mesh as it stands in memory, for the C++ benchmarks. */
export function writeSoup(triangles, file) {
  mkdirSync(dirname(file), { recursive: true });
  writeFileSync(file, new Uint8Array(triangles.buffer));
}

/** Writes the parameters for the C++ benchmarks. */
export function writeParameters(folder) {
  const values = Object.entries(parametersFor(print.screenWidth, print.screenHeight, 1200));
  const parameters = join(folder, 'parameters.txt');
  writeFileSync(parameters, values.map(([key, value]) => `${key} ${Number(value)}\n`).join(''));
  return { parameters };
}

/**
 * Writes two neighbouring slices from the middle of an archive, a zip with one PNG a layer, in the
 * form that the C++ benchmarks read. The two other channels are filled in as the command does.
 */
export async function writeStackPicture(archive, folder) {
  const zip = await yauzl.openPromise(archive, { autoClose: false });
  const layers = [];
  for await (const entry of zip.eachEntry()) {
    if (entry.fileName.endsWith('.png') && !entry.fileName.includes('/')) layers.push(entry);
  }
  if (layers.length < 3) throw new Error(`${archive} holds fewer than three PNG layers`);
  layers.sort((a, b) => (a.fileName < b.fileName ? -1 : 1));
  const middle = layers.length >> 1;

  let slicer;
  const slices = [];
  for (const entry of layers.slice(middle - 2, middle + 1)) {
    const png = Buffer.concat(await (await zip.openReadStreamPromise(entry)).toArray());
    const { data, info } = await sharp(png).extractChannel(0).raw().toBuffer({
      resolveWithObject: true,
    });
    slicer ??= createMaskSlicer({
      maskWidth: info.width,
      maskHeight: info.height,
      layerHeight: 0.05,
      pixelSize: 134.4 / info.width,
    });
    const { pixels } = await slicer.next(new Uint8Array(data));
    slices.push({ pixels: new Uint8Array(pixels), info });
  }
  zip.close();

  mkdirSync(folder, { recursive: true });
  const file = join(folder, `${basename(archive, extname(archive))}.rgba`);
  const header = new Uint8Array(
    new Uint32Array([slices[0].info.width, slices[0].info.height]).buffer,
  );
  writeFileSync(file, Buffer.concat([header, slices[1].pixels, slices[2].pixels]));
  return file;
}
