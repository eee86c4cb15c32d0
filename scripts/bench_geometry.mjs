// What becomes of parts with supports as geometry: a table, of each mesh as it stands and lifted.
//   npm run bench:geometry -- MESH or FOLDER ...
import { readdirSync, statSync } from 'node:fs';
import { basename, join } from 'node:path';
import { argv, exit } from 'node:process';
import { checkPrint } from 'stiltforge/check';
import { createSlicer } from 'stiltforge/slicing';
import { buildSupports, defaultSupport, loadMesh, placeSupports } from 'stiltforge-cli';

// A screen on which any of them fits.
const print = { layerHeight: 0.05, pixelSize: 0.05, screenWidth: 8000, screenHeight: 8000 };
const lift = 5; // mm
const raftThickness = 1; // mm
const meshNames = /\.(stl|obj|ply|3mf)$/i;

const files = argv.slice(2).flatMap((path) =>
  statSync(path).isDirectory()
    ? readdirSync(path)
        .filter((name) => meshNames.test(name))
        .sort()
        .map((name) => join(path, name))
    : [path],
);
if (files.length === 0) {
  console.error('Name meshes, or folders with some: npm run bench:geometry -- parts/');
  exit(2);
}

/** Bodies that begin in the air and are taken too late, or never. */
async function looseIn(positions) {
  const slicer = createSlicer({ positions, ...print, margin: 2 });
  const { pixelSize: pixelWidth, ...rest } = print;
  const { findings } = await checkPrint(slicer, { ...rest, pixelWidth });
  return findings
    .filter(({ kind, severity }) => severity === 'fails' && kind !== 'overhang')
    .reduce((sum, { count }) => sum + count, 0);
}

function joined(first, second) {
  const both = new Float32Array(first.length + second.length);
  both.set(first);
  both.set(second, first.length);
  return both;
}

async function rowOf(file, lifted) {
  const { positions: mesh } = await loadMesh(file);
  const settings = lifted ? { raftThickness } : {};
  const job = { name: file, mesh, support: defaultSupport };
  const part = await placeSupports({ ...job, print: lifted ? { ...print, lift } : print });
  const begin = performance.now();
  const { scaffold, document } = await buildSupports(part, { settings, merge: true });
  const time = performance.now() - begin;
  const { stands, leftOut, braces, alone } = document.scaffold;
  return {
    mesh: `${basename(file)}${lifted ? ', lifted, on a raft' : ''}`,
    supports: document.supports.length,
    straight: stands.plate,
    'past the part': stands.bridge,
    'on the part': stands.part,
    low: stands.low,
    'left out': leftOut.length,
    braces,
    'out of reach': alone.length,
    ms: Math.round(time),
    'loose without': await looseIn(mesh),
    'loose with': await looseIn(joined(mesh, scaffold.positions)),
  };
}

let titles = true;
for (const file of files) {
  for (const lifted of [false, true]) {
    const row = await rowOf(file, lifted);
    if (titles) {
      console.log(`| ${Object.keys(row).join(' | ')} |`);
      console.log(`|${' --- |'.repeat(Object.keys(row).length)}`);
      titles = false;
    }
    console.log(`| ${Object.values(row).join(' | ')} |`);
  }
}
