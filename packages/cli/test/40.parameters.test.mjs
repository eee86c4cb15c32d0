import assert from 'node:assert/strict';
import { test } from 'node:test';
import { parameterTable } from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';
import { analysisParameters, defaultPrint, defaultSupport } from 'stiltforge-cli';

const slices = { width: 100, height: 80, layerCount: 60 };
const parametersFor = (print) =>
  analysisParameters({ ...defaultPrint, ...print }, defaultSupport, slices);

test('all 28 parameters are set', () => {
  const names = parameterTable().map(({ name }) => name);
  assert.deepEqual(Object.keys(parametersFor({})).sort(), names.sort());
});

test('half the pixel size doubles lengths and quadruples areas', () => {
  const coarse = parametersFor({ pixelSize: 0.05 });
  const fine = parametersFor({ pixelSize: 0.025 });
  assert.equal(fine.supportStrength, 4 * coarse.supportStrength);
  assert.equal(fine.numberOfSamplePerVoronoi, 4 * coarse.numberOfSamplePerVoronoi);
  assert.equal(fine.maxSupportRadiusInIsland, 2 * coarse.maxSupportRadiusInIsland);
  assert.equal(fine.ghostRadius, 2 * coarse.ghostRadius);
});

test('half the layer height doubles what is counted in layers and nothing else', () => {
  const thick = parametersFor({ layerHeight: 0.05 });
  const thin = parametersFor({ layerHeight: 0.025 });
  assert.deepEqual(thin, {
    ...thick,
    distCloseToIsland: 2 * thick.distCloseToIsland,
    maxZGhost: 2 * thick.maxZGhost,
  });
});

test('coarse pixels and thick layers never round a parameter to nothing', () => {
  const rough = parametersFor({ pixelSize: 20, layerHeight: 5 });
  for (const name of ['supportStrength', 'numberOfSamplePerVoronoi', 'distCloseToIsland']) {
    assert.ok(rough[name] >= 1, name);
  }
});

test("the command's defaults are those that other hosts get", () => {
  const { analysisParameters: native } = loadBinary('binding.node');
  assert.deepEqual(parametersFor({}), native({}, slices));
  for (const name of Object.keys({ ...defaultPrint, ...defaultSupport })) {
    const settings = { ...defaultPrint, ...defaultSupport };
    delete settings[name];
    assert.deepEqual(native(settings, slices), parametersFor({}), name);
  }
});
