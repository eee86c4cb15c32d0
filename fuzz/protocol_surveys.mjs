// The calls that judge and finish supports, of models with a survey and of surveys of given points, and
// what each of their answers must keep to.

import { isDeepStrictEqual } from 'node:util';
import {
  below,
  chance,
  fail,
  mistreat,
  oddNumbers,
  oddValues,
  pick,
  Thrown,
} from './protocol_chance.mjs';

/** The options with some left out, replaced by what nobody expects, or behind a getter that calls `step`. */
function spoilt(options, step) {
  for (let i = chance(0.3) ? 1 + below(2) : 0; i > 0; i -= 1) {
    const key = pick(...Object.keys(options));
    const value = options[key];
    const get = () => {
      if (chance(0.3)) throw new Thrown();
      step();
      return value;
    };
    const property = pick({ get }, { value: pick(...oddNumbers, ...oddValues) });
    Object.defineProperty(options, key, { configurable: true, enumerable: true, ...property });
  }
  return chance(0.97) ? options : pick(...oddValues);
}

/** Options that make a survey, mostly. */
export function randomSurveyOptions(step) {
  return spoilt(
    {
      pixelSize: pick(0.02, 0.05, 0.5, 1),
      layerHeight: pick(0.02, 0.05, 0.5, 1),
      minimumHeight: pick(undefined, 0, 0.2, 3),
      criticalAngle: pick(undefined, 1, 45, 90),
      supportArea: pick(undefined, 0.5, 15, 1000),
    },
    step,
  );
}

const randomJudgeOptions = (step) =>
  spoilt(
    {
      nearReach: pick(undefined, 0, 1, 8),
      farReach: pick(undefined, 0, 5, 100),
      spacing: pick(undefined, 0, 1, 20),
    },
    step,
  );

const randomFinishOptions = (step) =>
  spoilt(
    {
      supportArea: pick(undefined, 0.5, 15, 1000),
      spacing: pick(undefined, 0, 1, 20),
      judge: chance(0.5) ? undefined : randomJudgeOptions(step),
    },
    step,
  );

function checkNumbers(numbers, count, what) {
  numbers.forEach((number, i) => {
    if (!(number < count) || numbers[i - 1] >= number) fail(`${what} are no ascending numbers`);
  });
}

function checkVerdict(verdict) {
  const { islands, points, worst, closePairs } = verdict;
  islands.forEach(({ layer, heldBy, point, takenIn }, i) => {
    if (islands[i - 1]?.layer > layer) fail('islands do not come bottom first');
    if ((heldBy === null) !== (takenIn === null)) fail('an island is held in no layer');
    if ((heldBy === 'point') !== (point !== null)) fail('an island is held by no point');
    if (point !== null && !(point < points)) fail('an island is held by a point too many');
    if (takenIn !== null && takenIn < layer) fail('an island is taken before it begins');
  });
  for (const kind of ['overhang', 'overhangWithoutRoom', 'overhangInSealedVoids']) {
    const { area, beyondNear, beyondFar } = verdict[kind];
    const fits = [beyondNear, beyondFar].every((part) => part >= 0 && part <= area);
    if (!fits || !Number.isFinite(area)) fail(`${kind} has parts larger than itself`);
  }
  for (const kind of ['inNoMaterial', 'onHeldMaterial', 'withoutRoom', 'inSealedVoids']) {
    checkNumbers(verdict[kind], points, kind);
  }
  worst.forEach(({ distance }, i) => {
    if (!(distance >= 0) || worst[i - 1]?.distance < distance) fail('the worst are not first');
  });
  for (const { first, second, distance } of closePairs) {
    if (!(first < second && second < points)) fail('a close pair is no pair');
    // Squares are compared; the root of a lesser one may be rounded up to the spacing.
    if (!(distance <= verdict.spacing)) fail('a close pair is not close');
  }
}

function checkFinished({ supports, dropped, islandsLeft, leftAlone, verdict }) {
  const kept = supports.map(({ analysed }) => analysed).filter((number) => number !== null);
  const numbers = [...kept, ...dropped.map(({ analysed }) => analysed)].sort((a, b) => a - b);
  if (numbers.some((number, i) => number !== i)) fail('a point before is lost, or there twice');
  supports.forEach(({ layer, y, x, reason, analysed, mergedIn }, i) => {
    const before = supports[i - 1];
    const order = before && (before.layer - layer || before.y - y || before.x - x);
    if (order > 0) fail('supports are not in their order');
    if (reason.startsWith('added') !== (analysed === null)) fail(`a support is ${reason}`);
    const standsForMore = mergedIn.length > 0;
    if (reason === (standsForMore ? 'analysed' : 'merged')) fail(`a support is ${reason} only`);
    checkNumbers(mergedIn, numbers.length, 'merged points');
  });
  for (const { reason, analysed, into } of dropped) {
    if ((reason === 'merged') !== (into !== null)) fail(`a point is ${reason} into nothing`);
    if (into !== null && !supports[into].mergedIn.includes(analysed)) fail('a point is forgotten');
  }
  checkNumbers(islandsLeft, verdict.islands.length, 'islands left');
  if (!Object.values(leftAlone).every((value) => value >= 0)) fail('less than nothing is left');
  if (verdict.points !== supports.length) fail('other points were judged than finished');
  checkVerdict(verdict);
}

