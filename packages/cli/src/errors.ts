/** What the process exits with. The same table stands in the command's help. */
export const ExitCode = {
  done: 0,
  failure: 1,
  usage: 2,
  mesh: 3,
  output: 4,
  memory: 5,
  interrupted: 130,
} as const;

export type ExitCode = (typeof ExitCode)[keyof typeof ExitCode];

/** A failure that the user can do something about: its message is printed as it stands. */
export class UserError extends Error {
  override name = 'UserError';

  constructor(
    readonly exitCode: ExitCode,
    message: string,
    options?: ErrorOptions,
  ) {
    super(message, options);
  }
}

/** Thrown when the user pressed Ctrl-C: not an error, but the end of the run. */
export class Interrupted extends Error {
  override name = 'Interrupted';

  constructor() {
    super('interrupted');
  }
}

export function messageOf(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}

/** Of an error of the file system only what went wrong: "no such file or directory". */
export function reasonOf(error: unknown): string {
  const message = messageOf(error);
  return /^E[A-Z]+: (.+?), \w+(?: '.*)?$/s.exec(message)?.[1] ?? message;
}

export function codeOf(error: unknown): unknown {
  return (Object(error) as { code?: unknown }).code;
}

/** Ends the command with that code; what there is to say was said. */
export class Told extends Error {
  override name = 'Told';

  constructor(readonly exitCode: ExitCode) {
    super('told');
  }
}
