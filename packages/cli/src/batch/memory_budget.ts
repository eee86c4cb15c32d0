interface Waiting {
  bytes: number;
  admit(): void;
}

/** Memory that runs share: they are admitted in the order in which they ask, as soon as there is enough. */
export class MemoryBudget {
  private readonly waiting: Waiting[] = [];
  private used = 0;

  /** Bytes that all runs together may take. */
  constructor(readonly total: number) {}

  /** Resolves when the bytes are there; they are until they are released. One alone always gets them. */
  admit(bytes: number): Promise<void> {
    return new Promise((resolve) => {
      this.waiting.push({ bytes, admit: resolve });
      this.admitNext();
    });
  }

  release(bytes: number): void {
    this.used -= bytes;
    this.admitNext();
  }

  private admitNext(): void {
    const [next] = this.waiting;
    if (next === undefined || (this.used > 0 && this.used + next.bytes > this.total)) return;
    this.waiting.shift();
    this.used += next.bytes;
    next.admit();
    this.admitNext();
  }
}
