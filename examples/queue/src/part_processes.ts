import type { PartOrder } from './part_messages.js';
import { type PartMade, PartProcess, type PartWatcher } from './part_process.js';

/** Bytes above which a process is not used again: the next part would have that much less. */
const mostKept = 250e6;

/** Parts after which a process is not used again, so that nothing grows for ever. */
const mostParts = 200;

/**
 * Processes for parts. One that has made a part makes the next one, too, since starting it takes longer
 * than a small part does.
 */
export class PartProcesses {
  private readonly idle: { worker: PartProcess; parts: number }[] = [];

  /** `memory`: bytes that each of them may take. */
  constructor(private readonly memory: number) {}

  /** Makes a part in a process of its own for that time. Throws what PartProcess.make() does. */
  async make(order: PartOrder, watcher: PartWatcher): Promise<PartMade> {
    const { worker, parts } = this.take();
    try {
      return await worker.make(order, watcher);
    } finally {
      const kept = worker.residentMemory;
      if (kept !== undefined && kept < mostKept && parts + 1 < mostParts) {
        this.idle.push({ worker, parts: parts + 1 });
      } else {
        worker.kill();
      }
    }
  }

  /** Ends those that wait for a part. */
  close(): void {
    for (const { worker } of this.idle.splice(0)) worker.kill();
  }

  private take() {
    for (;;) {
      const next = this.idle.pop() ?? { worker: new PartProcess(this.memory), parts: 0 };
      // One may have been ended from outside while it waited.
      if (next.worker.residentMemory !== undefined) return next;
    }
  }
}
