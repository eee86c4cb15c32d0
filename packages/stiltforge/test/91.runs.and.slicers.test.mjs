import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Analysis } from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';
import { boxesOptions } from '../../../tests/binding/harness.mjs';
import { parameters, rectangle, runsOf } from './harness.mjs';

const { Slicer } = loadBinary('binding.node');

// A post, a plate that hangs over it, and a second one above, with an island beside them.
const part = boxesOptions(
  [0, 0, 0, 6, 12, 100],
  [0, 0, 100, 40, 12, 104],
  [-40, -12, 104, 60, 24, 108],
  [30, 0, 40, 36, 6, 60],
);
const slicer = new Slicer(part);
const { width, height, layerCount } = slicer;
const model = (changes) => parameters({ width, height, supportStrength: 12, ...changes });

const pictures = [];
for (let i = 0; i < layerCount; i += 1) pictures.push((await slicer.slice(i)).pixels);
const runs = pictures.map((pixels) => runsOf(pixels, width, height));

async function all(analysis, source, options) {
  const results = [];
  for await (const result of analysis.run(source, options)) results.push(result);
  return results;
}

async function whole(source, changes) {
  const analysis = Analysis.create(model(changes));
  const results = await all(analysis, source);
  assert.equal(analysis.sliceCount, layerCount);
  await analysis.close();
  return results;
}

const expected = await whole(pictures);

const isError = (code, message) => (error) => {
  assert.equal(error.name, 'AnalysisError');
  assert.equal(error.code, code);
  assert.match(error.message, message);
  return true;
};

test('a part has supports of both kinds', () => {
  const supports = expected.flatMap(({ layer }) => layer.groups.flatMap((group) => group.supports));
  assert.ok(supports.some(({ isMinima }) => isMinima));
  assert.ok(supports.some(({ isMinima }) => !isMinima));
});

test('run() of a slicer gives what its pictures give', async () => {
  assert.deepEqual(await whole(slicer), expected);
});

test('run() of runs gives what their pictures give', async () => {
  assert.deepEqual(await whole(runs), expected);
  assert.deepEqual(
    await whole(
      (async function* () {
        yield* runs;
      })(),
    ),
    expected,
  );
});

test('pictures and runs may take turns', async () => {
  const mixed = pictures.map((pixels, i) => (i % 2 === 0 ? pixels : runs[i]));
  assert.deepEqual(await whole(mixed), expected);
});

test('with buffers they are the same, too', async () => {
  const buffers = await whole(pictures, { needBuffer: true });
  assert.equal(buffers[0].pixelBuffer.length, 4 * width * height);
  assert.deepEqual(await whole(slicer, { needBuffer: true }), buffers);
  assert.deepEqual(await whole(runs, { needBuffer: true }), buffers);
});

test('analyse() takes runs', async () => {
  const analysis = Analysis.create(model());
  const results = await Promise.all(runs.slice(0, 5).map((slice) => analysis.analyse(slice)));
  assert.deepEqual(results, expected.slice(0, 5));
  await analysis.close();
});

test('a run of a slicer that is left early is gone on with by the next one', async () => {
  for (const first of [1, 2, 7, 30, 31, layerCount]) {
    const analysis = Analysis.create(model());
    const results = [];
    for (const most of [first, 1, Infinity]) {
      for await (const result of analysis.run(slicer)) {
        results.push(result);
        if (results.length >= most + (most === 1 ? first : 0)) break;
      }
    }
    assert.deepEqual(results, expected, `left after ${first}`);
    await analysis.close();
  }
});

test('an aborted run of a slicer is gone on with by the next one', async () => {
  for (const first of [0, 1, 5, 40]) {
    const analysis = Analysis.create(model());
    const controller = new AbortController();
    const run = analysis.run(slicer, controller);
    const results = [];
    for (let i = 0; i < first; i += 1) results.push((await run.next()).value);
    controller.abort(new Error('enough'));
    // What is ready is still delivered.
    for (;;) {
      const next = await run.next().catch((error) => error);
      if (next instanceof Error) {
        assert.match(next.message, /enough/);
        break;
      }
      results.push(next.value);
    }
    results.push(...(await all(analysis, slicer)));
    assert.deepEqual(results, expected, `aborted after ${first}`);
    await analysis.close();
  }
});

