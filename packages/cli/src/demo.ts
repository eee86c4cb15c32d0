import { createRequire } from 'node:module';
import { defaultPrint, defaultSupport } from 'stiltforge/slicing';
import { analyseMesh } from './analyse_mesh.js';
import { untilInterrupted } from './interrupting.js';
import { scaled, standingOnOrigin, turnedFromYUp } from './mesh/triangles.js';
import { progressOn } from './progress_on.js';
import { summaryText } from './summary.js';

interface IndexedMesh {
  positions: number[][];
  cells: number[][];
}

const height = 60; // mm

const bunny = createRequire(import.meta.url)('bunny') as IndexedMesh;
const corners = bunny.cells.flatMap((cell) => cell.flatMap((vertex) => bunny.positions[vertex]));
const standing = standingOnOrigin(turnedFromYUp(new Float32Array(corners)));
const tallest = standing.reduce((top, value, i) => (i % 3 === 2 ? Math.max(top, value) : top), 0);

const summary = await untilInterrupted(async (signal) =>
  analyseMesh(
    {
      name: 'bunny',
      mesh: scaled(standing, height / tallest),
      print: defaultPrint,
      support: defaultSupport,
      folder: 'out/demo',
      force: true,
      pictures: true,
      report: true,
      inspect: [],
    },
    {
      progress: await progressOn(process.stderr),
      signal,
      warn: (sentence) => process.stderr.write(`warning: ${sentence}\n`),
    },
  ),
);
process.stdout.write(summaryText(summary));
