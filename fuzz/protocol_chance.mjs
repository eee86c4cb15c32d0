// What a sequence's players share: their chance, which the seed decides, values that nobody expects, and
// how they fail.

import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';
import { isMainThread, threadId, workerData } from 'node:worker_threads';
import { generator } from './generator.mjs';

export const seed = isMainThread ? Number(process.argv[2]) : workerData;

export const random = generator(seed);
export const below = (n) => Math.floor(random() * n);
export const chance = (p) => random() < p;
export const pick = (...choices) => choices[below(choices.length)];

export const oddNumbers = [
  NaN,
  Infinity,
  -Infinity,
  -1,
  -0.5,
  0,
  0.5,
  1,
  3,
  100,
  1e5,
  2 ** 31,
  2 ** 32,
  1e300,
];
export const oddValues = [undefined, null, 'text', true, {}, [], 10n, Symbol('odd'), () => {}];

/** What our own callbacks and getters throw. */
export class Thrown extends Error {
  constructor() {
    super('thrown by the host');
  }
}

/** Exit code, not one that a terminated worker thread has. */
export const brokenPromise = 3;

export function fail(message) {
  console.error(`seed ${seed}, thread ${threadId}: ${message}`);
  process.exit(brokenPromise);
}

setFlagsFromString('--expose-gc');
const collectGarbage = runInNewContext('gc');

/** Takes the host's memory away, or changes it, while a job may be at work on it. */
export function mistreat(buffer) {
  try {
    pick(
      () => {},
      () => buffer.resize(below(buffer.byteLength + 1)),
      () => structuredClone(buffer, { transfer: [buffer] }),
      () => new Uint8Array(buffer).fill(below(256)),
    )();
  } catch (error) {
    if (!(error instanceof TypeError || error.name === 'DataCloneError')) throw error;
  }
  if (chance(0.05)) collectGarbage();
}
