// A host may have one signal for all its calls.
import assert from 'node:assert/strict';
import { getEventListeners } from 'node:events';
import { test } from 'node:test';
import { Analysis, Survey } from 'stiltforge/analysis';
import { checkPrint } from 'stiltforge/check';
import { orient } from 'stiltforge/orientation';
import { buildScaffold } from 'stiltforge/scaffold';
import {
  analysisParameters,
  createSlicer,
  defaultSupport,
  openPrinterFile,
  readMesh,
} from 'stiltforge/slicing';
import { table } from './boxes.mjs';

const print = { layerHeight: 0.5, pixelSize: 0.5, screenWidth: 100, screenHeight: 100 };
const slicer = createSlicer({ positions: table, ...print });
const survey = { pixelSize: print.pixelSize, layerHeight: print.layerHeight };

const calls = {
  readMesh: (signal) => readMesh(Buffer.from('v 0 0 0\n'), { name: 'points.obj', signal }),
  openPrinterFile: (signal) => openPrinterFile(Buffer.from('PK\x03\x04'), { signal }),
  buildScaffold: (signal) =>
    buildScaffold({
      ...{ positions: table, points: [{ x: 2, y: 2, z: 10 }], plateZ: 0 },
      ...{ layerHeight: print.layerHeight, signal },
    }),
  checkPrint: (signal) =>
    checkPrint(slicer, {
      ...{ layerHeight: print.layerHeight, pixelWidth: print.pixelSize, signal },
      ...{ screenWidth: print.screenWidth, screenHeight: print.screenHeight },
    }),
  orient: (signal) =>
    orient({ positions: table, ...print, directions: 1, listed: 1, confirm: false, signal }),
  'Analysis.run and finishSupports': async (signal) => {
    const analysis = Analysis.create(analysisParameters(print, defaultSupport, slicer), { survey });
    for await (const _ of analysis.run(slicer, { signal }));
    await analysis.finishSupports({ signal });
    await analysis.close();
  },
  'Survey.addLayers and finish': async (signal) => {
    const { width, height } = slicer;
    const points = Survey.create({ width, height, ...survey });
    await points.addLayers(slicer, [], { signal });
    await points.finish({ signal });
  },
};

for (const [name, call] of Object.entries(calls)) {
  test(`${name} lets go of its signal when it has ended, well or not`, async () => {
    const { signal } = new AbortController();
    await Promise.allSettled([call(signal)]);
    assert.deepEqual(getEventListeners(signal, 'abort'), []);
  });
}
