import { rmdirSync, rmSync } from 'node:fs';
import { mkdir, rename, rm, rmdir, stat, writeFile } from 'node:fs/promises';
import { basename, dirname, join, resolve } from 'node:path';
import { ExitCode, messageOf, UserError } from '../errors.js';

/**
 * A folder whose files appear whole or not at all: they are written under temporary names beside their
 * place and renamed together at the end.
 */
export class OutputFolder {
  /** Places of the files by their temporary names. */
  private readonly pending = new Map<string, string>();
  private readonly names = new Set<string>();
  /** Names of files that go when they are not written anew. */
  private retired: readonly string[] = [];
  /** Folders that weren't there before, outermost first. */
  private readonly made: string[] = [];

  private constructor(readonly path: string) {}

  static async open(path: string): Promise<OutputFolder> {
    const folder = new OutputFolder(path);
    await orOutputError(path, 'the folder', () => folder.make(path));
    return folder;
  }

  /** The files and subfolders written so far, as they stand in this folder. */
  topLevelNames(): string[] {
    return [...new Set([...this.names].map((name) => name.replace(/\/.*/, '/')))].sort();
  }

  /** `name` may lead into a subfolder. */
  async write(name: string, data: string | Uint8Array): Promise<void> {
    const path = join(this.path, name);
    const temporary = join(dirname(path), `.${basename(path)}.${process.pid}.tmp`);
    await orOutputError(path, 'the file', async () => {
      await this.make(dirname(path));
      this.pending.set(temporary, path);
      await writeFile(temporary, data);
      this.names.add(name);
    });
  }

  /** Files of these names that an earlier run left go when this one is committed without them. */
  retire(names: readonly string[]): void {
    this.retired = names;
  }

  async commit(): Promise<void> {
    for (const [temporary, path] of this.pending) {
      await orOutputError(path, 'the file', () => rename(temporary, path));
      this.pending.delete(temporary);
    }
    for (const name of this.retired) {
      if (this.names.has(name)) continue;
      const path = join(this.path, name);
      await orOutputError(path, 'the file', () => rm(path, { force: true }));
      // Refused, rightly, while anything else is in it.
      if (name.includes('/')) await rmdir(dirname(path)).catch(() => {});
    }
    this.made.length = 0;
  }

  /** Removes what was written and not committed, and the folders made for it. Synchronous, so that a dying process can do it. */
  discard(): void {
    for (const temporary of this.pending.keys()) rmSync(temporary, { force: true });
    this.pending.clear();
    for (const folder of this.made.splice(0).reverse()) {
      try {
        rmdirSync(folder);
      } catch {
        // Somebody put something else into it meanwhile.
      }
    }
  }

  private async make(folder: string): Promise<void> {
    const missing: string[] = [];
    for (let path = resolve(folder); !(await isFolder(path)); path = dirname(path)) {
      missing.unshift(path);
    }
    // Step by step: where a file system takes no folders, a recursive mkdir tries for ever.
    for (const path of missing) {
      try {
        await mkdir(path);
        this.made.push(path);
      } catch (error) {
        // Another run may have made it meanwhile.
        if ((error as NodeJS.ErrnoException).code !== 'EEXIST') throw error;
      }
    }
  }
}

/** False when nothing is there; throws when it is something else. */
async function isFolder(path: string): Promise<boolean> {
  try {
    if ((await stat(path)).isDirectory()) return true;
  } catch (error) {
    if ((error as NodeJS.ErrnoException).code === 'ENOENT') return false;
    throw error;
  }
  throw new Error(`${path} is no folder`);
}

async function orOutputError<T>(path: string, what: string, act: () => Promise<T>): Promise<T> {
  try {
    return await act();
  } catch (error) {
    throw new UserError(
      ExitCode.output,
      `${path}: ${what} can't be written (${messageOf(error)}). Choose another folder with --out.`,
      { cause: error },
    );
  }
}
