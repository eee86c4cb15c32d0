// A service that takes a mesh or a printer file and answers with supports.json.
//
//   node service.mjs
//   curl --data-binary @part.stl 'localhost:8080/supports?name=part.stl&layerHeight=0.03'
//   curl --data-binary @plate.sl1 'localhost:8080/supports?name=plate.sl1'
//
// The query may set layerHeight, pixelSize, screenWidth, screenHeight, criticalAngle, inset and
// supportArea. A printer file says the first four itself; layerHeight and pixelSize count more where they
// are given. Whatever is wrong gets a sentence: {"error": "..."}.
import { mkdtemp, open, rm } from 'node:fs/promises';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { isPrinterFile } from 'stiltforge/slicing';
import {
  defaultPrint,
  defaultSupport,
  ExitCode,
  loadMesh,
  openPrint,
  placePrintSupports,
  placeSupports,
  supportsJson,
  UserError,
} from 'stiltforge-cli';

export const defaultLimits = {
  /** Of a mesh or a printer file, bytes. */
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

const base = 'http://service';

async function answer(request, response, bounds, turns) {
  const url = URL.canParse(request.url, base) ? new URL(request.url, base) : undefined;
  if (url?.pathname !== '/supports') throw new Refusal(404, 'There is only POST /supports.');
  if (request.method !== 'POST') {
    response.setHeader('Allow', 'POST');
    throw new Refusal(405, 'Send the mesh or the printer file with POST.');
  }
  const settings = settingsOf(url.searchParams);
  const client = new AbortController();
  response.once('close', () => client.abort(new Refusal(499, 'The client went away.')));
  const { signal } = client;
  // Layers are read from their file as they are needed, so it is not kept in memory.
  const folder = await mkdtemp(join(tmpdir(), 'stiltforge-service-'));
  const tooLate = new Refusal(504, `It takes more than the ${bounds.time} s that a part may have.`);
  const timer = setTimeout(() => client.abort(tooLate), 1000 * bounds.time);
  try {
    const file = join(folder, settings.name);
    await store(request, file, bounds.size);
    const text = await turns.take(signal, async () => {
      const place = isPrinterFile(file) ? placeInPrint : placeInMesh;
      return supportsJson(await place(file, settings, bounds.memory, signal));
    });
    response.setHeader('Content-Type', 'application/json').end(text);
  } catch (error) {
    if (signal.aborted) throw signal.reason;
    // Where the file lies here is nobody's business.
    if (error instanceof Error) error.message = error.message.replaceAll(join(folder, '/'), '');
    throw error;
  } finally {
    clearTimeout(timer);
    await rm(folder, { recursive: true, force: true });
  }
}

async function placeInMesh(file, { name, print, support }, memory, signal) {
  const { positions: mesh, warnings: meshWarnings } = await loadMesh(file, signal);
  const job = { name, mesh, meshWarnings, print, support, memory };
  return (await placeSupports(job, { signal })).document;
}

async function placeInPrint(file, { name, given, support }, memory, signal) {
  const printed = await openPrint(file, given, signal);
  return (await placePrintSupports({ name, printed, support, memory }, { signal })).document;
}

function settingsOf(query) {
  const settings = { ...defaultPrint, ...defaultSupport };
  const given = {};
  let name = 'mesh';
  for (const [key, value] of query) {
    if (key === 'name') {
      name = fileName(value);
    } else if (Object.hasOwn(settings, key)) {
      settings[key] = numberFrom(key, value);
      given[key] = settings[key];
    } else {
      throw new Refusal(400, `There is no setting ${JSON.stringify(key)}.`);
    }
  }
  const pick = (defaults) =>
    Object.fromEntries(Object.keys(defaults).map((key) => [key, settings[key]]));
  return { name, given, print: pick(defaultPrint), support: pick(defaultSupport) };
}

/** A name that a client gives must not lead to another file. */
function fileName(text) {
  const name = basename(text).replaceAll(/[^\w. -]/g, '_');
  if (/^\.*$/.test(name) || name.length > 200) {
    throw new Refusal(400, `name is ${JSON.stringify(text)}, which is no name of a file.`);
  }
  return name;
}

function numberFrom(key, text) {
  if (/^\d+(\.\d+)?$/.test(text)) return Number(text);
  throw new Refusal(400, `${key} is ${JSON.stringify(text)}, not a plain number.`);
}

async function store(request, path, most) {
  const tooLarge = new Refusal(413, `The file has more than ${most} bytes.`);
  if (Number(request.headers['content-length']) > most) throw tooLarge;
  const file = await open(path, 'wx');
  let size = 0;
  try {
    // What is refused is still read to its end, unseen: a client that is sending would miss the answer.
    for await (const piece of request.iterator({ destroyOnReturn: false })) {
      size += piece.length;
      if (size > most) throw tooLarge;
      await file.writeFile(piece);
    }
  } finally {
    await file.close();
  }
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

if (import.meta.url === pathToFileURL(process.argv[1] ?? '').href) {
  const port = Number(process.env.PORT ?? 8080);
  createService().listen(port, () => console.log(`listening on http://localhost:${port}/supports`));
}
