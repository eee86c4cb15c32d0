// A storage to start from: objects of a server that speaks plain HTTP, as WebDAV servers and object
// stores do. STORAGE_MODULE=dist/http_storage.js STORAGE_URL=http://objects:8000/parts/
import { createReadStream } from 'node:fs';
import { stat } from 'node:fs/promises';
import { Readable } from 'node:stream';
import type { ReadableStream } from 'node:stream/web';
import { UnrecoverableError } from 'bullmq';
import type { Storage } from './storage.js';

export function createStorage({ STORAGE_URL }: NodeJS.ProcessEnv): Storage {
  if (!URL.canParse(STORAGE_URL ?? '')) throw new Error('STORAGE_URL: it has to be a URL.');
  const root = new URL(`${STORAGE_URL}/`.replace(/\/\/$/, '/'));
  return {
    async read(name, signal) {
      const response = await fetch(objectUrl(root, name), { signal });
      if (response.ok) return Readable.fromWeb(response.body as ReadableStream);
      await response.body?.cancel();
      throw response.status === 404
        ? new UnrecoverableError(`There is no object ${JSON.stringify(name)} in the storage.`)
        : refused(name, response);
    },
    async has(name, signal) {
      const response = await fetch(objectUrl(root, name), { method: 'HEAD', signal });
      if (response.ok || response.status === 404) return response.ok;
      throw refused(name, response);
    },
    async write(name, file, signal) {
      const response = await fetch(objectUrl(root, name), {
        method: 'PUT',
        // What is there stays.
        headers: { 'If-None-Match': '*', 'Content-Length': String((await stat(file)).size) },
        body: Readable.toWeb(createReadStream(file)) as ReadableStream<Uint8Array>,
        duplex: 'half',
        signal,
      });
      await response.body?.cancel();
      if (!response.ok && response.status !== 412) throw refused(name, response);
    },
  };
}

/** Also for names with spaces and the like, and never above the root. */
function objectUrl(root: URL, name: string): URL {
  const url = new URL(name.split('/').map(encodeURIComponent).join('/'), root);
  if (url.href.startsWith(root.href)) return url;
  throw new UnrecoverableError(`${JSON.stringify(name)} is no name of an object.`);
}

function refused(name: string, { status }: Response): Error {
  return new Error(`The storage answered ${status} for ${JSON.stringify(name)}.`);
}
