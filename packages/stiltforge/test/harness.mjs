import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import stiltforge from 'stiltforge';

/** A complete parameter object for slices of 8 x 6 pixels, with what the test cares about changed. */
export function parameters(changes = {}) {
  return {
    width: 8,
    height: 6,
    numLayer: 3,
    needBuffer: false,
    addSupport: true,
    supportStrength: 10,
    growthStrength: 1,
    strengthTransmited: 1,
    firstSupportMinStrength: 2,
    numberOfSamplePerSupport: 10,
    ghostPart: 1,
    strokePart: 1,
    anglePart: 1,
    numberOfSamplePerVoronoi: 50,
    maxSupportRadiusInIsland: 60,
    islandSupportMultiplier: 1,
    islandStrengthSupport: 1,
    strengthOfPlatePixel: 1,
    maxZGhost: 10,
    maxGhost: 200,
    ghostRadius: 5,
    maxVoronoiIteration: 4,
    validationDistanceFormVoronoi: 1,
    distCloseToIsland: 2,
    closeToIslandStrengthTransmited: 1,
    almostNotBlueCounterLimit: 50,
    islandMinBlue: 50,
    maxGhostValueToPlaceSupport: 1,
    ...changes,
  };
}

/** A slice whose pixels are `paint(x, y)`: nothing for background, or { red, green, blue }. */
export function slice(width, height, paint) {
  const pixels = new Uint8Array(width * height * 4);
  for (let y = 0; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const { red = 255, green = 0, blue = 0 } = paint(x, y) ?? { red: 0 };
      pixels.set([red, green, blue, 255], (y * width + x) * 4);
    }
  }
  return pixels.buffer;
}

/** A slice of material inside [left, right) x [top, bottom). */
export function rectangle(width, height, left, top, right, bottom, colour = {}) {
  return slice(width, height, (x, y) =>
    x >= left && x < right && y >= top && y < bottom ? colour : undefined,
  );
}

/** The runs of an RGBA picture, as a host that has no pictures hands them over. */
export function runsOf(pixels, width, height) {
  const bytes = new Uint8Array(pixels);
  const red = (i) => bytes[4 * i];
  const blue = (i) => bytes[4 * i + 2];
  const rowsWhere = (isPart) => {
    const [rowStart, begin, end] = [[0], [], []];
    for (let y = 0; y < height; y += 1) {
      for (let x = 0; x <= width; x += 1) {
        const before = x > 0 && isPart(y * width + x - 1);
        const now = x < width && isPart(y * width + x);
        if (now && !before) begin.push(x);
        if (before && !now) end.push(x);
      }
      rowStart.push(begin.length);
    }
    return {
      rowStart: Uint32Array.from(rowStart),
      begin: Uint16Array.from(begin),
      end: Uint16Array.from(end),
    };
  };
  const hangs = (i) => red(i) > 0 && blue(i) < 255;
  const hanging = Array.from({ length: width * height }, (_, i) => i).filter(hangs);
  return {
    ...rowsWhere((i) => red(i) > 0),
    overhang: {
      ...rowsWhere(hangs),
      blue: Uint8Array.from(hanging, blue),
      green: Uint8Array.from(hanging, (i) => bytes[4 * i + 1]),
    },
  };
}

export function analyse(pixels, layerIndex = 0) {
  return new Promise((resolve, reject) => {
    stiltforge.AnalyseSlice(pixels, layerIndex, (result) =>
      result instanceof Error ? reject(result) : resolve(result),
    );
  });
}

/** The callback's ten arguments. */
export function groupImages(layer, group) {
  return new Promise((resolve, reject) => {
    stiltforge.GroupToBitmap(layer, group, (...args) =>
      args[0] instanceof Error ? reject(args[0]) : resolve(args),
    );
  });
}

const importable = {
  harness: import.meta.url,
  stiltforge: new URL('../index.mjs', import.meta.url),
  analysis: new URL('../dist/analysis.js', import.meta.url),
};

/**
 * Runs a module in a process of its own, with `stiltforge`, `parameters`, `slice`, `rectangle`, `analyse`
 * and `groupImages` in scope (without `loadModule`: none of them) and the addresses of the module and of
 * this harness. Resolves to how it ended; never hangs.
 */
export function runInChild(
  source,
  { timeoutSeconds = 60, flags = [], loadModule = true, env = {} } = {},
) {
  const imports = `
    import stiltforge from ${JSON.stringify(importable.stiltforge)};
    import { parameters, slice, rectangle, analyse, groupImages } from ${JSON.stringify(importable.harness)};
  `;
  const script = `${loadModule ? imports : ''}
    const addonUrl = ${JSON.stringify(importable.stiltforge)};
    const harnessUrl = ${JSON.stringify(importable.harness)};
    const analysisUrl = ${JSON.stringify(importable.analysis)};
    ${source}`;
  return runNode([...flags, '--input-type=module', '--eval', script], { timeoutSeconds, env });
}

/** How many times as slow as usual everything is, as under a sanitizer: limits of time are so much longer. */
const slowness = Number(process.env.STILTFORGE_SLOWNESS ?? 1);

export function runNode(args, { timeoutSeconds = 60, env = {}, signalAfter } = {}) {
  return new Promise((resolve) => {
    const child = spawn(process.execPath, args, {
      stdio: ['ignore', 'pipe', 'pipe'],
      env: { ...process.env, ...env },
      cwd: fileURLToPath(new URL('.', import.meta.url)),
    });
    let stdout = '';
    let stderr = '';
    let timedOut = false;
    child.stdout.on('data', (data) => {
      stdout += data;
      if (signalAfter && stdout.includes(signalAfter.output)) child.kill(signalAfter.signal);
    });
    child.stderr.on('data', (data) => {
      stderr += data;
    });
    const timer = setTimeout(
      () => {
        timedOut = true;
        child.kill('SIGKILL');
      },
      timeoutSeconds * slowness * 1000,
    );
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({ code, signal, stdout, stderr, timedOut });
    });
  });
}