/**
 * Actions with their weights. callObject: makes one of a model's or survey's calls and says whether it
 * was taken; models, slicers: those of the player, which come and go; randomPixels, randomRuns: of a
 * size; step: any action.
 */
export function surveyActions({
  Survey,
  callObject,
  models,
  slicers,
  randomPixels,
  randomRuns,
  step,
}) {
  const surveys = []; // { object, size, layers, ended }

  function startSurvey() {
    const box = slicers[below(slicers.length)];
    const size =
      box && chance(0.5)
        ? { width: box.slicer.width, height: box.slicer.height }
        : { width: 1 + below(60), height: 1 + below(60) };
    const width = chance(0.95) ? size.width : pick(...oddNumbers, ...oddValues);
    const options = randomSurveyOptions(step);
    try {
      const object = new Survey(width, size.height, options);
      if (width === size.width) surveys.push({ object, size, layers: 0 });
      if (surveys.length > 4) surveys.shift();
    } catch (error) {
      if (error instanceof Thrown) return;
      if (!(error instanceof Error) || error.message === '') fail(`Survey threw ${error}`);
    }
  }

  function randomPoint({ width, height }) {
    const point = { x: below(width), y: below(height), isIsland: chance(0.5) };
    if (chance(0.02)) point[pick('x', 'y')] = pick(...oddNumbers, ...oddValues);
    if (chance(0.02)) {
      const { x } = point;
      Object.defineProperty(point, 'x', {
        get() {
          if (chance(0.3)) throw new Thrown();
          step();
          return x;
        },
      });
    }
    return chance(0.99) ? point : pick(65535, ...oddValues);
  }

  function randomPoints(size) {
    if (chance(0.02)) return pick(...oddValues);
    return Array.from({ length: chance(0.5) ? 0 : below(20) }, () => randomPoint(size));
  }

  const surveyAtHand = () => surveys[below(surveys.length)];

  /** Adds as many layers. */
  function add(name, entry, count, ...args) {
    callObject(
      name,
      entry,
      () => entry.object[name](...args),
      (layers) => {
        if (layers !== entry.layers + count) fail(`a survey has ${layers} layers`);
        entry.layers = layers;
      },
    );
  }

  function addPixels() {
    const entry = surveyAtHand();
    if (!entry) return;
    const pixels = chance(0.95) ? randomPixels(entry.size) : pick(new ArrayBuffer(8), ...oddValues);
    add('addPixels', entry, 1, pixels, randomPoints(entry.size));
    if (pixels instanceof ArrayBuffer) mistreat(pixels);
  }

  function addRuns() {
    const entry = surveyAtHand();
    if (!entry) return;
    const runs = chance(0.95) ? randomRuns(entry.size) : pick(...oddValues);
    add('addRuns', entry, 1, runs, randomPoints(entry.size));
  }

  function addSlicer() {
    const entry = surveyAtHand();
    const box = slicers[below(slicers.length)];
    if (!entry || !box) return;
    const first = chance(0.9) ? below(box.layers) : pick(...oddNumbers, ...oddValues);
    const count = below(box.layers + (chance(0.9) ? 1 : 5));
    const points = Array.from({ length: count }, () => randomPoints(entry.size));
    const slicer = chance(0.95) ? box.slicer : pick(entry.object, ...oddValues);
    add('addSlicer', entry, count, slicer, first, chance(0.97) ? points : pick(...oddValues));
  }

  const entryAtHand = () => (chance(0.5) ? surveyAtHand() : models[below(models.length)]);

  /** Of a survey, or of a model, which may have none. The same question has the same answer. */
  function ask(entry, name, randomOptions, check) {
    if (!entry) return;
    const options = randomOptions(step);
    let before;
    const checkAnswer = (answer) => {
      entry.ended = true;
      check(answer);
      if (before && !isDeepStrictEqual(answer, before)) fail(`${name} gave another answer`);
      before = answer;
    };
    const asked = () => callObject(name, entry, () => entry.object[name](options), checkAnswer);
    if (asked() && chance(0.3)) asked();
  }
  const judge = (entry) => ask(entry, 'judge', randomJudgeOptions, checkVerdict);
  const finish = (entry) => ask(entry, 'finish', randomFinishOptions, checkFinished);

  /** Enough layers for overhang with room below, and what is said of it. */
  function startStack() {
    const entry = entryAtHand();
    if (!entry) return;
    const { object, size } = entry;
    for (let i = 2 + below(20); i > 0; i -= 1) {
      const pixels = randomPixels(size);
      if (entry.layers !== undefined) add('addPixels', entry, 1, pixels, randomPoints(size));
      else
        callObject(
          'analysePixels',
          entry,
          () => object.analysePixels(pixels),
          () => {},
        );
    }
    finish(entry);
    if (chance(0.5)) judge(entry);
  }

  return [
    [3, startSurvey],
    [5, addPixels],
    [5, addRuns],
    [4, addSlicer],
    [3, () => judge(entryAtHand())],
    [4, () => finish(entryAtHand())],
    [3, startStack],
  ];
}
