import { type Job, WaitingError, Worker } from 'bullmq';
import type { PartDone, PartRequest } from './job.js';
import type { Metrics } from './metrics.js';
import type { PartProgress } from './part_messages.js';
import { PartProcesses } from './part_processes.js';
import { workOn } from './part_work.js';
import { connectionTo } from './queue.js';
import type { Settings } from './settings.js';
import type { Storage } from './storage.js';

export type Log = (event: string, details?: Record<string, unknown>) => void;

type PartJobInQueue = Job<PartRequest, PartDone>;

/** Takes jobs of the queue until it is drained. */
export class PartWorker {
  private readonly connection;
  private readonly worker;
  private readonly processes;
  private draining = false;

  constructor(
    private readonly settings: Settings,
    private readonly storage: Storage,
    private readonly metrics: Metrics,
    private readonly log: Log,
  ) {
    this.connection = connectionTo(settings);
    this.processes = new PartProcesses(settings.memoryLimit);
    this.worker = new Worker<PartRequest, PartDone>(
      settings.queue,
      (job, token, signal) => this.work(job, token, signal ?? new AbortController().signal),
      {
        connection: this.connection,
        concurrency: settings.concurrency,
        lockDuration: settings.lock,
        stalledInterval: settings.lock,
        maxStalledCount: settings.stalls,
      },
    );
    this.worker.on('completed', (job, done) => {
      metrics.done(done);
      log('done', { job: job.id, ...done });
    });
    this.worker.on('failed', (job, { message }) => {
      const isLast = job?.finishedOn !== undefined;
      metrics.failed(isLast);
      log(isLast ? 'parked' : 'to be tried again', { job: job?.id, reason: message });
    });
    this.worker.on('stalled', (job) => log('its worker was lost', { job }));
    // Those of the connection come with every attempt to get it back.
    this.worker.on('error', ({ message }) => log('trouble', { reason: message }));
  }

  /** Why no job is taken now; undefined when jobs are. */
  notReady(): string | undefined {
    if (this.draining) return 'It ends when the jobs at work are done.';
    return this.connection.status === 'ready' ? undefined : 'Redis does not answer.';
  }

  /**
   * Takes no more jobs and resolves when those at work are done. Those that are not done in time go
   * back to the queue, for others to take.
   */
  async drain(): Promise<void> {
    this.draining = true;
    const late = setTimeout(() => this.worker.cancelAllJobs('late'), this.settings.drain);
    await this.worker.close();
    clearTimeout(late);
    this.processes.close();
    await this.connection.quit();
  }

  private async work(
    job: PartJobInQueue,
    token: string | undefined,
    signal: AbortSignal,
  ): Promise<PartDone> {
    this.log('started', { job: job.id, attempt: job.attemptsMade + 1 });
    const progress = progressOf(job);
    try {
      return await this.metrics.during(() =>
        workOn(job.data, this.settings, this.storage, this.processes, signal, progress),
      );
    } catch (error) {
      if (!signal.aborted) throw error;
      this.metrics.handedBack();
      this.log('handed back', { job: job.id });
      await job.moveToWait(token);
      throw new WaitingError();
    }
  }
}

/** Tells the queue how far a job is; what can't be told while Redis is away is left out. */
function progressOf(job: PartJobInQueue): (done: PartProgress) => void {
  let telling = false;
  return (done) => {
    if (telling) return;
    telling = true;
    job
      .updateProgress({ ...done })
      .catch(() => {})
      .finally(() => {
        telling = false;
      });
  };
}
