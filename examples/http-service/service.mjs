// A service that takes a mesh and answers with supports.json.
//
//   node service.mjs
//   curl --data-binary @part.stl 'localhost:8080/supports?name=part.stl&layerHeight=0.03'
//
// The query may set layerHeight, pixelSize, screenWidth, screenHeight, criticalAngle, inset and
// supportArea. Whatever is wrong gets a sentence: {"error": "..."}.
import { createServer } from 'node:http';
import { pathToFileURL } from 'node:url';
import {
  defaultPrint,
  defaultSupport,
  ExitCode,
  loadMesh,
  placeSupports,
  supportsJson,
  UserError,
} from 'stiltforge-cli';

export const defaultLimits = {
  /** Of a mesh, bytes. */
  size: 100e6,
  /** From a request's first byte to its answer, seconds. */
  time: 60,
  /** Parts analysed side by side. */
  concurrency: 2,
  /** Requests that wait for their turn; those above are sent away. */
  waiting: 8,
  /** That a part may take, bytes. */
  memory: 2e9,
};

export function createService(limits = {}) {
  const bounds = { ...defaultLimits, ...limits };
  const turns = new Turns(bounds);
  const server = createServer((request, response) => {
    answer(request, response, bounds, turns).catch((error) => refuse(response, error));
  });
  server.requestTimeout = 1000 * bounds.time;
  return server;
}

async function answer(request, response, bounds, turns) {
  const url = new URL(request.url, 'http://service');
  if (url.pathname !== '/supports') throw new Refusal(404, 'There is only POST /supports.');
  if (request.method !== 'POST') {
    response.setHeader('Allow', 'POST');
    throw new Refusal(405, 'Send the mesh with POST.');
  }
  const { name, print, support } = settingsOf(url.searchParams);
  const client = new AbortController();
  response.once('close', () => client.abort(new Refusal(499, 'The client went away.')));
  const tooLate = new Refusal(504, `It takes more than the ${bounds.time} s that a part may have.`);
  const timer = setTimeout(() => client.abort(tooLate), 1000 * bounds.time);
  const { signal } = client;
  try {
    const bytes = await body(request, bounds.size);
    const text = await turns.take(signal, async () => {
      const { positions: mesh, warnings: meshWarnings } = await loadMesh(bytes, signal, name);
      const job = { name, mesh, meshWarnings, print, support, memory: bounds.memory };
      return supportsJson((await placeSupports(job, { signal })).document);
    });
    response.setHeader('Content-Type', 'application/json').end(text);
  } catch (error) {
    throw signal.aborted ? signal.reason : error;
  } finally {
    clearTimeout(timer);
  }
}

function settingsOf(query) {
  const settings = { ...defaultPrint, ...defaultSupport };
  let name = 'mesh';
  for (const [key, value] of query) {
    if (key === 'name') {
      name = value;
    } else if (Object.hasOwn(settings, key)) {
      settings[key] = numberFrom(key, value);
    } else {
      throw new Refusal(400, `There is no setting ${JSON.stringify(key)}.`);
    }
  }
  const pick = (defaults) =>
    Object.fromEntries(Object.keys(defaults).map((key) => [key, settings[key]]));
  return { name, print: pick(defaultPrint), support: pick(defaultSupport) };
}

function numberFrom(key, text) {
  if (/^\d+(\.\d+)?$/.test(text)) return Number(text);
  throw new Refusal(400, `${key} is ${JSON.stringify(text)}, not a plain number.`);
}

async function body(request, most) {
  const tooLarge = new Refusal(413, `The mesh has more than ${most} bytes.`);
  if (Number(request.headers['content-length']) > most) throw tooLarge;
  const pieces = [];
  let size = 0;
  // What is refused is still read to its end, unseen: a client that is sending would miss the answer.
  for await (const piece of request.iterator({ destroyOnReturn: false })) {
    size += piece.length;
    if (size > most) throw tooLarge;
    pieces.push(piece);
  }
  return Buffer.concat(pieces);
}

/** Lets so many at work at once; the others wait in a line. */
class Turns {
  #free;
  #most;
  #line = [];

  constructor({ concurrency, waiting }) {
    this.#free = concurrency;
    this.#most = waiting;
  }

  async take(signal, work) {
    signal.throwIfAborted();
    if (this.#free > 0) {
      this.#free -= 1;
    } else if (this.#line.length < this.#most) {
      await this.#wait(signal);
    } else {
      throw new Refusal(503, 'Too many parts are waiting. Try again in a few seconds.');
    }
    try {
      return await work();
    } finally {
      const next = this.#line.shift();
      if (next) next();
      else this.#free += 1;
    }
  }

  #wait(signal) {
    return new Promise((resolve, reject) => {
      const mine = () => {
        signal.removeEventListener('abort', leave);
        resolve();
      };
      const leave = () => {
        this.#line.splice(this.#line.indexOf(mine), 1);
        reject(signal.reason);
      };
      signal.addEventListener('abort', leave, { once: true });
      this.#line.push(mine);
    });
  }
}

/** What is answered instead of supports. */
class Refusal extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

const statusOf = new Map([
  [ExitCode.usage, 400],
  [ExitCode.mesh, 422],
  [ExitCode.memory, 413],
]);

function refuse(response, error) {
  // Nobody listens any more.
  if (response.destroyed || response.headersSent) return;
  const status = error.status ?? (error instanceof UserError && statusOf.get(error.exitCode));
  if (!status) console.error(error);
  const message = status ? error.message : 'Something unexpected failed.';
  if (status === 503) response.setHeader('Retry-After', '5');
  response.writeHead(status || 500, { 'Content-Type': 'application/json' });
  response.end(`${JSON.stringify({ error: message })}\n`);
}

if (import.meta.url === pathToFileURL(process.argv[1]).href) {
  const port = Number(process.env.PORT ?? 8080);
  createService().listen(port, () => console.log(`listening on http://localhost:${port}/supports`));
}
