import { randomUUID } from 'node:crypto';
import { readdir, rm } from 'node:fs/promises';
import { hostname } from 'node:os';
import { join } from 'node:path';

const prefix = 'stiltforge-job';

/** A name for what goes with this process. */
export function temporaryName(): string {
  return `${prefix}.${hostname()}.${process.pid}.${randomUUID()}`;
}

/** Removes what processes of this machine left that were killed. */
export async function removeLeftovers(folder: string): Promise<void> {
  for (const name of await readdir(folder)) {
    const mine = `${prefix}.${hostname()}.`;
    if (!name.startsWith(mine)) continue;
    const pid = Number(name.slice(mine.length).split('.')[0]);
    if (Number.isInteger(pid) && !isAlive(pid)) {
      await rm(join(folder, name), { recursive: true, force: true });
    }
  }
}

function isAlive(pid: number): boolean {
  try {
    process.kill(pid, 0);
    return true;
  } catch (error) {
    return (error as NodeJS.ErrnoException).code === 'EPERM';
  }
}
