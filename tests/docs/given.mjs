// What programs of the documents take for granted, as globals: a part in the current folder, its
// slices and points. given.d.ts has their types.
import { readFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';
import { analysisParameters, createSlicer, defaultPrint, defaultSupport } from 'stiltforge/slicing';
import { loadMesh, placeSupports } from 'stiltforge-cli';

const { positions } = await loadMesh('part.stl');
const slicer = createSlicer({ positions, ...defaultPrint, margin: 2 });
const layers = Array.from({ length: slicer.layerCount }, (_, layer) => layer);
const slices = await Promise.all(layers.map(async (layer) => (await slicer.slice(layer)).pixels));
const settings = { print: defaultPrint, support: defaultSupport };
const { document } = await placeSupports({ name: 'part.stl', mesh: positions, ...settings });
const report = fileURLToPath(import.meta.resolve('stiltforge-viewer/report.html'));

Object.assign(globalThis, {
  positions,
  slicer,
  slices,
  parameters: analysisParameters(defaultPrint, defaultSupport, slicer),
  points: document.supports.map(({ layer, column, row }) => ({ layer, column, row })),
  part: document,
  file: new File([await readFile('part.stl')], 'part.stl'),
  runs: (first, count) => slicer.runs(first, count),
  template: await readFile(report, 'utf8'),
  showProgress() {},
});
