// Hands the bunny's points to PrusaSlicer, counts the tips of the supports that it builds, and draws
// what it would print: docs/images/handover.png.
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { binaryStl } from '../packages/cli/test/meshes.mjs';

const cli = createRequire(new URL('../packages/cli/package.json', import.meta.url));
const { unzipSync } = cli('fflate');
const sharp = cli('sharp');

const command = fileURLToPath(new URL('../packages/cli/bin/stiltforge.mjs', import.meta.url));
const image = fileURLToPath(new URL('../docs/images/handover.png', import.meta.url));

const pixel = 0.1; // mm, and the height of a layer
const [columns, rows] = [1920, 1200];
const lift = 5; // mm, as high as PrusaSlicer raises a part unless it is told otherwise
const pad = 2; // mm, the plate that it puts below the supports
const reach = 1; // mm from a point to its tip

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-handover-'));
try {
  writeFileSync(join(folder, 'bunny.stl'), bunnyStl());
  run(process.execPath, [
    ...[command, 'bunny.stl', '--up', 'y', '--height', '60', '--out', 'out', '--no-pictures', '-q'],
    ...['--screen', `${columns}x${rows}`, '--pixel-size', pixel, '--layer-height', pixel],
    ...['--format', '3mf,json', '--lift', lift],
  ]);
  const document = JSON.parse(readFileSync(join(folder, 'out', 'supports.json'), 'utf8'));
  const supported = await sliced('supported', [
    ...['--supports-enable', '--support-object-elevation', lift],
    ...['--pad-enable', '--pad-wall-thickness', pad],
  ]);
  const alone = await sliced('alone', ['--no-supports-enable', '--no-pad-enable']);
  // The same heights for both.
  alone.unshift(...Array(supported.length - alone.length).fill(new Uint8Array(columns * rows)));
  const tips = tipsOf(supported, alone);
  const points = document.supports.map((support) => onScreen(support, document.model));
  const isNear = (place, others) => others.some((other) => distance(place, other) <= reach);
  const counts = [
    ['points handed over', points.length],
    [`with a tip within ${reach} mm`, points.filter((point) => isNear(point, tips)).length],
    ['tips further from every point', tips.filter((tip) => !isNear(tip, points)).length],
  ];
  for (const name of ['alone', 'supported']) counts.push(...findingsOf(name));
  for (const [what, count] of counts) console.log(`${what.padEnd(40)}${count}`);
  await draw(supported, alone);
} finally {
  rmSync(folder, { recursive: true });
}

function bunnyStl() {
  const { positions, cells } = cli('bunny');
  return binaryStl(cells.map((cell) => cell.map((vertex) => positions[vertex])));
}

function run(program, words) {
  const options = { cwd: folder, encoding: 'utf8', maxBuffer: 1e9 };
  const { error, status, stdout, stderr } = spawnSync(program, words.map(String), options);
  if (error) throw error;
  if (status !== 0) throw new Error(`${program} ${words.join(' ')}\n${stdout}${stderr}`);
}

/** Layers as bytes, 1 where there is material, of what PrusaSlicer makes of the project. */
async function sliced(name, words) {
  run('prusa-slicer', [
    ...['--export-sla', '--datadir', join(folder, 'settings'), '--output', `${name}.sl1`],
    ...[
      '--printer-technology',
      'SLA',
      '--center',
      `${(columns * pixel) / 2},${(rows * pixel) / 2}`,
    ],
    ...['--display-width', columns * pixel, '--display-height', rows * pixel],
    ...['--display-pixels-x', columns, '--display-pixels-y', rows],
    ...['--display-orientation', 'landscape', '--no-display-mirror-x'],
    ...['--layer-height', pixel, '--initial-layer-height', pixel],
    ...words,
    'out/part.3mf',
  ]);
  const pictures = Object.entries(unzipSync(readFileSync(join(folder, `${name}.sl1`))))
    .filter(([entry]) => entry.endsWith('.png') && !entry.includes('thumbnail'))
    .sort(([a], [b]) => (a < b ? -1 : 1));
  const layers = [];
  for (const [, png] of pictures) {
    const grey = await sharp(png).greyscale().raw().toBuffer();
    layers.push(grey.map((value) => (value >= 128 ? 1 : 0)));
  }
  return layers;
}

