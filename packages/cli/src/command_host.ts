import type { Host } from './host.js';
import { memoryOfMachine } from './machine_memory.js';
import { version } from './version.js';

/** The command, and programs that use its functions. */
export const commandHost: Host = {
  generator: `stiltforge ${version}`,
  get memory() {
    return memoryOfMachine();
  },
};
