import { type JobsOptions, Queue } from 'bullmq';
import { Redis } from 'ioredis';
import type { PartDone, PartRequest } from './job.js';

/** Seconds that what is done stays in the queue, and most of it. */
const kept = { age: 7 * 24 * 3600, count: 100_000 };

export interface QueuePlace {
  redisUrl: string;
  queue: string;
}

export type PartQueue = Queue<PartRequest, PartDone>;

/** A connection that comes back by itself, however long Redis is away. */
export function connectionTo({ redisUrl }: QueuePlace): Redis {
  return new Redis(redisUrl, {
    maxRetriesPerRequest: null,
    retryStrategy: (times) => Math.min(50 * 2 ** Math.min(times, 6), 2000),
  });
}

/** How jobs are to be added: tried three times, with growing pauses, and parked if all fail. */
const jobOptions: JobsOptions = {
  attempts: 3,
  backoff: { type: 'exponential', delay: 1000, jitter: 0.5 },
  removeOnComplete: kept,
  removeOnFail: false,
};

/** The queue for programs that put parts into it. Close it, then quit its connection. */
export function openQueue(place: QueuePlace, connection = connectionTo(place)): PartQueue {
  return new Queue(place.queue, { connection, defaultJobOptions: jobOptions });
}
