import {
  existsSync,
  mkdirSync,
  readFileSync,
  renameSync,
  rmdirSync,
  rmSync,
  statSync,
  writeFileSync,
} from 'node:fs';
import { mkdir, open } from 'node:fs/promises';
import { dirname, join, normalize } from 'node:path';
import { ExitCode, reasonOf, UserError } from '../errors.js';
import {
  Digest,
  digestOf,
  type RunRecord,
  readRecord,
  recordName,
  recordText,
} from './run_record.js';
import { makeStagingFolder, removeStagingFolder, staleStagingFolders } from './staging_folder.js';

/** Where the files of an earlier run wait in a staging folder until all new ones are in their places. */
const replacedName = '.replaced';

export interface OutputFolderOptions {
  /** Files that are to be written: one in the way is told before the work begins. */
  expected: readonly string[];
  /** Files of others are overwritten, too. */
  force: boolean;
}

/**
 * A folder whose files appear together or not at all: they are written into a hidden folder beside them
 * and moved to their places at the end. Files that an earlier run wrote are replaced; those of others,
 * and those that were changed since, stay, and are an error where a new one has to go.
 */
export class OutputFolder {
  /** Digests of the files written so far, by name. */
  private readonly written = new Map<string, string>();
  /** Folders that weren't there before, outermost first. */
  private readonly made: string[] = [];
  private staging = '';

  private constructor(
    readonly path: string,
    private readonly force: boolean,
  ) {}

  /** Throws a UserError when the folder can't be made or holds something that is in the way. */
  static open(path: string, { expected, force }: OutputFolderOptions): OutputFolder {
    requireText(path);
    const folder = new OutputFolder(path, force);
    try {
      inOutputError(path, 'the folder', () => {
        folder.make(path);
        for (const stale of staleStagingFolders(path)) folder.clearUp(stale);
        folder.staging = makeStagingFolder(path);
      });
      folder.requireNoFolderAt(recordName);
      const record = readRecord(path);
      for (const name of expected) folder.requirePlaceFor(name, record);
    } catch (error) {
      folder.discard();
      throw error;
    }
    return folder;
  }

  /** The files and subfolders written so far, as they stand in this folder. */
  topLevelNames(): string[] {
    return [...new Set([...this.written.keys()].map((name) => name.replace(/\/.*/, '/')))].sort();
  }

  /** `name` may lead into a subfolder, with slashes. Throws what pieces of data throw. */
  async write(name: string, data: string | Uint8Array | AsyncIterable<Uint8Array>): Promise<void> {
    const place = join(this.path, name);
    const staged = join(this.staging, name);
    const digest = new Digest();
    const file = await inOutputErrorLater(place, async () => {
      await mkdir(dirname(staged), { recursive: true });
      return open(staged, 'w');
    });
    try {
      for await (const piece of piecesOf(data)) {
        digest.update(piece);
        await inOutputErrorLater(place, () => file.writeFile(piece));
      }
    } finally {
      await inOutputErrorLater(place, () => file.close());
    }
    this.written.set(name, digest.text());
  }

  /**
   * Moves the files to their places. Those of an earlier run that were not written anew go, but for
   * those that `keep` is true for. When one can't be moved, all is as it was before. Synchronous, so that
   * nothing comes between.
   */
  commit(keep: (name: string) => boolean): void {
    const before = readRecord(this.path);
    for (const name of this.written.keys()) this.requirePlaceFor(name, before);
    const old = [...before.keys()].filter(
      (name) => !this.written.has(name) && this.isOurs(name, before),
    );
    const kept = old.filter(keep);
    const retired = old.filter((name) => !keep(name));

    const after = new Map([...this.written].map(([name, digest]) => [name, [digest]]));
    for (const name of kept) after.set(name, [...(before.get(name) ?? [])]);
    // Until all are in place both the old and the new ones are a run's own.
    const meanwhile = new Map(after);
    for (const [name, digests] of before) {
      meanwhile.set(name, [...digests, ...(after.get(name) ?? [])]);
    }

    const moves = new Moves();
    const replaced = join(this.staging, replacedName);
    let current = recordName;
    try {
      this.writeRecord(meanwhile);
      for (const name of [...this.written.keys(), ...retired]) {
        current = name;
        const place = join(this.path, name);
        this.make(dirname(place));
        if (existsSync(place)) moves.move(place, join(replaced, name));
        if (this.written.has(name)) moves.move(join(this.staging, name), place);
      }
      current = recordName;
      this.writeRecord(after);
    } catch (error) {
      moves.undo();
      // Where that fails, too, the record that is there names the old files as well.
      ignoringErrors(() => {
        if (before.size > 0) this.writeRecord(before);
        else rmSync(join(this.path, recordName), { force: true });
      });
      throw outputError(join(this.path, current), 'the file', error);
    }
    for (const name of retired) {
      // Refused, rightly, while anything else is in it.
      if (name.includes('/')) ignoringErrors(() => rmdirSync(join(this.path, dirname(name))));
    }
    this.made.length = 0;
  }

