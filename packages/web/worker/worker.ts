import { checkScaffold, checkSettings, type Host, messageOf, UserError } from 'stiltforge-cli/part';
import { type AnalysedPart, analysedPart } from './analysed_part.js';
import { mostMemory, startCore } from './core.js';
import { fileOf } from './files.js';
import { type OrientedPart, orientedPart } from './oriented_part.js';
import type { Answer, Message, Order, PartSettings, Progress } from './protocol.js';

/** Milliseconds between two words of progress. */
const tellingPause = 50;

const host: Host = { generator: __GENERATOR__, memory: mostMemory };

let template = '';
let started: Promise<void> = Promise.reject(new Error('the worker was not started'));
started.catch(() => {});
let analysed: AnalysedPart | undefined;
let oriented: OrientedPart | undefined;

function say(message: Message): void {
  postMessage(message);
}

function teller(): (progress: Progress) => void {
  let last = 0;
  return (progress) => {
    if (performance.now() - last < tellingPause) return;
    last = performance.now();
    say({ progress });
  };
}

function check({ print, support, scaffold }: PartSettings): void {
  checkSettings(print, support);
  checkScaffold(scaffold, print.lift);
}

async function answerTo(order: Order): Promise<Answer> {
  if (order.order === 'start') {
    template = order.template;
    started = startCore(order.core);
  }
  await started;
  switch (order.order) {
    case 'start':
      return { answer: 'done' };
    case 'check':
      check(order.settings);
      return { answer: 'done' };
    case 'analyse':
      check(order.settings);
      analysed = await analysedPart(order.files, order.settings, host, teller());
      return { answer: 'analysed', packed: analysed.packed };
    case 'save':
      if (analysed === undefined) throw new Error('nothing was analysed yet');
      return { answer: 'saved', ...(await fileOf(analysed, order.format, template)) };
    case 'orient':
      check(order.settings);
      oriented = await orientedPart(order.file, order.settings, order.wish, host, teller());
      return { answer: 'oriented', ranking: oriented.ranking };
    case 'saveOriented':
      if (oriented === undefined) throw new Error('no orientations were found yet');
      return { answer: 'saved', file: oriented.fileOf(order.format), warnings: [] };
  }
}

addEventListener('message', ({ data }: MessageEvent<Order>) => {
  answerTo(data).then(say, (error: unknown) => {
    const isMendable = error instanceof UserError;
    const trace = error instanceof Error ? (error.stack ?? error.message) : messageOf(error);
    say({ answer: 'failed', sentence: isMendable ? error.message : trace, isMendable });
  });
});
