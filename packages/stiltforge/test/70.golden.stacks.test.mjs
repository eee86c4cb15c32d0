import assert from 'node:assert/strict';
import { test } from 'node:test';
import stiltforge from 'stiltforge';
import { digest, names, readExpected, readStack } from './golden.mjs';
import { analyse, groupImages } from './harness.mjs';

function countSupports(layer) {
  return layer.groups.reduce((sum, group) => sum + group.supports.length, 0);
}

test('there are sixteen stacks', () => assert.equal(names.length, 16));

for (const name of names) {
  test(`stack ${name} gives the expected layers, buffers and group images`, async () => {
    const { parameters, slices } = readStack(name);
    const expected = readExpected(name);

    for (const needBuffer of [true, false]) {
      stiltforge.InitAnalyseSlice({ ...parameters, needBuffer });
      for (const [i, pixels] of slices.entries()) {
        const result = await analyse(pixels, i);
        const line = expected[i];
        const at = `${name}, slice ${i}, needBuffer ${needBuffer}`;
        assert.equal(JSON.stringify(result.layer), JSON.stringify(line.layer), at);
        assert.equal(countSupports(result.layer), line.supportCount, at);
        if (!needBuffer) continue;
        for (const buffer of ['pixelBuffer', 'topPixelBuffer', 'supportedPixels']) {
          assert.equal(digest(result[buffer]), line[buffer], `${at}, ${buffer}`);
        }
      }
      for (const line of expected.slice(slices.length)) {
        const [...images] = await groupImages(line.layerIndex, line.groupIndex);
        const [width, height] = images.splice(8);
        const at = `${name}, group ${line.groupIndex} of layer ${line.layerIndex}`;
        assert.deepEqual([width, height], [line.width, line.height], at);
        assert.deepEqual(images.map(digest), line.images, at);
      }
      stiltforge.CleanPointer();
    }
  });
}