  /** Removes what was written and not committed, and the folders made for it. Synchronous, so that a dying process can do it. */
  discard(): void {
    // What can't be removed, as by a system that is still looking at it, goes with a later run.
    if (this.staging !== '') ignoringErrors(() => removeStagingFolder(this.staging));
    // Somebody may have put something else into them meanwhile.
    for (const folder of this.made.splice(0).reverse()) ignoringErrors(() => rmdirSync(folder));
  }

  /**
   * Removes what a killed run left. If it had not moved all of its files yet, those that it moved away come
   * back: the record still has both.
   */
  private clearUp(staging: string): void {
    const replaced = join(staging, replacedName);
    const record = readRecord(this.path);
    for (const [name, digests] of record) {
      const old = join(replaced, name);
      const place = join(this.path, name);
      if (!existsSync(old) || !digests.includes(digestOf(readFileSync(old)))) continue;
      if (existsSync(place) && !this.isOurs(name, record)) continue;
      mkdirSync(dirname(place), { recursive: true });
      renameSync(old, place);
    }
    removeStagingFolder(staging);
  }

  private requireNoFolderAt(name: string): void {
    const place = join(this.path, name);
    inOutputError(place, 'the file', () => {
      const parent = dirname(place);
      if (existsSync(parent) && !statSync(parent).isDirectory()) {
        throw new Error(`${parent} is no folder`);
      }
      if (existsSync(place) && !statSync(place).isFile()) throw new Error('it is no file');
    });
  }

  private requirePlaceFor(name: string, record: RunRecord): void {
    const place = join(this.path, name);
    this.requireNoFolderAt(name);
    if (!existsSync(place) || this.force || this.isOurs(name, record)) return;
    throw new UserError(
      ExitCode.output,
      `${place}: this file was not written by stiltforge, or changed since, and would be ` +
        'overwritten. Move it away, choose another folder with --out, or give --force.',
    );
  }

  private isOurs(name: string, record: RunRecord): boolean {
    const digests = record.get(name);
    if (digests === undefined) return false;
    try {
      return digests.includes(digestOf(readFileSync(join(this.path, name))));
    } catch {
      return false;
    }
  }

  /** By way of a temporary file: a record cut off would make the run's files those of others. */
  private writeRecord(record: RunRecord): void {
    const staged = join(this.staging, recordName);
    writeFileSync(staged, recordText(record));
    renameSync(staged, join(this.path, recordName));
  }

  private make(folder: string): void {
    const missing: string[] = [];
    // Relative as it is: the name of a folder above need be no text.
    for (let path = normalize(folder); !isFolder(path); path = dirname(path)) missing.unshift(path);
    // Step by step: where a file system takes no folders, a recursive mkdir tries for ever.
    for (const path of missing) {
      try {
        mkdirSync(path);
        this.made.push(path);
      } catch (error) {
        // Another run may have made it meanwhile.
        if ((error as NodeJS.ErrnoException).code !== 'EEXIST') throw error;
      }
    }
  }
}

/** U+FFFD stands for bytes of a name that are no text: the folder would get another name. */
function requireText(path: string): void {
  if (!path.includes('\ufffd') || existsSync(path)) return;
  throw new UserError(
    ExitCode.usage,
    `${path}: a folder of this name can't be made, since it is not valid UTF-8. Choose another with --out.`,
  );
}

/**
 * Opens a folder for work that writes and commits; what it has not committed goes, also when the process
 * ends meanwhile.
 */
export async function inOutputFolder<Result>(
  path: string,
  options: OutputFolderOptions,
  work: (folder: OutputFolder) => Promise<Result>,
): Promise<Result> {
  const folder = OutputFolder.open(path, options);
  const discard = (): void => folder.discard();
  process.once('exit', discard);
  try {
    return await work(folder);
  } finally {
    folder.discard();
    process.off('exit', discard);
  }
}

/** Files that were moved, and can be moved back. */
class Moves {
  private readonly done: [from: string, to: string][] = [];

  move(from: string, to: string): void {
    mkdirSync(dirname(to), { recursive: true });
    renameSync(from, to);
    this.done.push([from, to]);
  }

  undo(): void {
    for (const [from, to] of this.done.reverse()) ignoringErrors(() => renameSync(to, from));
  }
}

/** False when nothing is there; throws when it is something else. */
function isFolder(path: string): boolean {
  const stats = statSync(path, { throwIfNoEntry: false });
  if (stats === undefined || stats.isDirectory()) return stats !== undefined;
  throw new Error(`${path} is no folder`);
}

function ignoringErrors(act: () => void): void {
  try {
    act();
  } catch {}
}

function inOutputError(path: string, what: string, act: () => void): void {
  try {
    act();
  } catch (error) {
    throw outputError(path, what, error);
  }
}

function piecesOf(
  data: string | Uint8Array | AsyncIterable<Uint8Array>,
): Iterable<string | Uint8Array> | AsyncIterable<Uint8Array> {
  return typeof data === 'string' || data instanceof Uint8Array ? [data] : data;
}

async function inOutputErrorLater<T>(path: string, act: () => Promise<T>): Promise<T> {
  try {
    return await act();
  } catch (error) {
    throw outputError(path, 'the file', error);
  }
}

function outputError(path: string, what: string, error: unknown): UserError {
  return new UserError(
    ExitCode.output,
    `${path}: ${what} can't be written (${reasonOf(error)}). Choose another folder with --out.`,
    { cause: error },
  );
}
