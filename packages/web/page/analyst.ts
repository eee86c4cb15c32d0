import type { PackedPart } from 'stiltforge-viewer';
import type {
  Answer,
  FileFormat,
  Message,
  Order,
  PartSettings,
  Progress,
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

/** Analyses parts in a worker, one at a time. */
export class Analyst {
  private readonly code = embeddedText('worker').then((text) =>
    URL.createObjectURL(new Blob([text], { type: 'text/javascript' })),
  );
  private readonly core = embedded('core');
  private readonly template = embeddedText('template');
  /** The one that takes orders, and whether it has none of an earlier part's memory. */
  private channel = this.hired();
  private isFresh = true;

  /** Throws a Failure when the settings make no sense. */
  async check(settings: PartSettings): Promise<void> {
    await this.ask<'done'>({ order: 'check', settings });
  }

  /**
   * Finds the supports of a mesh file. Throws a Failure; the signal ends it at once, with its reason.
   */
  async analyse(
    name: string,
    bytes: ArrayBuffer,
    settings: PartSettings,
    { tell, signal }: { tell: (progress: Progress) => void; signal: AbortSignal },
  ): Promise<PackedPart> {
    // What a part took of memory goes with its worker.
    if (!this.isFresh) this.dismiss();
    this.isFresh = false;
    signal.throwIfAborted();
    const stop = (): void => this.dismiss(signal.reason);
    signal.addEventListener('abort', stop, { once: true });
    try {
      const order: Order = { order: 'analyse', name, bytes, settings };
      return (await this.ask<'analysed'>(order, [bytes], tell)).packed;
    } catch (error) {
      if (error instanceof Failure && !error.isMendable) this.dismiss();
      throw error;
    } finally {
      signal.removeEventListener('abort', stop);
    }
  }

  /** A file of the part that was analysed last. */
  async save(format: FileFormat): Promise<AnswerTo<'saved'>> {
    return this.ask<'saved'>({ order: 'save', format });
  }

  private async ask<Name extends Answer['answer']>(
    order: Order,
    transferred: Transferable[] = [],
    tell?: (progress: Progress) => void,
  ): Promise<AnswerTo<Name>> {
    const { channel } = this;
    return (await (await channel).ask(order, transferred, tell)) as AnswerTo<Name>;
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
    const hired = this.hire();
    // Told when it is asked for something.
    hired.catch(() => {});
    return hired;
  }

  private async hire(): Promise<Channel> {
    const channel = new Channel(new Worker(await this.code));
    const core = (await this.core).slice(0);
    const template = await this.template;
    // Whether this failed is told with what is asked next.
    channel.ask({ order: 'start', core, template }, [core]).catch(() => {});
    return channel;
  }
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
