// The class Model of binding.node. Run by ctest, which names the folder of binaries.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';
import { isMainThread, parentPort, Worker } from 'node:worker_threads';
import { binding, boxesOptions, modelParameters, runsOf } from './harness.mjs';

const { Model, Slicer } = binding;

setFlagsFromString('--expose-gc');
const collectGarbage = runInNewContext('gc');

// Two pillars that carry a plate, a second plate that hangs far out, and islands beside them.
const part = boxesOptions(
  [0, 0, 0, 6, 20, 12],
  [40, 0, 0, 46, 20, 12],
  [0, 0, 12, 46, 20, 16],
  [-30, -10, 16, 70, 30, 22],
  [-30, -30, 6, -15, -15, 9],
  [60, 40, 14, 61, 41, 18],
);

async function slicesOf(slicer) {
  const slices = [];
  for (let i = 0; i < slicer.layerCount; i += 1) slices.push((await slicer.slice(i)).pixels);
  return slices;
}

async function resultsOf(model, slicer, most) {
  const results = [];
  while (results.length < slicer.layerCount) {
    results.push(...(await model.analyseSlicer(slicer, results.length, most)));
  }
  return results;
}

async function fromPictures(parameters, slices) {
  const model = new Model(parameters);
  const results = await Promise.all(slices.map((pixels) => model.analysePixels(pixels)));
  await model.close();
  return results;
}

const supportsOf = (results) =>
  results.flatMap(({ layer }) => layer.groups.flatMap(({ supports }) => supports));

/** Runs of the given rows of [begin, end, begin, end, ...]. */
function rows(...lists) {
  const flat = lists.flat();
  const counts = lists.map((list) => list.length / 2);
  return {
    rowStart: Uint32Array.from([
      0,
      ...counts.map((_, y) => counts.slice(0, y + 1).reduce((a, b) => a + b)),
    ]),
    begin: Uint16Array.from(flat.filter((_, i) => i % 2 === 0)),
    end: Uint16Array.from(flat.filter((_, i) => i % 2 === 1)),
  };
}

const small = () => new Model(modelParameters(10, 3));
const fine = rows([0, 2, 4, 8], [], [5, 6]);

