// Puts parts into the queue:
//
//   node dist/submit.js part.stl http://files:8000/plate.sl1 object:inputs/part.stl --wait
//
// A file is told to the workers by its full path. With --wait it prints each result's name when it is
// done, and exits with 1 when a part was parked.
import { resolve } from 'node:path';
import { parseArgs } from 'node:util';
import { QueueEvents } from 'bullmq';
import { type PartRequest, partJob } from './job.js';
import { connectionTo, openQueue } from './queue.js';
import { settingsFrom } from './settings.js';

const usage = `usage: node dist/submit.js PART... [--format json|csv|3mf] [--layer-height mm]
       [--pixel-size mm] [--support-area mm2] [--wait]
PART: a file, a URL, or object:NAME for what is in the storage`;

/** Milliseconds that Redis has to answer before this gives up. */
const patience = 10_000;

/** Undefined when help was asked for. */
function requestsFrom(words: string[]): { requests: PartRequest[]; wait: boolean } | undefined {
  const { values, positionals } = parseArgs({
    args: words,
    allowPositionals: true,
    options: {
      format: { type: 'string' },
      'layer-height': { type: 'string' },
      'pixel-size': { type: 'string' },
      'support-area': { type: 'string' },
      wait: { type: 'boolean', default: false },
      help: { type: 'boolean', short: 'h' },
    },
  });
  if (values.help) return undefined;
  if (positionals.length === 0) throw new Error(usage);
  const number = (text: string | undefined) => (text === undefined ? undefined : Number(text));
  const requests = positionals.map((part) => ({
    source: sourceOf(part),
    format: values.format as PartRequest['format'],
    print: {
      layerHeight: number(values['layer-height']),
      pixelSize: number(values['pixel-size']),
    },
    support: { supportArea: number(values['support-area']) },
  }));
  for (const request of requests) partJob(request);
  return { requests, wait: values.wait };
}

function sourceOf(part: string): PartRequest['source'] {
  if (/^https?:/.test(part)) return { url: part };
  if (part.startsWith('object:')) return { object: part.slice('object:'.length) };
  return { path: resolve(part) };
}

async function submit(words: string[]): Promise<void> {
  const asked = requestsFrom(words);
  if (asked === undefined) {
    process.stdout.write(`${usage}\n`);
    return;
  }
  const { requests, wait } = asked;
  const settings = settingsFrom(process.env);
  const giveUp = setTimeout(() => {
    process.stderr.write(`submit: Redis does not answer at ${settings.redisUrl}\n`);
    process.exit(1);
  }, patience);
  const [connection, listening] = [connectionTo(settings), connectionTo(settings)];
  const queue = openQueue(settings, connection);
  const events = new QueueEvents(settings.queue, { connection: listening });
  queue.on('error', () => {});
  events.on('error', () => {});
  try {
    await events.waitUntilReady();
    const jobs = await queue.addBulk(requests.map((data) => ({ name: 'part', data })));
    clearTimeout(giveUp);
    for (const [index, job] of jobs.entries()) {
      const source = Object.values(requests[index].source)[0];
      if (!wait) {
        process.stdout.write(`${job.id} ${source}\n`);
        continue;
      }
      try {
        const { result } = await job.waitUntilFinished(events);
        process.stdout.write(`${job.id} ${source} -> ${result}\n`);
      } catch (error) {
        process.stdout.write(`${job.id} ${source}: ${(error as Error).message}\n`);
        process.exitCode = 1;
      }
    }
  } finally {
    clearTimeout(giveUp);
    await events.close();
    await queue.close();
    await Promise.all([connection.quit(), listening.quit()]);
  }
}

try {
  await submit(process.argv.slice(2));
} catch (error) {
  process.stderr.write(`submit: ${error instanceof Error ? error.message : String(error)}\n`);
  process.exitCode = 1;
}
