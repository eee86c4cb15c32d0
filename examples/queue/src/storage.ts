import { createReadStream } from 'node:fs';
import { access, copyFile, link, mkdir, open, rm } from 'node:fs/promises';
import { dirname, join, normalize, sep } from 'node:path';
import type { Readable } from 'node:stream';
import { pathToFileURL } from 'node:url';
import { UnrecoverableError } from 'bullmq';
import { removeLeftovers, temporaryName } from './leftovers.js';
import type { Settings } from './settings.js';

/** Where inputs come from and results go to: a folder, or what a module makes of an object store. */
export interface Storage {
  /**
   * The bytes of an object. Throws BullMQ's UnrecoverableError when there is none of that name, any
   * other error when trying again may help.
   */
  read(name: string, signal: AbortSignal): Promise<Readable>;
  has(name: string, signal: AbortSignal): Promise<boolean>;
  /**
   * Stores a file under a name, whole or not at all, also when the process ends in the middle. An
   * object that is there already stays: it was made of the same input.
   */
  write(name: string, file: string, signal: AbortSignal): Promise<void>;
}

/** What a module that STORAGE_MODULE names has to export. */
export interface StorageModule {
  createStorage(variables: NodeJS.ProcessEnv): Storage | Promise<Storage>;
}

export async function openStorage(
  { storageModule, storageFolder }: Settings,
  variables: NodeJS.ProcessEnv,
): Promise<Storage> {
  if (storageModule === undefined) return FolderStorage.open(storageFolder);
  const module = (await import(pathToFileURL(storageModule).href)) as Partial<StorageModule>;
  if (module.createStorage === undefined) {
    throw new Error(`STORAGE_MODULE ${storageModule}: it has to export createStorage(variables).`);
  }
  return module.createStorage(variables);
}

/** Objects are files of a folder, on a file system with hard links that all workers share. */
class FolderStorage implements Storage {
  private constructor(
    private readonly folder: string,
    private readonly incoming: string,
  ) {}

  static async open(folder: string): Promise<FolderStorage> {
    const incoming = join(folder, '.incoming');
    await mkdir(incoming, { recursive: true });
    await removeLeftovers(incoming);
    return new FolderStorage(folder, incoming);
  }

  async read(name: string, signal: AbortSignal): Promise<Readable> {
    const path = this.pathOf(name);
    await access(path).catch((error: NodeJS.ErrnoException) => {
      if (error.code !== 'ENOENT' && error.code !== 'ENOTDIR') throw error;
      throw new UnrecoverableError(`There is no object ${JSON.stringify(name)} in the storage.`);
    });
    return createReadStream(path, { signal });
  }

  async has(name: string): Promise<boolean> {
    return access(this.pathOf(name)).then(
      () => true,
      () => false,
    );
  }

  async write(name: string, file: string): Promise<void> {
    const path = this.pathOf(name);
    const staged = join(this.incoming, temporaryName());
    try {
      await copyFile(file, staged);
      await flush(staged);
      await mkdir(dirname(path), { recursive: true });
      await linkOnce(staged, path);
      await flush(dirname(path));
    } finally {
      await rm(staged, { force: true });
    }
  }

  private pathOf(name: string): string {
    const path = normalize(name);
    if (path.split(sep).some((piece) => piece.startsWith('.')) || path.startsWith(sep)) {
      throw new UnrecoverableError(
        `${JSON.stringify(name)} is no name of an object: it may not begin with / or have pieces ` +
          'that begin with a dot.',
      );
    }
    return join(this.folder, path);
  }
}

/** Unlike a rename, a link never replaces what another worker has put there meanwhile. */
async function linkOnce(from: string, to: string): Promise<void> {
  await link(from, to).catch((error: NodeJS.ErrnoException) => {
    if (error.code !== 'EEXIST') throw error;
  });
}

/** What the queue calls done is on the disk. */
async function flush(path: string): Promise<void> {
  const file = await open(path);
  try {
    await file.sync();
  } finally {
    await file.close();
  }
}
