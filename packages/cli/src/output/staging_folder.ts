import { mkdirSync, readdirSync, rmSync } from 'node:fs';
import { hostname } from 'node:os';
import { join } from 'node:path';

// Process numbers count on one machine only, and several may write into a shared folder.
const prefix = `.stiltforge-${hostname().replace(/[^\w.-]/g, '_')}-`;

/** Those of this process that are in use. */
const inUse = new Set<string>();
let made = 0;

/** A hidden folder in `folder` for files that are not finished; its name tells whose it is. */
export function makeStagingFolder(folder: string): string {
  const path = join(folder, `${prefix}${process.pid}-${made++}`);
  mkdirSync(path);
  inUse.add(path);
  return path;
}

export function removeStagingFolder(path: string): void {
  rmSync(path, { recursive: true, force: true });
  inUse.delete(path);
}

/** Those in `folder` of runs that were killed. */
export function staleStagingFolders(folder: string): string[] {
  return readdirSync(folder).flatMap((name) => {
    const [, process] = (name.startsWith(prefix) && /-(\d+)-\d+$/.exec(name)) || [];
    if (process === undefined) return [];
    const path = join(folder, name);
    return isInUse(path, Number(process)) ? [] : [path];
  });
}

function isInUse(path: string, owner: number): boolean {
  if (owner === process.pid) return inUse.has(path);
  try {
    process.kill(owner, 0);
    return true;
  } catch (error) {
    return (error as NodeJS.ErrnoException).code !== 'ESRCH';
  }
}
