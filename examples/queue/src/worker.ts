// The program: a worker with its page for health and metrics, until SIGTERM or SIGINT.
import { once } from 'node:events';
import { mkdir } from 'node:fs/promises';
import type { AddressInfo } from 'node:net';
import { healthServer } from './http.js';
import { removeLeftovers } from './leftovers.js';
import { Metrics } from './metrics.js';
import { type Log, PartWorker } from './part_worker.js';
import { connectionTo, openQueue } from './queue.js';
import { type Settings, settingsFrom } from './settings.js';
import { openStorage } from './storage.js';

/** Milliseconds beyond those for draining after which nothing is waited for any more. */
const grace = 5000;

const log: Log = (event, details) => {
  process.stdout.write(
    `${JSON.stringify({ time: new Date().toISOString(), event, ...details })}\n`,
  );
};

async function run(settings: Settings): Promise<void> {
  await mkdir(settings.workFolder, { recursive: true });
  await removeLeftovers(settings.workFolder);
  const storage = await openStorage(settings, process.env);
  const connection = connectionTo(settings);
  const queue = openQueue(settings, connection);
  // The worker tells of the same troubles.
  queue.on('error', () => {});
  const metrics = new Metrics(queue);
  // A port that is taken is told before any job is.
  let worker: PartWorker | undefined;
  const notReady = () => (worker === undefined ? 'It is starting.' : worker.notReady());
  const server = healthServer({ notReady }, metrics).listen(settings.port, settings.host);
  await once(server, 'listening');
  worker = new PartWorker(settings, storage, metrics, log);
  const { address, port } = server.address() as AddressInfo;
  log('listening', { address, port, queue: settings.queue });

  await Promise.race([once(process, 'SIGTERM'), once(process, 'SIGINT')]);
  log('draining');
  process.once('SIGTERM', () => process.exit(1)).once('SIGINT', () => process.exit(1));
  setTimeout(() => process.exit(1), settings.drain + grace).unref();
  await worker.drain();
  await queue.close();
  await connection.quit();
  server.close().closeAllConnections();
  log('drained');
}

try {
  await run(settingsFrom(process.env));
} catch (error) {
  process.stderr.write(`worker: ${error instanceof Error ? error.message : String(error)}\n`);
  process.exit(1);
}
