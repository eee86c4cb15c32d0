import type { PackedPart } from 'stiltforge-viewer';
import type {
  Answer,
  FileFormat,
  Message,
  Order,
  OrientationFormat,
  OrientationWish,
  PartFile,
  PartSettings,
  Progress,
  Ranking,
} from '../worker/protocol.js';
import { embedded, embeddedText } from './embedded.js';

/** What the worker could not do. */
export class Failure extends Error {
  override name = 'Failure';

  constructor(
    message: string,
    /** Whether the message says what a person can do. */
    readonly isMendable: boolean,
  ) {
    super(message);
  }
}

type AnswerTo<Name extends Answer['answer']> = Extract<Answer, { answer: Name }>;

/** What a person hears of work and ends it by. */
export interface Watcher {
  tell: (progress: Progress) => void;
  signal: AbortSignal;
}

/** Analyses parts and looks for orientations, each in a worker of its own, one part at a time. */
export class Analyst {
  private readonly seat = new Seat();
  private scout: Seat | undefined;

  /** Throws a Failure when the settings make no sense. */
  async check(settings: PartSettings): Promise<void> {
    await this.seat.ask<'done'>({ order: 'check', settings });
  }

  /**
   * Finds the supports of a print, or of meshes, of which several are one plate. Throws a Failure; the
   * signal ends it at once, with its reason.
   */
  async analyse(
    files: readonly PartFile[],
    settings: PartSettings,
    watcher: Watcher,
  ): Promise<PackedPart> {
    const order: Order = { order: 'analyse', files, settings };
    const bytes = files.map((file) => file.bytes);
    return (await this.seat.work<'analysed'>(order, bytes, watcher)).packed;
  }

  /** A file of the part that was analysed last. */
  async save(format: FileFormat): Promise<AnswerTo<'saved'>> {
    return this.seat.ask<'saved'>({ order: 'save', format });
  }

  /** Finds how a mesh should stand. Throws a Failure; the signal ends it at once, with its reason. */
  async orient(
    file: PartFile,
    settings: PartSettings,
    wish: OrientationWish,
    watcher: Watcher,
  ): Promise<Ranking> {
    this.scout ??= new Seat();
    const order: Order = { order: 'orient', file, settings, wish };
    return (await this.scout.work<'oriented'>(order, [file.bytes], watcher)).ranking;
  }

  /** A file of the orientations that were found last. */
  async saveOriented(format: OrientationFormat): Promise<AnswerTo<'saved'>> {
    this.scout ??= new Seat();
    return this.scout.ask<'saved'>({ order: 'saveOriented', format });
  }
}

/** What every worker is started with. */
class Supplies {
  readonly code = embeddedText('worker').then((text) =>
    URL.createObjectURL(new Blob([text], { type: 'text/javascript' })),
  );
  readonly core = embedded('core');
  readonly template = embeddedText('template');
}

let supplies: Supplies | undefined;

/** A worker that takes orders, and another one in its place when it was dismissed. */
class Seat {
  private channel = this.hired();
  /** Whether it has none of an earlier part's memory. */
  private isFresh = true;

  async ask<Name extends Answer['answer']>(
    order: Order,
    transferred: Transferable[] = [],
    tell?: (progress: Progress) => void,
  ): Promise<AnswerTo<Name>> {
    const { channel } = this;
    return (await (await channel).ask(order, transferred, tell)) as AnswerTo<Name>;
  }

  /** The same of work on a part, which a person may end. */
  async work<Name extends Answer['answer']>(
    order: Order,
    transferred: Transferable[],
    { tell, signal }: Watcher,
  ): Promise<AnswerTo<Name>> {
    // What a part took of memory goes with its worker.
    if (!this.isFresh) this.dismiss();
    this.isFresh = false;
    signal.throwIfAborted();
    const stop = (): void => this.dismiss(signal.reason);
    signal.addEventListener('abort', stop, { once: true });
    try {
      return await this.ask<Name>(order, transferred, tell);
    } catch (error) {
      if (error instanceof Failure && !error.isMendable) this.dismiss();
      throw error;
    } finally {
      signal.removeEventListener('abort', stop);
    }
  }

  private dismiss(reason: unknown = new Failure('This part gave way to another one.', true)): void {
    const { channel } = this;
    channel.then(
      (dismissed) => dismissed.end(reason),
      () => {},
    );
    this.channel = this.hired();
    this.isFresh = true;
  }

  private hired(): Promise<Channel> {
    const hired = hire();
    // Told when it is asked for something.
    hired.catch(() => {});
    return hired;
  }
}

async function hire(): Promise<Channel> {
  supplies ??= new Supplies();
  const channel = new Channel(new Worker(await supplies.code));
  const core = (await supplies.core).slice(0);
  const template = await supplies.template;
  // Whether this failed is told with what is asked next.
  channel.ask({ order: 'start', core, template }, [core]).catch(() => {});
  return channel;
}

/** A worker that answers one order after the other. */
class Channel {
  private last: Promise<unknown> = Promise.resolve();
  private refuse: (reason: unknown) => void = () => {};
  private readonly ended = new Promise<never>((_, reject) => {
    this.refuse = reject;
  });

  constructor(private readonly worker: Worker) {
    this.ended.catch(() => {});
    worker.addEventListener('error', (event) => {
      event.preventDefault();
      this.end(new Failure(event.message || 'The worker of this page did not start.', false));
    });
  }

  ask(
    order: Order,
    transferred: Transferable[] = [],
    tell?: (progress: Progress) => void,
  ): Promise<Answer> {
    const answer = this.last.then(() =>
      Promise.race([this.ended, this.send(order, transferred, tell)]),
    );
    this.last = answer.catch(() => {});
    return answer;
  }

  end(reason: unknown): void {
    this.worker.terminate();
    this.refuse(reason);
  }

  private send(
    order: Order,
    transferred: Transferable[],
    tell?: (progress: Progress) => void,
  ): Promise<Answer> {
    return new Promise((resolve, reject) => {
      const { worker } = this;
      const listen = ({ data }: MessageEvent<Message>): void => {
        if ('progress' in data) {
          tell?.(data.progress);
          return;
        }
        worker.removeEventListener('message', listen);
        if (data.answer === 'failed') reject(new Failure(data.sentence, data.isMendable));
        else resolve(data);
      };
      worker.addEventListener('message', listen);
      worker.postMessage(order, transferred);
    });
  }
}
