// One scenario in a process of its own, so that its memory is its own:
//   node bench/scenario.mjs <name> <options as JSON>
// prints its measurements as JSON.
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { monitorEventLoopDelay } from 'node:perf_hooks';
import addon from 'stiltforge';
import { Analysis } from 'stiltforge/analysis';
import { orient } from 'stiltforge/orientation';
import { createSlicer } from 'stiltforge/slicing';
import { parametersFor, print } from './print_settings.mjs';

function positionsOf(soup) {
  const { buffer, byteOffset, byteLength } = readFileSync(soup);
  return new Float32Array(buffer.slice(byteOffset, byteOffset + byteLength));
}

function modelSlicer(soup, screen) {
  const { width, height, pixelSize } = {
    ...{ width: print.screenWidth, height: print.screenHeight, pixelSize: print.pixelSize },
    ...screen,
  };
  return createSlicer({
    ...{ positions: positionsOf(soup), layerHeight: print.layerHeight, pixelSize },
    ...{ screenWidth: width, screenHeight: height, margin: width },
  });
}

/** Of this process alone: ru_maxrss would begin with the parent's. */
function peakMemory() {
  const [, kibibytes] = /^VmHWM:\s+(\d+) kB/m.exec(readFileSync('/proc/self/status', 'utf8'));
  return 1024 * Number(kibibytes);
}

function timed(list, work) {
  const start = performance.now();
  const result = work();
  list.push(performance.now() - start);
  return result;
}

function median(values) {
  return values.toSorted((a, b) => a - b)[values.length >> 1];
}

function supportsOf(layer) {
  return layer.groups.reduce((sum, group) => sum + group.supports.length, 0);
}

function analyseSlice(pixels, index, calls) {
  return new Promise((resolve, reject) => {
    timed(calls, () =>
      addon.AnalyseSlice(pixels, index & 0xffff, (result) =>
        result instanceof Error ? reject(result) : resolve(result),
      ),
    );
  });
}

/** Every slice is cut first and analysed then, nothing else running: what the analysis alone takes. */
async function analysisAlone({ soup, layers, needBuffer }) {
  const slicer = modelSlicer(soup);
  const count = Math.min(layers ?? Infinity, slicer.layerCount);
  addon.InitAnalyseSlice(parametersFor(slicer.width, slicer.height, count, { needBuffer }));
  const [calls, copies] = [[], []];
  const copy = new Uint8Array(4 * slicer.width * slicer.height);
  let pixels;
  let supports = 0;
  let seconds = 0;
  for (let i = 0; i < count; i++) {
    const index = Math.floor((slicer.layerCount * i) / count);
    ({ pixels } = await slicer.slice(index, pixels));
    if (i % 8 === 0) timed(copies, () => copy.set(new Uint8Array(pixels)));
    const start = performance.now();
    const { layer } = await analyseSlice(pixels, i, calls);
    seconds += (performance.now() - start) / 1000;
    supports += supportsOf(layer);
  }
  return {
    layers: count,
    seconds,
    supports,
    longestCall: Math.max(...calls),
    medianCall: median(calls),
    longestCopy: Math.max(...copies),
    medianCopy: median(copies),
    peakMemory: peakMemory(),
  };
}

/** Cutting and analysing overlap, through the promise API. */
async function model({ soup, layers }) {
  const slicer = modelSlicer(soup);
  const count = Math.min(layers ?? Infinity, slicer.layerCount);
  const analysis = Analysis.create(parametersFor(slicer.width, slicer.height, count, {}));
  const delay = monitorEventLoopDelay({ resolution: 1 });
  delay.enable();
  const start = performance.now();
  let done = 0;
  for await (const _ of analysis.run(slicer)) {
    if (++done === count) break;
  }
  const seconds = (performance.now() - start) / 1000;
  delay.disable();
  await analysis.close();
  return { layers: count, seconds, longestDelay: delay.max / 1e6, peakMemory: peakMemory() };
}