if (isMainThread) {
  for (const needBuffer of [false, true]) {
    test(`a slicer, its pictures and their runs give the same results (needBuffer ${needBuffer})`, async () => {
      const slicer = new Slicer(part);
      const { width, height, layerCount } = slicer;
      const parameters = modelParameters(width, height, { needBuffer, numLayer: layerCount });
      const slices = await slicesOf(slicer);
      const expected = await fromPictures(parameters, slices);
      assert.ok(supportsOf(expected).length > 20);
      assert.ok(supportsOf(expected).some(({ isMinima }) => isMinima));

      assert.deepEqual(await resultsOf(new Model(parameters), slicer), expected);
      assert.deepEqual(await resultsOf(new Model(parameters), slicer, 1), expected);
      assert.deepEqual(await resultsOf(new Model(parameters), slicer, 3), expected);
      const runs = new Model(parameters);
      for (const [i, pixels] of slices.entries()) {
        assert.deepEqual(await runs.analyseRuns(runsOf(pixels, width, height)), expected[i]);
      }
    });
  }

  test('a model may take its slices in all forms, one after the other', async () => {
    const slicer = new Slicer(part);
    const { width, height } = slicer;
    const slices = await slicesOf(slicer);
    const expected = await fromPictures(modelParameters(width, height), slices);
    const model = new Model(modelParameters(width, height));
    const results = [];
    while (results.length < slices.length) {
      const next = slices[results.length];
      if (results.length % 3 === 0) results.push(await model.analysePixels(next));
      else if (results.length % 3 === 1) {
        results.push(await model.analyseRuns(runsOf(next, width, height)));
      } else results.push(...(await model.analyseSlicer(slicer, results.length, 2)));
    }
    assert.deepEqual(results, expected);
  });

  test('pixels may be a view that begins anywhere', async () => {
    const model = small();
    const bytes = new Uint8Array(200).fill(255);
    for (const pixels of [
      bytes.slice(0, 120).buffer,
      bytes.subarray(3, 123),
      new Uint8ClampedArray(bytes.buffer, 1, 120),
      Buffer.from(bytes.buffer, 80, 120),
      runInNewContext('new Uint8Array(120).fill(255)'),
    ]) {
      assert.equal((await model.analysePixels(pixels)).layer.pixelCount, 30);
    }
  });

  test("the host's memory is read at the call and no more", async () => {
    const model = small();
    const pixels = new Uint8Array(120).fill(255);
    const runs = rows([0, 2, 4, 8], [], [5, 6]);
    const jobs = [model.analysePixels(pixels), model.analyseRuns(runs)];
    pixels.fill(0);
    runs.begin.fill(9);
    structuredClone(runs.end, { transfer: [runs.end.buffer] });
    const results = await Promise.all(jobs);
    assert.deepEqual(
      results.map(({ layer }) => layer.pixelCount),
      [30, 7],
    );
  });

  test('jobs run in the order of the calls', async () => {
    const model = small();
    const order = [];
    const note = (what) => (value) => order.push([what, value.layerIndex]);
    await Promise.all([
      model.analyseRuns(fine).then(note('slice')),
      model.groupImages(0, 2).then(note('group')),
      model.analyseRuns(fine).then(note('slice')),
      model.close().then(() => order.push(['close'])),
    ]);
    assert.deepEqual(order, [['slice', 0], ['group', undefined], ['slice', 1], ['close']]);
  });

  test('renders the groups of any layer', async () => {
    const slicer = new Slicer(part);
    const model = new Model(modelParameters(slicer.width, slicer.height));
    const results = await resultsOf(model, slicer);
    const layer = results.findIndex((result) => supportsOf([result]).length > 0);
    const group = results[layer].layer.groups.findIndex(({ supports }) => supports.length > 0);
    const { width, height, images } = await model.groupImages(layer, group);
    const { xMin, xMax, yMin, yMax } = results[layer].layer.groups[group];
    assert.deepEqual([width, height], [xMax - xMin, yMax - yMin]);
    assert.equal(images.length, 8);
    for (const image of images) {
      assert.ok(Buffer.isBuffer(image));
      assert.equal(image.length, 4 * width * height);
    }
    assert.ok(images[0].some((byte) => byte === 255));
  });

  test('says what is wrong with the parameters', () => {
    const refuses = (change, message) =>
      assert.throws(() => new Model({ ...modelParameters(4, 4), ...change }), {
        code: 'ERR_STILTFORGE_PARAMETER',
        message,
      });
    refuses({ width: 0 }, 'The parameter width must be a whole number from 1 to 65535.');
    refuses({ height: 1.5 }, 'The parameter height must be a whole number from 1 to 65535.');
    refuses({ needBuffer: 1 }, 'The parameter needBuffer must be true or false.');
    refuses({ ghostRadius: NaN }, 'The parameter ghostRadius must be a number from 0 to 4096.');
    refuses(
      { anglePart: undefined },
      'The parameter anglePart must be a number from 0 to 3.4e+38.',
    );
    refuses({ width: 65535, height: 65535 }, /65535 x 65535 pixels is too large/);
    assert.throws(() => new Model(), { code: 'ERR_STILTFORGE_PARAMETER' });
    assert.throws(() => new Model(28), { code: 'ERR_STILTFORGE_PARAMETER' });
  });

  test('says what is wrong with pixels', async () => {
    const model = small();
    const refuses = (pixels, message) =>
      assert.throws(() => model.analysePixels(pixels), { code: 'ERR_STILTFORGE_SLICE', message });
    refuses(
      new ArrayBuffer(119),
      'A slice of 10 x 3 pixels is 120 bytes, 4 a pixel, but this one holds 119.',
    );
    const detached = new ArrayBuffer(120);
    structuredClone(detached, { transfer: [detached] });
    refuses(detached, /but this one holds 0\.$/);
    const kinds = /^The pixels of a slice are an ArrayBuffer, a Buffer, /;
    const others = [
      undefined,
      null,
      5,
      {},
      new Uint16Array(60),
      new DataView(new ArrayBuffer(120)),
    ];
    for (const other of others) refuses(other, kinds);
    refuses(new SharedArrayBuffer(120), kinds);
    refuses(new Uint8Array(new SharedArrayBuffer(120)), /not shared with other threads/);
  });

  test('says what is wrong with runs, and in which row', async () => {
    const model = small();
    const refuses = (runs, message) =>
      assert.throws(() => model.analyseRuns(runs), { code: 'ERR_STILTFORGE_SLICE', message });
    refuses(undefined, /^The runs of a slice are an object with rowStart, begin and end\.$/);
    refuses({ ...fine, begin: [0] }, 'begin of the runs must be a Uint16Array.');
    refuses({ ...fine, rowStart: fine.end }, 'rowStart of the runs must be a Uint32Array.');
    refuses({ ...fine, overhang: 3 }, /^The overhang of a slice's runs is an object with /);
    refuses({ ...fine, overhang: null }, /^The overhang of a slice's runs is an object with /);
    refuses({ ...fine, overhang: fine }, 'overhang.blue of the runs must be a Uint8Array.');
    refuses(rows([0, 2], [3, 4]), /^The material has 3 row starts; a slice of 3 rows needs 4/);
    refuses(rows([], [4, 8, 0, 2], []), /^Row 1 of the material has columns 0 to 2 after /);
    refuses(rows([], [], [4, 11]), /^Row 2 of the material has a run of columns 4 to 11, but/);
    const hanging = (overhang, blue) => ({
      ...fine,
      overhang: { ...overhang, blue: Uint8Array.from(blue), green: new Uint8Array(blue.length) },
    });
    refuses(hanging(rows([1, 3], [], []), [0, 0]), /^Row 0 overhangs at columns 1 to 3, /);
    refuses(hanging(rows([], [], [5, 6]), [255]), /^Row 2 has blue 255 at column 5 /);
    refuses(hanging(rows([], [], [5, 6]), [0, 0]), /^The overhang has 1 pixel, but 2 blue /);
    assert.equal((await model.analyseRuns(hanging(rows([], [], [5, 6]), [0]))).layerIndex, 0);
  });

  test('refuses runs in memory that is gone or shared', async () => {
    const model = small();
    const gone = rows([0, 2], [], []);
    structuredClone(gone.begin, { transfer: [gone.begin.buffer] });
    const refused = (name, words) => ({
      code: 'ERR_STILTFORGE_SLICE',
      message: new RegExp(`^${name} of the runs ${words}`),
    });
    assert.throws(() => model.analyseRuns(gone), refused('begin', 'is detached'));
    const shared = { ...fine, rowStart: new Uint32Array(new SharedArrayBuffer(16)) };
    assert.throws(() => model.analyseRuns(shared), refused('rowStart', 'lies in shared memory'));
    const resizable = new ArrayBuffer(12, { maxByteLength: 12 });
    const tracking = { ...fine, begin: new Uint16Array(resizable, 4, 3) };
    resizable.resize(2);
    assert.throws(() => model.analyseRuns(tracking), { code: 'ERR_STILTFORGE_SLICE' });
  });

  test('a getter that takes memory away is no danger, and its exception passes through', async () => {
    const model = small();
    const runs = rows([0, 2, 4, 8], [], [5, 6]);
    Object.defineProperty(runs, 'overhang', {
      get() {
        structuredClone(runs.begin, { transfer: [runs.begin.buffer] });
      },
    });
    assert.throws(() => model.analyseRuns(runs), /begin of the runs is detached/);
    const thrower = { ...fine };
    Object.defineProperty(thrower, 'end', {
      get() {
        throw new RangeError('mine');
      },
    });
    assert.throws(() => model.analyseRuns(thrower), { name: 'RangeError', message: 'mine' });
  });

  test('takes runs of another realm', async () => {
    const runs = runInNewContext(`({
      rowStart: new Uint32Array([0, 1, 1, 1]),
      begin: new Uint16Array([0]),
      end: new Uint16Array([3]),
    })`);
    assert.equal((await small().analyseRuns(runs)).layer.pixelCount, 3);
  });

  test('says what is wrong with a slicer and its layers', async () => {
    const slicer = new Slicer(part);
    const model = new Model(modelParameters(slicer.width, slicer.height));
    for (const other of [undefined, null, {}, model, new Map()]) {
      assert.throws(() => model.analyseSlicer(other, 0), {
        code: 'ERR_STILTFORGE_SLICE',
        message: 'The layers must come from a Slicer or a LayerSlicer of the same binary.',
      });
    }
    assert.throws(() => small().analyseSlicer(slicer, 0), {
      code: 'ERR_STILTFORGE_SLICE',
      message: `The slices of this model are 10 x 3 pixels, but those of the slicer are ${slicer.width} x ${slicer.height} pixels.`,
    });
    for (const first of [-1, 22, 0.5, NaN, '0', undefined]) {
      assert.throws(() => model.analyseSlicer(slicer, first), {
        code: 'ERR_STILTFORGE_INDEX',
        message: /^The first layer of the slicer is .*, not a whole number from 0 to 21\.$/,
      });
    }
    assert.throws(() => model.analyseSlicer(slicer, 0, 0), { code: 'ERR_STILTFORGE_INDEX' });
  });

  test('says which layers and groups there are', async () => {
    const model = small();
    await model.analyseRuns(fine);
    const refuses = (layer, group, message) =>
      assert.rejects(async () => model.groupImages(layer, group), {
        code: 'ERR_STILTFORGE_INDEX',
        message,
      });
    await refuses(1, 0, 'There is no layer 1: 1 layer has been analysed, counted from 0.');
    await refuses(0, 3, 'There is no group 3 in layer 0: it has 3 groups, counted from 0.');
    await refuses(-1, 0, 'The layer index is -1, not a whole number from 0 to 4294967294.');
    await refuses(0, 'x', 'The group index is no number, not a whole number from 0 to 4294967294.');
  });

  test('a closed model refuses work and may be closed again', async () => {
    const model = small();
    const slice = model.analyseRuns(fine);
    const closed = model.close();
    const refused = {
      code: 'ERR_STILTFORGE_CLOSED',
      message: 'The model is closed. Create a new one.',
    };
    assert.throws(() => model.analyseRuns(fine), refused);
    assert.throws(() => model.analysePixels(new ArrayBuffer(120)), refused);
    assert.throws(() => model.analyseSlicer(new Slicer(part), 0), refused);
    assert.throws(() => model.groupImages(0, 0), refused);
    assert.equal((await slice).layer.pixelCount, 7);
    assert.equal(await closed, undefined);
    assert.equal(await model.close(), undefined);
  });

  test('a getter of the options may close the model, which then takes no work', async () => {
    for (const method of ['judge', 'finish']) {
      const model = small();
      let closed;
      const get = () => {
        closed ??= model.close();
      };
      const options = Object.defineProperties({}, { nearReach: { get }, spacing: { get } });
      assert.throws(() => model[method](options), { code: 'ERR_STILTFORGE_CLOSED' });
      await closed;
    }
  });

  test('methods called on something else are refused', () => {
    assert.throws(() => Model.prototype.close.call({}), TypeError);
    assert.throws(
      () => Model.prototype.analysePixels.call(new Slicer(part), new ArrayBuffer(4)),
      TypeError,
    );
    assert.throws(() => Model(modelParameters(4, 4)), TypeError);
  });

  test('several models at once give what each gives alone, and share a slicer', async () => {
    const slicer = new Slicer(part);
    const { width, height } = slicer;
    const settings = [10, 30, 90, 300].map((supportStrength) =>
      modelParameters(width, height, { supportStrength }),
    );
    const alone = [];
    for (const parameters of settings) alone.push(await resultsOf(new Model(parameters), slicer));
    assert.notDeepEqual(alone[0], alone[3]);
    const together = settings.map((parameters, i) =>
      resultsOf(new Model(parameters), slicer, 1 + i),
    );
    const pictures = slicesOf(slicer);
    assert.deepEqual(await Promise.all(together), alone);
    assert.deepEqual(await fromPictures(settings[1], await pictures), alone[1]);
  });

  test('models take turns: none waits for the whole queue of another', async () => {
    const runs = runsOf(new Uint8Array(4 * 300 * 300).fill(255), 300, 300);
    const models = Array.from({ length: 6 }, () => new Model(modelParameters(300, 300)));
    const finished = [];
    await Promise.all(
      models.flatMap((model, i) =>
        Array.from({ length: 30 }, () => model.analyseRuns(runs).then(() => finished.push(i))),
      ),
    );
    // When the first is done, the others have had about as many turns.
    const early = finished.slice(0, finished.lastIndexOf(finished[0]) + 1);
    for (let i = 0; i < models.length; i += 1) {
      assert.ok(early.filter((model) => model === i).length >= 10, `model ${i}`);
    }
  });

  test('a model without any other reference lives until its jobs are done', async () => {
    const promises = Array.from({ length: 30 }, () => {
      const model = new Model(modelParameters(200, 200));
      return [1, 2, 3].map(() => model.analyseRuns(rows(...Array(200).fill([0, 200]))));
    });
    collectGarbage();
    for (const { layer } of await Promise.all(promises.flat())) {
      assert.equal(layer.pixelCount, 40000);
    }
  });

  test('the garbage collector knows of the memory that models hold', async () => {
    const parameters = modelParameters(2000, 2000, { needBuffer: true });
    let collected = 0;
    const registry = new FinalizationRegistry(() => {
      collected += 1;
    });
    for (let i = 0; i < 200 && collected === 0; i += 1) {
      registry.register(new Model(parameters));
      await sleep(1);
    }
    assert.ok(collected > 0);
  });

  test('works in several threads and survives their end in the middle of jobs', async () => {
    for (let round = 0; round < 4; round += 1) {
      const workers = [0, 1, 2].map(() => new Worker(new URL(import.meta.url)));
      await Promise.all(
        workers.map((worker) => new Promise((resolve) => worker.once('message', resolve))),
      );
      const codes = await Promise.all(workers.map((worker) => worker.terminate()));
      assert.deepEqual(codes, [1, 1, 1]);
    }
  });
} else {
  const slicer = new Slicer(boxesOptions([0, 0, 0, 300, 200, 400], [300, 0, 200, 500, 200, 400]));
  const parameters = modelParameters(slicer.width, slicer.height, { needBuffer: true });
  const work = async () => {
    for (;;) {
      const model = new Model(parameters);
      for (let i = 0; i < 20; i += 1) model.analyseSlicer(slicer, i);
      parentPort.postMessage(await model.analyseSlicer(slicer, 20));
    }
  };
  for (let i = 0; i < 3; i += 1) work();
}
