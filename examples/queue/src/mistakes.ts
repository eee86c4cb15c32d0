import type { z } from 'zod';

/** "TIME_LIMIT: expected number", one for each mistake. */
export function mistakesIn({ issues }: z.ZodError): string {
  const sentences = issues.map(({ path, message }) => {
    const place = path.join('.');
    return place === '' ? message : `${place}: ${message}`;
  });
  return sentences.join('; ');
}
