// Makes the pictures of docs/algorithm.md with the analysis itself: npm run docs:images
import { mkdirSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import sharp from 'sharp';
import { Analysis } from 'stiltforge/analysis';

const folder = fileURLToPath(new URL('../docs/images', import.meta.url));

/** Fills that differ in lightness too, for people who see no colours. */
const fills = [
  '#3b6fb6',
  '#e0a13a',
  '#6b9e4f',
  '#b2507f',
  '#57b5c4',
  '#8a6fd0',
  '#c96f4a',
  '#a3a13f',
];
const paper = '#ffffff';
const ink = '#20242c';
const grid = '#d5d9e0';

const parameters = {
  numLayer: 2,
  addSupport: true,
  needBuffer: true,
  growthStrength: 1000,
  strengthTransmited: 1,
  firstSupportMinStrength: 1.3,
  numberOfSamplePerSupport: 1000,
  ghostPart: 1,
  strokePart: 0.3,
  anglePart: 1,
  maxSupportRadiusInIsland: 1e6,
  islandSupportMultiplier: 1,
  islandStrengthSupport: 1,
  strengthOfPlatePixel: 1,
  maxZGhost: 200,
  maxGhost: 10000,
  ghostRadius: 20,
  validationDistanceFormVoronoi: 0,
  distCloseToIsland: 2,
  closeToIslandStrengthTransmited: 1.2,
  almostNotBlueCounterLimit: 0,
  islandMinBlue: 0,
  maxGhostValueToPlaceSupport: 0,
};

/** RGBA pixels of a slice whose material is where `solid(x, y)` gives { blue, green }. */
function picture(width, height, solid) {
  const pixels = new Uint8Array(width * height * 4);
  for (let y = 0; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const { red = 255, blue = 0, green = 0 } = solid(x, y) ?? { red: 0 };
      pixels.set([red, green, blue, 255], (y * width + x) * 4);
    }
  }
  return pixels;
}

async function write(name, width, height, body) {
  const svg = `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}" font-family="sans-serif">
    <rect width="100%" height="100%" fill="${paper}"/>${body}</svg>`;
  mkdirSync(folder, { recursive: true });
  await sharp(Buffer.from(svg))
    .png({ palette: true, compressionLevel: 9 })
    .toFile(`${folder}/${name}`);
  console.log(`docs/images/${name}`);
}

async function regions() {
  const rows = [
    '###......##.....',
    '###.....#..#....',
    '...##..#....#...',
    '...##...#..#....',
    '.........##..###',
    '#.#..........#..',
    '#.#..##....###..',
    '.#....##........',
  ];
  const width = rows[0].length;
  const height = rows.length;
  const analysis = Analysis.create({
    ...parameters,
    ...{
      width,
      height,
      supportStrength: 1e6,
      numberOfSamplePerVoronoi: 10,
      maxVoronoiIteration: 1,
    },
  });
  const { pixelBuffer } = await analysis.analyse(
    picture(width, height, (x, y) => (rows[y][x] === '#' ? {} : undefined)),
  );
  await analysis.close();
  const cell = 46;
  let body = '';
  for (let y = 0; y < height; y += 1) {
    for (let x = 0; x < width; x += 1) {
      const word = pixelBuffer.readUInt32LE((y * width + x) * 4);
      const label = word >>> 24 === 0x80 ? word & 0xffffff : 0;
      const fill = label === 0 ? paper : fills[(label - 1) % fills.length];
      body += `<rect x="${x * cell}" y="${y * cell}" width="${cell}" height="${cell}" fill="${fill}" stroke="${grid}"/>`;
      if (label === 0) continue;
      body += `<text x="${(x + 0.5) * cell}" y="${(y + 0.5) * cell + 7}" font-size="20" text-anchor="middle" fill="white">${label}</text>`;
    }
  }
  await write('regions.png', width * cell, height * cell, body);
}

async function relaxation() {
  const [width, height] = [120, 90];
  const inside = (x, y) => {
    const body = (x - 48) ** 2 / 45 ** 2 + (y - 45) ** 2 / 40 ** 2 < 1;
    const arm = x >= 60 && x < 116 && y > 30 && y < 52;
    const hole = (x - 38) ** 2 + (y - 40) ** 2 < 14 ** 2;
    return (body || arm) && !hole;
  };
  const scale = 4;
  const gap = 24;
  const title = 34;
  let body = '';
  for (const [panel, rounds] of [1, 2, 5, 20].entries()) {
    const analysis = Analysis.create({
      ...parameters,
      ...{
        width,
        height,
        supportStrength: 420,
        numberOfSamplePerVoronoi: 1e4,
        maxVoronoiIteration: rounds,
      },
    });
    const slices = [
      picture(width, height, (x, y) => (x === 3 && y === 45 ? { blue: 255 } : undefined)),
      picture(width, height, (x, y) =>
        inside(x, y) ? { blue: (x * 37 + y * 91) % 97 } : undefined,
      ),
    ];
    let last;
    for await (const result of analysis.run(slices)) last = result;
    await analysis.close();
    const supports = last.layer.groups.flatMap((group) => group.supports);
    const left = (panel % 2) * (width * scale + gap);
    const top = Math.floor(panel / 2) * (height * scale + title + gap);
    body += `<text x="${left + 4}" y="${top + 24}" font-size="20" fill="${ink}">${rounds} ${rounds === 1 ? 'round' : 'rounds'}</text>`;
    for (let y = 0; y < height; y += 1) {
      for (let x = 0; x < width; x += 1) {
        if (!inside(x, y)) continue;
        const distances = supports.map((s) => (s.x - x) ** 2 + (s.y - y) ** 2);
        const nearest = distances.indexOf(Math.min(...distances));
        body += `<rect x="${left + x * scale}" y="${top + title + y * scale}" width="${scale + 0.2}" height="${scale + 0.2}" fill="${fills[nearest % fills.length]}" fill-opacity="0.75"/>`;
      }
    }
    for (const { x, y } of supports) {
      body += `<circle cx="${left + (x + 0.5) * scale}" cy="${top + title + (y + 0.5) * scale}" r="7" fill="${paper}" stroke="${ink}" stroke-width="3"/>`;
    }
  }
  await write('relaxation.png', 2 * width * scale + gap, 2 * (height * scale + title) + gap, body);
}

await regions();
await relaxation();
