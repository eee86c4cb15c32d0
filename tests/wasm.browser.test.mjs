// stiltforge/wasm in a page and in a worker of Debian's Chromium, put together by a bundler.
import assert from 'node:assert/strict';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync } from 'node:fs';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { extname, join } from 'node:path';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import * as analysis from 'stiltforge/analysis';
import * as check from 'stiltforge/check';
import * as orientation from 'stiltforge/orientation';
import * as scaffold from 'stiltforge/scaffold';
import * as slicing from 'stiltforge/slicing';
import { build } from 'vite';
import { roadOf, textOf } from '../packages/stiltforge/test/road.mjs';

const program = process.env.STILTFORGE_CHROMIUM ?? '/usr/bin/chromium';
const skip = !existsSync(program) && `${program} is missing: install the Debian package chromium`;

const types = {
  '.html': 'text/html',
  '.js': 'text/javascript',
  '.wasm': 'application/wasm',
};

/** Ends the build with what asked for a module of Node. */
const withoutNode = {
  name: 'without-node',
  enforce: 'pre',
  resolveId(name, importer) {
    if (name.startsWith('node:')) throw new Error(`${importer} asks for ${name}`);
  },
};

const folder = mkdtempSync(join(tmpdir(), 'stiltforge-wasm-'));
let server;
let browser;
let page;
const asked = [];

before(async () => {
  if (skip) return;
  await build({
    configFile: false,
    logLevel: 'error',
    root: join(import.meta.dirname, 'wasm'),
    base: './',
    plugins: [withoutNode],
    worker: { format: 'es', plugins: () => [withoutNode] },
    build: { outDir: folder, target: 'es2022', modulePreload: false },
  });
  server = createServer(({ url }, response) => {
    asked.push(url);
    const file = join(folder, url === '/' ? 'index.html' : url);
    if (!existsSync(file)) return response.writeHead(404).end();
    return response
      .writeHead(200, { 'content-type': types[extname(file)] })
      .end(readFileSync(file));
  });
  await new Promise((done) => server.listen(0, '127.0.0.1', done));
  // The sandbox of Chromium does not work for root, as whom containers run.
  // Only something broken takes so long, on a busy machine too.
  const timeout = 180_000;
  browser = await chromium.launch({ executablePath: program, args: ['--no-sandbox'], timeout });
  page = await browser.newPage();
  page.setDefaultTimeout(timeout);
  await page.goto(`http://127.0.0.1:${server.address().port}/`);
});

after(async () => {
  await browser?.close();
  server?.close();
  rmSync(folder, { recursive: true, force: true });
});

const native = { ...analysis, ...check, ...orientation, ...scaffold, ...slicing };

test('a bundler puts the module beside its scripts by itself', { skip }, () => {
  const [module] = readdirSync(join(folder, 'assets')).filter((name) => name.endsWith('.wasm'));
  assert.match(module, /^stiltforge-/);
});

for (const place of ['roadInWorker', 'roadInPage']) {
  test(`${place}: the results are those of the addon`, { skip }, async () => {
    const expected = textOf(await roadOf(native));
    const actual = await page.evaluate((name) => window[name](), place);
    assert.equal(actual.length, expected.length);
    assert.ok(actual === expected);
  });
}

test('nothing is asked for but the page and its files', { skip }, () => {
  for (const url of asked) assert.match(url, /^\/($|favicon\.ico$|assets\/[\w-]+\.(js|wasm)$)/);
});