test('a slicer may go on where other slices end, and they where it does', async () => {
  const analysis = Analysis.create(model());
  const results = [await analysis.analyse(pictures[0]), await analysis.analyse(runs[1])];
  for await (const result of analysis.run(slicer)) {
    results.push(result);
    if (results.length === 20) break;
  }
  // What the slicer gave beyond is delivered first.
  for await (const result of analysis.run([])) results.push(result);
  results.push(...(await all(analysis, pictures.slice(results.length))));
  assert.deepEqual(results, expected);
  await analysis.close();
});

test('a run of a slicer that is done gives nothing', async () => {
  const analysis = Analysis.create(model());
  await all(analysis, slicer);
  assert.deepEqual(await all(analysis, slicer), []);
  await analysis.close();
});

test('close() during a run of a slicer waits for the layers in work and ends it', async () => {
  const analysis = Analysis.create(model());
  const run = analysis.run(slicer);
  await run.next();
  await analysis.close();
  await assert.rejects(
    async () => {
      for await (const _ of run);
    },
    isError('ERR_STILTFORGE_CLOSED', /The analysis is closed/),
  );
});

test('several analyses may share a slicer', async () => {
  const together = await Promise.all([whole(slicer), whole(slicer), whole(runs), whole(slicer)]);
  for (const results of together) assert.deepEqual(results, expected);
});

test('a slicer of another size, and what only looks like one, is refused', async () => {
  const analysis = Analysis.create(model());
  const small = new Slicer(boxesOptions([0, 0, 0, 3, 3, 3]));
  await assert.rejects(
    all(analysis, small),
    isError('ERR_STILTFORGE_SLICE', /slices of this model are .* those of the slicer are 4 x 4/),
  );
  await assert.rejects(
    all(analysis, { layerCount: 5, width, height }),
    isError('ERR_STILTFORGE_SLICE', /must come from a Slicer/),
  );
  await assert.rejects(analysis.analyse(slicer), isError('ERR_STILTFORGE_SLICE', /^A slice is an/));
  assert.deepEqual(await all(analysis, slicer), expected);
  await analysis.close();
});

// Of an 8 x 6 slice: rows 0 and 1 with two runs each.
const fine = () => ({
  rowStart: Uint32Array.of(0, 2, 4, 4, 4, 4, 4),
  begin: Uint16Array.of(0, 4, 0, 4),
  end: Uint16Array.of(2, 7, 2, 7),
  overhang: {
    rowStart: Uint32Array.of(0, 0, 1, 1, 1, 1, 1),
    begin: Uint16Array.of(5),
    end: Uint16Array.of(7),
    blue: Uint8Array.of(0, 254),
    green: Uint8Array.of(255, 0),
  },
});

test('runs that touch are one', async () => {
  const analysis = Analysis.create(parameters());
  const { rowStart, end } = fine();
  const touching = { rowStart, begin: Uint16Array.of(0, 2, 0, 2), end };
  const { layer } = await analysis.analyse(touching);
  assert.equal(layer.groupCount, 1);
  assert.deepEqual(layer.groups[0].numPixel, 14);
  await analysis.close();
});

