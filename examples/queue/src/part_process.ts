import { type ChildProcess, fork } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { UnrecoverableError } from 'bullmq';
import type { PartMessage, PartOrder, PartProgress } from './part_messages.js';

const program = fileURLToPath(new URL('./part_child.js', import.meta.url));

/** Milliseconds between looks at the memory of a process. */
const pause = 50;

/** All that a process gets of the environment: passwords are none of its business. */
const passedOn = ['PATH', 'TMPDIR', 'LD_LIBRARY_PATH', 'STILTFORGE_BINARIES'];

/** Characters of what it printed that are worth a reason. */
const mostSaid = 500;

export interface PartMade {
  /** The result, a file of the order's folder. */
  file: string;
  /** Bytes that the process took at its peak; 0 where the system does not tell. */
  peakMemory: number;
  /** Processor time that it took, of all cores. */
  cpuSeconds: number;
}

type Result = Pick<PartMade, 'file' | 'cpuSeconds'>;

export interface PartWatcher {
  signal: AbortSignal;
  /** Milliseconds that it may take. */
  timeLimit: number;
  progress(done: PartProgress): void;
}

/** A process that makes parts, one at a time. What ends it ends nothing else. */
export class PartProcess {
  private readonly child: ChildProcess;
  private said = '';
  private hasEnded = false;

  /** `memory`: bytes that it may take. */
  constructor(private readonly memory: number) {
    const given = passedOn.filter((name) => process.env[name] !== undefined);
    this.child = fork(program, {
      execArgv: [`--max-old-space-size=${Math.ceil(memory / 2 ** 20)}`],
      env: Object.fromEntries(given.map((name) => [name, process.env[name]])),
      stdio: ['ignore', 'ignore', 'pipe', 'ipc'],
    });
    this.child.stderr?.setEncoding('utf8').on('data', (text: string) => {
      this.said = (this.said + text).slice(-mostSaid);
    });
    this.child.on('error', () => this.end()).once('close', () => this.end());
  }

  /** Bytes that it takes now; nothing when it has ended. */
  get residentMemory(): number | undefined {
    return this.hasEnded ? undefined : this.memoryOf('VmRSS');
  }

  kill(): void {
    this.child.kill('SIGKILL');
  }

  /**
   * Makes a part, and kills the process when that takes too much time or memory or the signal is
   * aborted. Throws an UnrecoverableError when trying again would give the same, the signal's reason,
   * and another Error for a crash and for a part that took too long, which a busy machine may have
   * caused. After that the process has ended, but for a part that was refused.
   */
  async make(order: PartOrder, { signal, timeLimit, progress }: PartWatcher): Promise<PartMade> {
    signal.throwIfAborted();
    let killedFor: unknown;
    const kill = (reason: unknown): void => {
      killedFor ??= reason;
      this.kill();
    };
    const abort = (): void => kill(signal.reason);
    const memoryWatch = setInterval(() => {
      if (this.memoryOf('VmRSS') > this.memory) kill(tooLarge(this.memory));
    }, pause);
    const timeWatch = setTimeout(() => kill(tooLong(timeLimit)), timeLimit);
    signal.addEventListener('abort', abort, { once: true });
    try {
      this.forgetPeak();
      const made = await this.resultOf(order, progress);
      return { ...made, peakMemory: this.memoryOf('VmHWM') };
    } catch (error) {
      throw killedFor ?? error;
    } finally {
      clearInterval(memoryWatch);
      clearTimeout(timeWatch);
      signal.removeEventListener('abort', abort);
    }
  }

  private resultOf(order: PartOrder, progress: PartWatcher['progress']): Promise<Result> {
    const { child } = this;
    return new Promise<Result>((resolve, reject) => {
      const leave = (): void => {
        child.off('message', take).off('close', fail).off('error', reject);
      };
      const take = (message: PartMessage): void => {
        if ('progress' in message) {
          progress(message.progress);
          return;
        }
        leave();
        if ('made' in message) {
          resolve({ file: message.made, cpuSeconds: message.cpuSeconds });
        } else if ('refused' in message) {
          reject(new UnrecoverableError(message.refused));
        } else {
          this.endWith(() => reject(new Error(message.failed)));
        }
      };
      const fail = (code: number | null, signal: string | null): void => {
        leave();
        reject(this.crash(code, signal));
      };
      child.on('message', take).once('close', fail).once('error', reject);
      // One that has ended at once takes no order; how it ended is told above.
      child.send(order, () => {});
    });
  }

  /** Nobody knows what state a process is in that failed unexpectedly. */
  private endWith(then: () => void): void {
    this.child.once('close', then);
    this.kill();
  }

  private end(): void {
    this.hasEnded = true;
  }

  private crash(code: number | null, signal: string | null): Error {
    const end = signal === null ? `with code ${code}` : `by ${signal}`;
    const words = this.said.trim().split('\n').at(-1);
    return new Error(`The part's process was ended ${end}${words ? `: ${words}` : ''}.`);
  }

  /** Bytes; 0 on another system than Linux and when the process is gone. */
  private memoryOf(field: 'VmRSS' | 'VmHWM'): number {
    try {
      const status = readFileSync(`/proc/${this.child.pid}/status`, 'utf8');
      const [, kilobytes] = new RegExp(`^${field}:\\s*(\\d+)`, 'm').exec(status) ?? [];
      return 1024 * Number(kilobytes ?? 0);
    } catch {
      return 0;
    }
  }

  /** Of the parts before. */
  private forgetPeak(): void {
    try {
      writeFileSync(`/proc/${this.child.pid}/clear_refs`, '5');
    } catch {
      // Then the peak that is told may be that of an earlier part.
    }
  }
}

function tooLong(timeLimit: number): Error {
  return new Error(`It took more than the ${timeLimit / 1000} s that a part may have.`);
}

function tooLarge(memory: number): Error {
  return new UnrecoverableError(`It took more than the ${memory / 1e9} GB that a part may have.`);
}