/** What stiltforge check finds in an archive, by what it means for the print. */
function findingsOf(name) {
  const words = [command, 'check', `${name}.sl1`, '--json'];
  const { stdout } = spawnSync(process.execPath, words, { cwd: folder, encoding: 'utf8' });
  const [{ counts, findings }] = JSON.parse(stdout).files;
  const islands = findings.filter(({ kind }) => kind === 'island').length;
  return [...Object.entries(counts), ['island', islands]].map(([what, count]) => [
    `check, ${name}: ${what}`,
    count,
  ]);
}

/** mm from the screen's upper left corner and above the plate. */
function onScreen({ x, y, z }, { min, max }) {
  const middle = [0, 1].map((axis) => (min[axis] + max[axis]) / 2);
  return [
    (columns * pixel) / 2 + x - middle[0],
    (rows * pixel) / 2 - y + middle[1],
    z - min[2] + lift + pad,
  ];
}

function distance(a, b) {
  return Math.hypot(...a.map((value, axis) => value - b[axis]));
}

/** Middles of the pieces of supports that nothing of a support lies on. */
function tipsOf(supported, alone) {
  const tips = [];
  const isSupport = (layer, i) => supported[layer]?.[i] === 1 && !alone[layer]?.[i];
  for (let layer = Math.ceil(pad / pixel) + 1; layer < supported.length; layer++) {
    const seen = new Set();
    for (let start = 0; start < columns * rows; start++) {
      if (!isSupport(layer, start) || seen.has(start)) continue;
      const queue = [start];
      seen.add(start);
      let [count, x, y, goesOn] = [0, 0, 0, false];
      while (queue.length > 0) {
        const i = queue.pop();
        count += 1;
        x += (i % columns) + 0.5;
        y += Math.floor(i / columns) + 0.5;
        goesOn ||= isSupport(layer + 1, i);
        for (const next of [i - 1, i + 1, i - columns, i + columns]) {
          if (!isSupport(layer, next) || seen.has(next)) continue;
          seen.add(next);
          queue.push(next);
        }
      }
      if (!goesOn) tips.push([(x / count) * pixel, (y / count) * pixel, (layer + 1) * pixel]);
    }
  }
  return tips;
}

/** The print from the front and from the left, supports coloured; nearer is lighter. */
async function draw(supported, alone) {
  const views = [
    { across: columns, deep: rows, index: (a, d) => (rows - 1 - d) * columns + a },
    { across: rows, deep: columns, index: (a, d) => a * columns + d },
  ];
  const pictures = await Promise.all(views.map((view) => picture(supported, alone, view)));
  const gap = 24;
  const width = pictures.reduce((sum, { info }) => sum + info.width + gap, gap);
  const height = Math.max(...pictures.map(({ info }) => info.height)) + 2 * gap;
  let left = gap;
  const composed = pictures.map(({ data, info }) => {
    const place = { input: data, left, top: height - gap - info.height };
    left += info.width + gap;
    return place;
  });
  await sharp({ create: { width, height, channels: 3, background: '#ffffff' } })
    .composite(composed)
    .png({ compressionLevel: 9, palette: true })
    .toFile(image);
}

async function picture(supported, alone, { across, deep, index }) {
  const height = supported.length;
  const depths = new Int32Array(across * height).fill(-1);
  for (let layer = 0; layer < height; layer++) {
    for (let a = 0; a < across; a++) {
      let d = 0;
      while (d < deep && supported[layer][index(a, d)] === 0) d++;
      if (d < deep) depths[(height - 1 - layer) * across + a] = d;
    }
  }
  const pixels = Buffer.alloc(3 * across * height, 255);
  depths.forEach((depth, i) => {
    if (depth < 0) return;
    const [a, layer] = [i % across, height - 1 - Math.floor(i / across)];
    const isPart = alone[layer]?.[index(a, depth)] === 1;
    const slope = (other) => (depths[other] < 0 ? 0 : depths[other] - depth);
    const light = 0.72 + 0.04 * Math.max(-8, Math.min(7, slope(i + across) - slope(i - across)));
    const colour = isPart ? [200, 205, 212] : [224, 122, 32];
    colour.forEach((value, channel) => {
      pixels[3 * i + channel] = Math.max(0, Math.min(255, Math.round(value * light)));
    });
  });
  return sharp(pixels, { raw: { width: across, height, channels: 3 } })
    .trim({ background: '#ffffff' })
    .png()
    .toBuffer({ resolveWithObject: true });
}
