import { createHash } from 'node:crypto';
import { createReadStream, createWriteStream } from 'node:fs';
import { realpath, stat } from 'node:fs/promises';
import { basename, relative, sep } from 'node:path';
import { Readable, Transform } from 'node:stream';
import { pipeline } from 'node:stream/promises';
import type { ReadableStream } from 'node:stream/web';
import { UnrecoverableError } from 'bullmq';
import type { PartJob, Source } from './job.js';
import type { Settings } from './settings.js';
import type { Storage } from './storage.js';

/** What a part is called that has no name of its own. */
const nameless = 'part';

type Limits = Pick<Settings, 'inputLimit' | 'inputFolder' | 'urlHosts'>;

export function partName({ name, source }: Pick<PartJob, 'name' | 'source'>): string {
  if (name !== undefined) return name;
  const text = 'url' in source ? new URL(source.url).pathname : Object.values(source)[0];
  // A name is part of a path in the working folder, so nothing but what is usual in one stays.
  return (
    basename(text.replaceAll('\\', '/'))
      .replace(/[^\w.+ -]/g, '_')
      .replace(/^\.+/, '')
      .slice(-200) || nameless
  );
}

/** Copies an input to a file of this worker's own. Gives the digest of its bytes. */
export async function fetchInput(
  source: Source,
  file: string,
  limits: Limits,
  storage: Storage,
  signal: AbortSignal,
): Promise<string> {
  const bytes = await open(source, limits, storage, signal);
  const hash = createHash('sha256');
  const most = limits.inputLimit;
  let size = 0;
  const counted = new Transform({
    transform(piece: Buffer, _, done) {
      size += piece.length;
      hash.update(piece);
      if (size <= most) done(null, piece);
      else done(new UnrecoverableError(`The input has more than the ${most / 1e6} MB allowed.`));
    },
  });
  await pipeline(bytes, counted, createWriteStream(file), { signal });
  return hash.digest('hex');
}

async function open(
  source: Source,
  limits: Limits,
  storage: Storage,
  signal: AbortSignal,
): Promise<Readable> {
  if ('object' in source) return storage.read(source.object, signal);
  if ('url' in source) return download(source.url, limits.urlHosts, signal);
  return createReadStream(await allowedPath(source.path, limits.inputFolder), { signal });
}

/** Links are followed first: what counts is where the file really lies. */
async function allowedPath(path: string, folder: string | undefined): Promise<string> {
  if (folder === undefined) {
    throw new UnrecoverableError(
      'This worker takes no paths: start it with INPUT_FOLDER, or store the input as an object.',
    );
  }
  const [real, root] = await Promise.all([existing(path), realpath(folder)]);
  const inside = relative(root, real);
  if (inside === '..' || inside.startsWith(`..${sep}`) || inside.startsWith(sep)) {
    throw new UnrecoverableError(`${path}: it lies outside of the workers' INPUT_FOLDER.`);
  }
  if (!(await stat(real)).isFile()) throw new UnrecoverableError(`${path}: it is no file.`);
  return real;
}

async function existing(path: string): Promise<string> {
  return realpath(path).catch((error: NodeJS.ErrnoException) => {
    if (error.code !== 'ENOENT' && error.code !== 'ENOTDIR') throw error;
    throw new UnrecoverableError(`${path}: there is no such file on the worker's machine.`);
  });
}

async function download(
  url: string,
  hosts: readonly string[],
  signal: AbortSignal,
): Promise<Readable> {
  const { host } = new URL(url);
  if (!hosts.includes(host)) {
    throw new UnrecoverableError(`${url}: ${host} is not one of the workers' URL_HOSTS.`);
  }
  const response = await answerOf(url, signal);
  if (response.ok && response.body) return Readable.fromWeb(response.body as ReadableStream);
  await response.body?.cancel();
  const message = `${url}: the server answered ${response.status}.`;
  // A server that is busy or broken may answer later, one that has no such file will not.
  throw response.status >= 500 || [408, 429].includes(response.status)
    ? new Error(message)
    : new UnrecoverableError(message);
}

/** A redirect is not followed: it could lead to a host that is not allowed. */
async function answerOf(url: string, signal: AbortSignal): Promise<Response> {
  try {
    return await fetch(url, { redirect: 'manual', signal });
  } catch (error) {
    signal.throwIfAborted();
    const { cause } = error as Error;
    throw new Error(`${url}: ${cause instanceof Error ? cause.message : String(error)}.`);
  }
}