/** Discs in five columns and four rows that drift and breathe from layer to layer. */
function drawDiscs(words, width, height, layer) {
  const background = 0xff000000;
  words.fill(background);
  const radius = 80 + Math.round(10 * Math.sin(layer / 20));
  for (let disc = 0; disc < 20; disc++) {
    const centreX = Math.round(((disc % 5) + 0.5) * (width / 5)) + (layer % 40);
    const centreY = Math.round((Math.floor(disc / 5) + 0.5) * (height / 4));
    for (let dy = -radius; dy <= radius; dy++) {
      const half = Math.floor(Math.sqrt(radius * radius - dy * dy));
      const row = (centreY + dy) * width + centreX;
      words.fill(0xff3200ff, row - half, row + half + 1);
      const inner = half - 12;
      if (inner > 0) words.fill(0xffff00ff, row - inner, row + inner + 1);
    }
  }
}

/** Many layers with 20 regions each, all of them wanting supports again and again. */
async function manyLayers({ layers, needBuffer }) {
  const [width, height] = [print.screenWidth, print.screenHeight];
  const pixels = new ArrayBuffer(4 * width * height);
  const words = new Uint32Array(pixels);
  addon.InitAnalyseSlice(
    parametersFor(width, height, layers, { needBuffer, supportStrength: 900 }),
  );
  const calls = [];
  let supports = 0;
  let sampled;
  for (let i = 0; i < layers; i++) {
    drawDiscs(words, width, height, i);
    const { layer } = await analyseSlice(pixels, i, calls);
    supports += supportsOf(layer);
    const group = layer.groups.findIndex((g) => g.supports.length > 0);
    if (group >= 0) sampled ??= [i, group + 1];
  }
  const images = await new Promise((resolve, reject) => {
    addon.GroupToBitmap(...sampled, (first, ...rest) =>
      first instanceof Error ? reject(first) : resolve([first, ...rest]),
    );
  });
  if (!images[0].some((byte) => byte === 255)) throw new Error('the first sampled group is lost');
  return { layers, supports, peakMemory: peakMemory() };
}

/** A few large slices: what a pixel of the screen costs beyond the host's own slice. */
async function bytesPerPixel({ width, height, needBuffer }) {
  const pixels = new ArrayBuffer(4 * width * height);
  const words = new Uint32Array(pixels);
  addon.InitAnalyseSlice(parametersFor(width, height, 6, { needBuffer }));
  drawDiscs(words, width, height, 0);
  const before = process.memoryUsage.rss();
  for (let i = 0; i < 6; i++) {
    await analyseSlice(pixels, i, []);
    drawDiscs(words, width, height, i + 1);
  }
  return { bytes: (peakMemory() - before) / (width * height), peakMemory: peakMemory() };
}

/** Cuts slices out of the middle of the model, and writes them so that they are soon painted again. */
async function packSlices({ soup, width, height, layers, folder }) {
  const slicer = modelSlicer(soup, { width, height, pixelSize: 134.4 / width });
  mkdirSync(folder, { recursive: true });
  let pixels;
  const files = [];
  for (let i = 0; i < layers; i++) {
    ({ pixels } = await slicer.slice((slicer.layerCount >> 1) + i, pixels));
    const words = new Uint32Array(pixels);
    const runs = [];
    for (let begin = 0, end = 0; begin < words.length; begin = end) {
      while (end < words.length && words[end] === words[begin]) end++;
      runs.push(words[begin], end);
    }
    files.push(join(folder, `${width}-${i}.runs`));
    writeFileSync(files[i], new Uint32Array(runs));
  }
  return { files };
}

function readPacked(file) {
  const { buffer, byteOffset, byteLength } = readFileSync(file);
  return new Uint32Array(buffer.slice(byteOffset, byteOffset + byteLength));
}

