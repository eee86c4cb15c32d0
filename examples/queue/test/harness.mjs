// A Redis of the test's own, and workers as processes, as they run on machines.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { createServer as createHttpServer } from 'node:http';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { connectionTo, openQueue } from '../dist/queue.js';

const program = (name) => fileURLToPath(new URL(`../dist/${name}.js`, import.meta.url));

export async function temporaryFolder(t) {
  const folder = await mkdtemp(join(tmpdir(), 'stiltforge-queue-'));
  t.after(() => rm(folder, { recursive: true, force: true, maxRetries: 5 }));
  return folder;
}

/** Asks until the answer is true; fails after a time that only something broken takes. */
export async function until(ask, what, seconds = 300) {
  const end = performance.now() + 1000 * seconds;
  for (;;) {
    const answer = await ask();
    if (answer) return answer;
    if (performance.now() > end) throw new Error(`waited ${seconds} s in vain: ${what}`);
    await sleep(50);
  }
}

async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  await once(server, 'close');
  return port;
}

/** A Redis that has every command on the disk before it answers; kill() and start() may be repeated. */
export async function redis(t) {
  const folder = await temporaryFolder(t);
  const port = await freePort();
  const words = ['--port', port, '--bind', '127.0.0.1', '--dir', folder, '--save', ''];
  const durable = ['--appendonly', 'yes', '--appendfsync', 'always'];
  let server;
  const start = async () => {
    server = spawn('redis-server', [...words, ...durable], {
      stdio: ['ignore', 'pipe', 'inherit'],
    });
    let said = '';
    server.stdout.on('data', (text) => {
      said += text;
    });
    await until(() => {
      if (server.exitCode !== null) throw new Error(`redis-server ended:\n${said}`);
      return said.includes('Ready to accept connections');
    }, 'Redis is ready');
  };
  const kill = async () => {
    if (server.exitCode !== null || server.signalCode !== null) return;
    server.kill('SIGKILL');
    await once(server, 'exit');
  };
  await start();
  t.after(kill);
  return { redisUrl: `redis://127.0.0.1:${port}`, start, kill };
}

/** A server that answers with `handler`; gives its host and port. */
export async function site(t, handler) {
  const server = createHttpServer(handler).listen(0, '127.0.0.1');
  await once(server, 'listening');
  t.after(() => {
    server.close();
    server.closeAllConnections();
  });
  return `127.0.0.1:${server.address().port}`;
}

/** A queue of a name of its own; `settings` are the variables that lead workers to it. */
export async function queueOn(t, { redisUrl }, name) {
  const place = { redisUrl, queue: name };
  const connection = connectionTo(place);
  const queue = openQueue(place, connection);
  queue.on('error', () => {});
  t.after(async () => {
    await queue.close();
    connection.disconnect();
  });
  return { queue, settings: { REDIS_URL: redisUrl, QUEUE: name } };
}

/** Starts a program of the example; `lines` gives what it has printed so far. */
export function startProgram(t, name, words, variables) {
  const child = spawn(process.execPath, [program(name), ...words], {
    env: { ...process.env, PORT: '0', ...variables },
    stdio: ['ignore', 'pipe', 'pipe'],
    // Only something broken takes so long.
    timeout: 600_000,
    killSignal: 'SIGKILL',
  });
  let out = '';
  let err = '';
  child.stdout.setEncoding('utf8').on('data', (text) => {
    out += text;
  });
  child.stderr.setEncoding('utf8').on('data', (text) => {
    err += text;
  });
  const done = new Promise((resolve) => {
    child.on('close', (code, signal) => resolve({ code, signal, out, err }));
  });
  t.after(() => {
    child.kill('SIGKILL');
    return done;
  });
  return { child, done, lines: () => out.split('\n').slice(0, -1) };
}

/** A worker that listens; `ask` reads a page of it, `events` are what it logged. */
export async function startWorker(t, variables) {
  const { child, done, lines } = startProgram(t, 'worker', [], variables);
  const events = () => lines().map((line) => JSON.parse(line));
  const { port } = await until(() => {
    if (child.exitCode !== null) throw new Error('the worker ended before it listened');
    return events().find(({ event }) => event === 'listening');
  }, 'the worker listens');
  const ask = async (path) => {
    const response = await fetch(`http://127.0.0.1:${port}${path}`);
    return { status: response.status, text: await response.text() };
  };
  const happened = (event) => until(() => events().find((e) => e.event === event), event);
  return { child, done, ask, events, happened };
}

/** A job when it has ended, with what it left. */
export async function ended(queue, { id }) {
  return until(async () => {
    const found = await queue.getJob(id);
    return found?.finishedOn !== undefined && found;
  }, `job ${id} ends`);
}
