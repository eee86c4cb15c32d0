import { fileURLToPath } from 'node:url';

/** Of the repository. */
export const root = fileURLToPath(new URL('../..', import.meta.url));