const mistakes = {
  'too few row starts': [
    (runs) => ({ ...runs, rowStart: runs.rowStart.slice(1) }),
    /^The material has 6 row starts; a slice of 6 rows needs 7/,
  ],
  'row starts that do not begin with 0': [
    (runs) => ({ ...runs, rowStart: runs.rowStart.fill(1, 0, 1) }),
    /^The row starts of the material begin with 1; /,
  ],
  'row starts that fall': [
    (runs) => ({ ...runs, rowStart: runs.rowStart.fill(1, 2, 3) }),
    /^The row starts of the material fall from 2 to 1 after row 1; /,
  ],
  'row starts beyond the runs': [
    (runs) => ({ ...runs, rowStart: runs.rowStart.fill(9, 6) }),
    /^Row 5 of the material ends with run 9, but there are 4 runs\.$/,
  ],
  'runs after the last row': [
    (runs) => ({ ...runs, rowStart: runs.rowStart.fill(3, 2) }),
    /^The row starts of the material end with 3, but there are 4 runs; /,
  ],
  'more begins than ends': [
    (runs) => ({ ...runs, end: runs.end.slice(1) }),
    /^The runs of the material have 4 begins and 3 ends; /,
  ],
  'an empty run': [
    (runs) => ({ ...runs, end: Uint16Array.of(2, 4, 2, 7) }),
    /^Row 0 of the material has a run of columns 4 to 4; /,
  ],
  'a run beyond the last column': [
    (runs) => ({ ...runs, end: Uint16Array.of(2, 7, 2, 9) }),
    /^Row 1 of the material has a run of columns 4 to 9, but the slice is 8 pixels wide\.$/,
  ],
  'runs that overlap or descend': [
    (runs) => ({ ...runs, begin: Uint16Array.of(0, 1, 0, 4) }),
    /^Row 0 of the material has columns 1 to 7 after a run that ends at 2; /,
  ],
  'overhang beside the material': [
    (runs) => ({ ...runs, overhang: { ...runs.overhang, begin: Uint16Array.of(3) } }),
    /^Row 1 overhangs at columns 3 to 7, which is not within one run of its material\.$/,
  ],
  'overhang without all its values': [
    (runs) => ({ ...runs, overhang: { ...runs.overhang, green: new Uint8Array(1) } }),
    /^The overhang has 2 pixels, but 2 blue values and 1 green value; /,
  ],
  'overhang that is fully supported': [
    (runs) => ({ ...runs, overhang: { ...runs.overhang, blue: Uint8Array.of(3, 255) } }),
    /^Row 1 has blue 255 at column 6 of its overhang, which is full support; /,
  ],
  'an array of another kind': [
    (runs) => ({ ...runs, end: [2, 7, 2, 7] }),
    /^end of the runs must be a Uint16Array\.$/,
  ],
  'an array in shared memory': [
    (runs) => ({ ...runs, begin: new Uint16Array(new SharedArrayBuffer(8)) }),
    /^begin of the runs lies in shared memory, /,
  ],
  'an array whose memory was transferred': [
    (runs) => {
      structuredClone(runs.overhang.blue, { transfer: [runs.overhang.blue.buffer] });
      return runs;
    },
    /^overhang\.blue of the runs is detached, /,
  ],
  'an overhang that is no object': [
    (runs) => ({ ...runs, overhang: null }),
    /^The overhang of a slice's runs is an object with /,
  ],
};

for (const [name, [spoil, message]] of Object.entries(mistakes)) {
  test(`runs with a mistake are refused, the analysis goes on: ${name}`, async () => {
    const analysis = Analysis.create(parameters());
    await assert.rejects(analysis.analyse(spoil(fine())), isError('ERR_STILTFORGE_SLICE', message));
    assert.equal(analysis.sliceCount, 0);
    assert.equal((await analysis.analyse(fine())).layer.pixelCount, 10);
    await analysis.close();
  });
}

test('the arrays of runs are read by the call', async () => {
  const analysis = Analysis.create(parameters());
  const given = fine();
  const result = analysis.analyse(given);
  given.begin.fill(9);
  structuredClone(given.end, { transfer: [given.end.buffer] });
  assert.equal((await result).layer.pixelCount, 10);
  await analysis.close();
});

test('a picture after runs has its background again', async () => {
  const analysis = Analysis.create(parameters({ needBuffer: true }));
  const { pixelBuffer } = await analysis.analyse(fine());
  assert.equal(pixelBuffer.readUInt32LE(8), 0xff000000);
  assert.equal(pixelBuffer.readUInt32LE(0), 0x80000001);
  const coloured = new Uint8Array(rectangle(8, 6, 0, 0, 2, 2));
  coloured[4 * 5 + 1] = 77;
  const picture = await analysis.analyse(coloured);
  assert.equal(picture.pixelBuffer.readUInt32LE(4 * 5), 0xff004d00);
  await analysis.close();
});
