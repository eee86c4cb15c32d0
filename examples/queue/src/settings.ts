import { tmpdir } from 'node:os';
import { resolve } from 'node:path';
import { z } from 'zod';
import { mistakesIn } from './mistakes.js';

const positive = z.coerce.number().positive();
const count = z.coerce.number().int().positive();
const folder = z
  .string()
  .min(1)
  .transform((path) => resolve(path));

/** What the environment may set; the README has a table of it. */
const environment = z.object({
  REDIS_URL: z.url({ protocol: /^rediss?$/ }).default('redis://127.0.0.1:6379'),
  QUEUE: z
    .string()
    .regex(/^[\w-]+$/, 'letters, digits, _ and - only')
    .default('stiltforge'),
  CONCURRENCY: count.default(1),
  TIME_LIMIT: positive.default(300),
  MEMORY_LIMIT: positive.default(2),
  INPUT_LIMIT: positive.default(500),
  LOCK: positive.default(30),
  STALLS: z.coerce.number().int().nonnegative().default(3),
  DRAIN: positive.default(60),
  HOST: z.string().min(1).default('127.0.0.1'),
  PORT: z.coerce.number().int().min(0).max(65535).default(9100),
  STORAGE_FOLDER: folder.default(resolve('storage')),
  STORAGE_MODULE: folder.optional(),
  INPUT_FOLDER: folder.optional(),
  URL_HOSTS: z
    .string()
    .default('')
    .transform((hosts) => hosts.split(/[\s,]+/).filter(Boolean)),
  WORK_FOLDER: folder.default(tmpdir()),
});

export type Settings = ReturnType<typeof settingsFrom>;

/** Throws an Error whose message names every variable that can't be used. */
export function settingsFrom(variables: NodeJS.ProcessEnv) {
  // A variable that is set to nothing is one that is not set, as compose files write it.
  const given = Object.fromEntries(Object.entries(variables).filter(([, text]) => text !== ''));
  const { success, data, error } = environment.safeParse(given);
  if (!success) throw new Error(`The environment can't be used: ${mistakesIn(error)}.`);
  return {
    redisUrl: data.REDIS_URL,
    queue: data.QUEUE,
    /** Parts at work at once. */
    concurrency: data.CONCURRENCY,
    /** Milliseconds that a part may take. */
    timeLimit: 1000 * data.TIME_LIMIT,
    /** Bytes that a part may take. */
    memoryLimit: 1e9 * data.MEMORY_LIMIT,
    /** Bytes of an input. */
    inputLimit: 1e6 * data.INPUT_LIMIT,
    /** Milliseconds after which the jobs of a worker that is gone are another's. */
    lock: 1000 * data.LOCK,
    /** Times that a job may lose its worker. */
    stalls: data.STALLS,
    /** Milliseconds that the jobs at work have left after SIGTERM. */
    drain: 1000 * data.DRAIN,
    host: data.HOST,
    port: data.PORT,
    storageFolder: data.STORAGE_FOLDER,
    storageModule: data.STORAGE_MODULE,
    /** Where paths may lead; none may when it is missing. */
    inputFolder: data.INPUT_FOLDER,
    /** Of URLs, with their port where it is not the usual one. */
    urlHosts: data.URL_HOSTS,
    workFolder: data.WORK_FOLDER,
  };
}
