// The site of the documents: every link leads somewhere, and its pages can be read on any screen.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { openFile, withoutBrowser } from '../packages/viewer/test/browser.mjs';
import { root } from './docs/markdown.mjs';

const site = mkdtempSync(join(tmpdir(), 'stiltforge-site-'));
const pages = new Map();

before(() => {
  execFileSync(process.execPath, [join(root, 'docs/site/build.mjs'), site], { stdio: 'pipe' });
  for (const name of readdirSync(site)) {
    if (name.endsWith('.html')) pages.set(name, readFileSync(join(site, name), 'utf8'));
  }
});
after(() => rmSync(site, { recursive: true, force: true }));

const anchorsOf = (html) => new Set([...html.matchAll(/ id="([^"]*)"/g)].map(([, id]) => id));
const linksOf = (html) => [...html.matchAll(/ (?:href|src)="([^"]*)"/g)].map(([, link]) => link);

test('every document is a page', () => {
  assert.ok(pages.size >= 25, [...pages.keys()].join(' '));
  for (const name of readdirSync(join(root, 'docs'))) {
    if (name.endsWith('.md')) assert.ok(pages.has(name.replace('.md', '.html')), name);
  }
});

test('every link of the site leads to a page, a heading, a file or another site', () => {
  for (const [name, html] of pages) {
    for (const link of linksOf(html)) {
      if (/^(https:|data:)/.test(link)) continue;
      const [file, anchor] = decodeURIComponent(link).split('#');
      const target = file === '' ? name : file;
      assert.ok(existsSync(join(site, target)), `${name}: ${link}`);
      if (anchor) assert.ok(anchorsOf(pages.get(target)).has(anchor), `${name}: ${link}`);
    }
  }
});

test('every name on a page is there once, also that of a heading', () => {
  for (const [name, html] of pages) {
    const ids = [...html.matchAll(/ id="([^"]*)"/g)].map(([, id]) => id);
    const twice = ids.filter((id, i) => ids.indexOf(id) !== i);
    assert.deepEqual(twice, [], name);
  }
});

test('the interfaces are those of the sources', () => {
  const header = readFileSync(join(root, 'include/stiltforge/stiltforge.h'), 'utf8');
  for (const [, name] of header.matchAll(/STILTFORGE_API[^;]*?\b(stiltforge_\w+)\(/g)) {
    assert.ok(pages.get('api-c.html').includes(`id="${name}"`), name);
  }
  const { exports } = JSON.parse(
    readFileSync(join(root, 'packages/stiltforge/package.json'), 'utf8'),
  );
  for (const [path, { types = '' }] of Object.entries(exports)) {
    if (!/^\.\/dist\/.*\.d\.m?ts$/.test(types)) continue;
    assert.ok(pages.has(`api-stiltforge-${path.slice(2)}.html`), path);
  }
  assert.match(pages.get('api-stiltforge-analysis.html'), /estimateMemory/);
  const text = pages.get('api-c.html').replaceAll(/<[^>]*>/g, '');
  assert.match(text, /\(\* ?stiltforge_layer_callback\)\([^()]*\);/);
  assert.match(pages.get('api-cpp.html'), /<h2 id="slicer">/);
  assert.match(
    pages.get('command.html'),
    /<h2 id="stiltforge-orient">[\s\S]*Usage: stiltforge orient/,
  );
});

const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

/** Telephone and desk, by day and by night. */
const screens = [
  { viewport: { width: 360, height: 740 }, colorScheme: 'light' },
  { viewport: { width: 1440, height: 900 }, colorScheme: 'dark' },
];

for (const name of ['index', 'command', 'api-stiltforge-analysis', 'api-c', 'parameters']) {
  test(`${name}.html can be read`, { skip: withoutBrowser }, async (t) => {
    for (const screen of screens) {
      const { page, complaints } = await openFile(t, join(site, `${name}.html`), screen);
      await page.addScriptTag({ content: axe });
      const { violations } = await page.evaluate(() => globalThis.axe.run({ preload: false }));
      const found = violations.map(({ id, nodes }) => `${id}: ${nodes[0].html.slice(0, 200)}`);
      assert.deepEqual(found, []);
      assert.deepEqual(complaints, []);
    }
  });
}

test('no page is wider than a telephone', { skip: withoutBrowser }, async (t) => {
  const viewport = { width: 360, height: 740 };
  const { page } = await openFile(t, join(site, 'index.html'), { viewport });
  for (const name of pages.keys()) {
    await page.goto(pathToFileURL(join(site, name)).href);
    const width = await page.evaluate(() => document.documentElement.scrollWidth);
    assert.equal(width, viewport.width, name);
  }
});

test('a word is found, and leads to its section', { skip: withoutBrowser }, async (t) => {
  const { page } = await openFile(t, join(site, 'index.html'));
  await page.getByRole('searchbox').fill('estimateMemory');
  await page.locator('#site-results a').first().waitFor();
  await page.keyboard.press('Enter');
  await page.waitForURL(/estimate/i);
});
