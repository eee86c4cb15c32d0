// What an installation of stiltforge makes of a folder of samples, as digests to compare with those of
// another one. Runs on every Node that the package promises, and on Bun, and needs nothing but that package.
//   node results.mjs PACKAGE SAMPLES OUTPUT      PACKAGE: the folder of the package; OUTPUT: a JSON file
import { createHash } from 'node:crypto';
import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { gunzipSync } from 'node:zlib';

const [packageFolder, samples, output] = process.argv.slice(2).map((path) => resolve(path));
const require = createRequire(join(packageFolder, 'package.json'));
const door = (name) => import(pathToFileURL(require.resolve(name)).href);

const stiltforge = require('stiltforge');
const { Analysis } = await door('stiltforge/analysis');
const slicing = await door('stiltforge/slicing');
const { checkPrint } = await door('stiltforge/check');
const { orient, turnedMesh } = await door('stiltforge/orientation');

const digests = {};

/** Pixels as they are, numbers by their shortest text that reads back the same. */
function tell(name, ...results) {
  const hash = createHash('sha256');
  for (const result of results) {
    const isBytes = result instanceof ArrayBuffer || ArrayBuffer.isView(result);
    hash.update(isBytes ? new Uint8Array(result.buffer ?? result) : JSON.stringify(result));
  }
  digests[name] = hash.digest('hex').slice(0, 16);
}

function readStack(file) {
  const bytes = gunzipSync(readFileSync(file));
  const [width, height, count, jsonLength] = [8, 12, 16, 20].map((at) => bytes.readUInt32LE(at));
  const size = width * height * 4;
  const first = 24 + jsonLength;
  return {
    parameters: JSON.parse(bytes.toString('utf8', 24, first)),
    slices: Array.from({ length: count }, (_, i) =>
      Uint8Array.from(bytes.subarray(first + i * size, first + (i + 1) * size)),
    ),
  };
}

const answer = (start) =>
  new Promise((done, failed) => {
    start((...values) => (values[0] instanceof Error ? failed(values[0]) : done(values)));
  });

async function fiveFunctions(name, { parameters, slices }) {
  const results = [];
  stiltforge.InitAnalyseSlice({ ...parameters, needBuffer: true });
  for (const [layer, pixels] of slices.entries()) {
    const [slice] = await answer((done) => stiltforge.AnalyseSlice(pixels.buffer, layer, done));
    results.push(slice.layer, slice.pixelBuffer, slice.topPixelBuffer, slice.supportedPixels);
  }
  const images = await answer((done) => stiltforge.GroupToBitmap(0, 1, done)).catch(() => []);
  stiltforge.CleanPointer();
  tell(`five functions, ${name}`, ...results, ...images);
}

async function promises(name, { parameters, slices }) {
  const analysis = Analysis.create({ ...parameters, needBuffer: false });
  const layers = [];
  for await (const { layer } of analysis.run(slices)) layers.push(layer);
  await analysis.close();
  tell(`promises, ${name}`, layers);
}

const golden = join(samples, 'golden');
for (const file of readdirSync(golden)
  .filter((name) => name.endsWith('.stack.gz'))
  .sort()) {
  const name = file.replace('.stack.gz', '');
  const stack = readStack(join(golden, file));
  await fiveFunctions(name, stack);
  // The only thing that it refuses and the five functions take.
  if (stack.parameters.supportStrength >= 1) await promises(name, stack);
}

/** From triangles to finished supports. */
async function supportsOf(positions) {
  const print = { ...slicing.defaultPrint, layerHeight: 0.1, pixelSize: 0.1 };
  const slicer = slicing.createSlicer({ positions, ...print, margin: 2 });
  const parameters = slicing.analysisParameters(print, slicing.defaultSupport, slicer);
  const survey = { pixelSize: print.pixelSize, layerHeight: print.layerHeight };
  const analysis = Analysis.create(parameters, { survey });
  const layers = [];
  for await (const { layer } of analysis.run(slicer)) layers.push(layer);
  const finished = await analysis.finishSupports({ supportArea: 15 });
  await analysis.close();
  return [layers, finished];
}

for (const name of ['part.stl', 'part.obj', 'part.3mf']) {
  const { positions } = await slicing.readMesh(join(samples, name));
  tell(`triangles of ${name}`, positions);
  tell(`supports of ${name}`, ...(await supportsOf(positions)));
}

for (const name of readdirSync(samples)
  .filter((one) => /\.(sl1|nanodlp|goo)$/.test(one))
  .sort()) {
  const file = await slicing.openPrinterFile(join(samples, name));
  const pixelSize = 0.1;
  const slicer = slicing.createLayerSlicer(file, { layerHeight: 0.05, pixelSize });
  const { width, height } = slicer;
  const report = await checkPrint(slicer, {
    ...{ layerHeight: 0.05, pixelWidth: pixelSize },
    ...{ screenWidth: width, screenHeight: height },
  });
  tell(`check of ${name.slice(name.lastIndexOf('.') + 1)}`, report);
}

const { positions } = await slicing.readMesh(join(samples, 'part.stl'));
tell('turned part', turnedMesh(positions, [10, 20, 30]));
const coarse = { pixelSize: 0.5, layerHeight: 0.5, screenWidth: 400, screenHeight: 400 };
tell(
  'orientations',
  await orient({ positions, ...coarse, directions: 12, listed: 3, confirm: false }),
);

const { vectorPath } = require('stiltforge/load').loadBinary('binding.node');
const binaries = Object.keys(require.cache).filter((file) => file.endsWith('.node'));
const { node, bun } = process.versions;
const runtime = bun ? `Bun ${bun}` : `Node ${node}`;
const platform = `${process.platform}-${process.arch}`;
writeFileSync(
  output,
  JSON.stringify({ runtime, platform, vectorPath, binaries, digests }, null, 2),
);
