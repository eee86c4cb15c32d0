import { totalmem } from 'node:os';

/** Bytes that this machine, or the group of processes that this one runs in, has. */
export function memoryOfMachine(): number {
  const limit = process.constrainedMemory();
  return limit > 0 ? Math.min(limit, totalmem()) : totalmem();
}
