import { basename, extname } from 'node:path';

/** Where the page of a checked file goes unless an option says otherwise. */
export function checkFolder(file: string): string {
  return `${basename(file, extname(file))}-check`;
}
