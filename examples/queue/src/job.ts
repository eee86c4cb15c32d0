import { UnrecoverableError } from 'bullmq';
import { z } from 'zod';
import { mistakesIn } from './mistakes.js';

const number = z.number().optional();

const source = z.union(
  [
    z.strictObject({ path: z.string().min(1) }),
    z.strictObject({ url: z.url({ protocol: /^https?$/ }) }),
    z.strictObject({ object: z.string().min(1) }),
  ],
  'one of { path }, { url } with http or https, and { object }',
);

const jobData = z.strictObject({
  /** Of a mesh or printer file: a path on the worker's machine, a URL, or its name in the storage. */
  source,
  /** What results and errors call the part; the last piece of its source unless set. */
  name: z
    .string()
    .regex(/^[^/\\\p{Cc}]{1,200}$/u, 'a file name of at most 200 characters, no path')
    .refine((name) => !name.startsWith('.'), 'a file name that does not begin with a dot')
    .optional(),
  /** What the result is: supports.json, points.csv, or a 3MF project. */
  format: z.enum(['json', 'csv', '3mf']).default('json'),
  /** Millimetres and pixels; those missing are the command's defaults or, of a printer file, its own. */
  print: z
    .strictObject({
      layerHeight: number,
      pixelSize: number,
      screenWidth: number,
      screenHeight: number,
      lift: number,
    })
    .default({}),
  support: z
    .strictObject({
      criticalAngle: number,
      inset: number,
      supportArea: number,
      minimumHeight: number,
      minimumSpacing: number,
    })
    .default({}),
});

/** What a producer puts into the queue. */
export type PartRequest = z.input<typeof jobData>;

/** The same with all that was left out. */
export type PartJob = z.output<typeof jobData>;

export type Source = PartJob['source'];

/** What a job leaves in the queue when it is done. */
export interface PartDone {
  /** The result's name in the storage. */
  result: string;
  /** It was there already, made of the same input with the same settings. */
  reused: boolean;
  /** From the job's start to its end. */
  seconds: number;
  /** Bytes that the part's process took at its peak; 0 when none was needed. */
  peakMemory: number;
  /** Processor time that the part took, of all cores; 0 when it was reused. */
  cpuSeconds: number;
}

/** Throws an error that is not retried when the data of a job are none. */
export function partJob(data: unknown): PartJob {
  const { success, data: job, error } = jobData.safeParse(data);
  if (!success) throw new UnrecoverableError(`The job can't be read: ${mistakesIn(error)}.`);
  return job;
}
