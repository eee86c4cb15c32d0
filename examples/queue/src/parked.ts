// Lists the parts that were parked and why; with --retry it puts them back into the queue.
//
//   node dist/parked.js [--retry]
import { parseArgs } from 'node:util';
import { connectionTo, openQueue } from './queue.js';
import { settingsFrom } from './settings.js';

/** Milliseconds that Redis has to answer before this gives up. */
const patience = 10_000;

async function parked(words: string[]): Promise<void> {
  const { values } = parseArgs({ args: words, options: { retry: { type: 'boolean' } } });
  const settings = settingsFrom(process.env);
  const giveUp = setTimeout(() => {
    process.stderr.write(`parked: Redis does not answer at ${settings.redisUrl}\n`);
    process.exit(1);
  }, patience);
  const connection = connectionTo(settings);
  const queue = openQueue(settings, connection);
  queue.on('error', () => {});
  try {
    const jobs = await queue.getFailed();
    clearTimeout(giveUp);
    for (const job of jobs) {
      process.stdout.write(
        `${job.id} ${Object.values(Object(job.data?.source))[0]}: ${job.failedReason}\n`,
      );
      if (values.retry) await job.retry('failed', { resetAttemptsMade: true });
    }
  } finally {
    clearTimeout(giveUp);
    await queue.close();
    await connection.quit();
  }
}

try {
  await parked(process.argv.slice(2));
} catch (error) {
  process.stderr.write(`parked: ${error instanceof Error ? error.message : String(error)}\n`);
  process.exitCode = 1;
}
