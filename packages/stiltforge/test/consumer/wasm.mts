import { Analysis, type AnalysisParameters, createSlicer, load, readMesh } from 'stiltforge/wasm';

export async function layersOf(file: ArrayBuffer, parameters: AnalysisParameters) {
  await load('/assets/stiltforge.wasm');
  const { positions } = await readMesh(file, { name: 'part.stl' });
  const slicer = createSlicer({
    ...{ positions, layerHeight: 0.05, pixelSize: 0.05, margin: 2 },
    ...{ screenWidth: 3840, screenHeight: 2400 },
  });
  const results = [];
  for await (const result of Analysis.create(parameters).run(slicer)) results.push(result);
  return results;
}

// @ts-expect-error what is no place of a module
load(7);