function paint(runs, words) {
  for (let i = 0, begin = 0; i < runs.length; begin = runs[i + 1], i += 2) {
    words.fill(runs[i], begin, runs[i + 1]);
  }
}

/** As bytesPerPixel, of slices that were packed. */
async function bytesPerPixelOf({ files, width, height }) {
  const pixels = new ArrayBuffer(4 * width * height);
  const words = new Uint32Array(pixels);
  addon.InitAnalyseSlice(parametersFor(width, height, files.length, { needBuffer: false }));
  // Read beforehand: what painting takes is not the analysis's.
  const slices = files.map(readPacked);
  paint(slices[0], words);
  const before = peakMemory();
  for (const [i, slice] of slices.entries()) {
    paint(slice, words);
    await analyseSlice(pixels, i, []);
  }
  return { bytes: (peakMemory() - before) / (width * height), peakMemory: peakMemory() };
}

/** Two models of the same packed slices, one after the other and both at once. */
async function twoModels({ files, width, height, layers, rounds }) {
  const slices = files.map((file) => {
    const pixels = new ArrayBuffer(4 * width * height);
    paint(readPacked(file), new Uint32Array(pixels));
    return pixels;
  });
  const analysed = async () => {
    const analysis = Analysis.create(parametersFor(width, height, layers, { needBuffer: false }));
    try {
      // Up and down again, so that neighbours in the stack are neighbours in the model.
      const there = slices.length - 1;
      const stack = Array.from(
        { length: layers },
        (_, i) => slices[there - Math.abs(there - (i % (2 * there)))],
      );
      let supports = 0;
      for await (const { layer } of analysis.run(stack)) supports += supportsOf(layer);
      return supports;
    } finally {
      await analysis.close();
    }
  };
  const secondsOf = async (work) => {
    const start = performance.now();
    await work();
    return (performance.now() - start) / 1000;
  };
  await analysed();
  const [alone, together] = [[], []];
  for (let round = 0; round < rounds; round++) {
    alone.push(await secondsOf(async () => [await analysed(), await analysed()]));
    together.push(await secondsOf(() => Promise.all([analysed(), analysed()])));
  }
  return {
    oneAfterTheOther: median(alone),
    together: median(together),
    quotient: median(alone.map((seconds, i) => seconds / together[i])),
  };
}

/** Which way the part should stand, the best confirmed as they will be printed. */
async function orientations({ soup }) {
  const start = performance.now();
  const { tried } = await orient({ positions: positionsOf(soup) });
  return { tried, seconds: (performance.now() - start) / 1000, peakMemory: peakMemory() };
}

/** By the addon or in WebAssembly: what a part is to a page, from its mesh to the finished points. */
async function finishedPart({ soup, isWasm }) {
  const api = isWasm
    ? await import('stiltforge/wasm')
    : { ...(await import('stiltforge/analysis')), ...(await import('stiltforge/slicing')) };
  const positions = positionsOf(soup);
  const survey = { pixelSize: print.pixelSize, layerHeight: print.layerHeight };
  const once = async () => {
    const start = process.cpuUsage();
    await api.load?.();
    const slicer = api.createSlicer({ positions, ...api.defaultPrint, margin: 2 });
    const parameters = api.analysisParameters(api.defaultPrint, api.defaultSupport, slicer);
    const analysis = api.Analysis.create(parameters, { survey });
    for await (const _ of analysis.run(slicer));
    await analysis.finishSupports();
    await analysis.close();
    const { user, system } = process.cpuUsage(start);
    return (user + system) / 1e6;
  };
  const first = await once();
  return { first, seconds: median([await once(), await once(), await once()]) };
}

const scenarios = {
  ...{ analysisAlone, model, manyLayers, bytesPerPixel },
  ...{ packSlices, bytesPerPixelOf, twoModels, orientations, finishedPart },
};
const [name, options] = process.argv.slice(2);
console.log(JSON.stringify(await scenarios[name](JSON.parse(options))));
