import { mkdir, rm } from 'node:fs/promises';
import { join } from 'node:path';
import { fetchInput, partName } from './input.js';
import { type PartDone, partJob } from './job.js';
import { temporaryName } from './leftovers.js';
import type { PartProgress } from './part_messages.js';
import type { PartProcesses } from './part_processes.js';
import { resultName } from './result_name.js';
import type { Settings } from './settings.js';
import type { Storage } from './storage.js';

/**
 * The whole work of a job: its input, its result in a process within limits, and that into the storage.
 * May be done again at any time, also by two workers at once: the result is there once. Throws an
 * UnrecoverableError when trying again would not help, and the signal's reason.
 */
export async function workOn(
  data: unknown,
  settings: Settings,
  storage: Storage,
  processes: PartProcesses,
  signal: AbortSignal,
  progress: (done: PartProgress) => void,
): Promise<PartDone> {
  const started = performance.now();
  const job = partJob(data);
  const name = partName(job);
  const folder = join(settings.workFolder, temporaryName());
  await mkdir(folder, { recursive: true });
  try {
    const input = join(folder, name);
    const digest = await fetchInput(job.source, input, settings, storage, signal);
    const result = resultName(job, name, digest);
    const reused = await storage.has(result, signal);
    let costs = { peakMemory: 0, cpuSeconds: 0 };
    if (!reused) {
      const { format, print, support } = job;
      const { timeLimit, memoryLimit: memory } = settings;
      const order = { folder, name, format, print, support, memory };
      const made = await processes.make(order, { signal, timeLimit, progress });
      await storage.write(result, join(folder, made.file), signal);
      costs = { peakMemory: made.peakMemory, cpuSeconds: made.cpuSeconds };
    }
    return { result, reused, seconds: (performance.now() - started) / 1000, ...costs };
  } finally {
    await rm(folder, { recursive: true, force: true });
  }
}
