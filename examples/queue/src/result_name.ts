import { createHash } from 'node:crypto';
import { version } from 'stiltforge-cli';
import type { PartJob } from './job.js';

/**
 * The name of a result in the storage. It follows from all that decides what is in it, so whoever makes
 * the same part again writes the same bytes to the same place.
 */
export function resultName(
  job: Pick<PartJob, 'format' | 'print' | 'support'>,
  name: string,
  inputDigest: string,
): string {
  const { format, print, support } = job;
  const ingredients = [version, name, inputDigest, format, sorted(print), sorted(support)];
  const digest = createHash('sha256').update(JSON.stringify(ingredients)).digest('hex');
  return `results/${digest}.${format}`;
}

function sorted(settings: object): [string, unknown][] {
  return Object.entries(settings).sort(([a], [b]) => (a < b ? -1 : 1));
}
