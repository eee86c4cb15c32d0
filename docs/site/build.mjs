// Makes the site: node docs/site/build.mjs [folder], out/docs unless said. The packages and the
// binaries have to be built: the command's help is asked for, and types are read.
import { copyFileSync, cpSync, mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join, resolve } from 'node:path';
import MiniSearch from 'minisearch';
import { site } from './pages.mjs';
import { render } from './render.mjs';
import { root } from './root.mjs';
import { htmlPage } from './template.mjs';

const searchOptions = {
  fields: ['title', 'text'],
  storeFields: ['title', 'page'],
  searchOptions: { boost: { title: 3 } },
};

const out = resolve(process.argv[2] ?? join(root, 'out/docs'));
const pages = site.flatMap(({ pages }) => pages);

const addresses = new Map(
  pages
    .filter(({ source }) => typeof source === 'string')
    .map(({ slug, source }) => [source, `${slug}.html`]),
);
// Where the header is linked to, its page says the same, and more readably.
addresses.set('include/stiltforge/stiltforge.h', 'api-c.html');
addresses.set('include/stiltforge/stiltforge.hpp', 'api-cpp.html');

function takeFile(path) {
  const place = join(out, 'files', path);
  mkdirSync(dirname(place), { recursive: true });
  cpSync(join(root, path), place, { recursive: true });
  return `files/${path}`;
}

/** A document for each heading, with the text below it. */
function searchEntries({ slug, title: page }, html, headings) {
  const pieces = html.split(/(?=<h[1-6] id=)/);
  return headings.map(({ title, id }) => {
    const piece = pieces.find((text) => text.includes(`id="${id}"`)) ?? '';
    return { id: `${slug}.html#${id}`, title, page, text: piece.replaceAll(/<[^>]*>/g, ' ') };
  });
}

rmSync(out, { recursive: true, force: true });
mkdirSync(out, { recursive: true });
const index = new MiniSearch(searchOptions);
for (const page of pages) {
  const { source, slug } = page;
  const isDocument = typeof source === 'string';
  const text = isDocument ? readFileSync(join(root, source), 'utf8') : await source();
  const place = isDocument ? source : `docs/${slug}.md`;
  const links = { source: place, pageOf: (path) => addresses.get(path), fileOf: takeFile };
  const { html, headings } = render(text, links);
  index.addAll(searchEntries(page, html, headings));
  writeFileSync(join(out, `${slug}.html`), htmlPage({ site, page, html, headings }));
}
const data = { searchIndex: JSON.stringify(index), searchOptions };
writeFileSync(
  join(out, 'search_index.js'),
  `Object.assign(globalThis, ${JSON.stringify(data).replaceAll('<', '\\u003c')});\n`,
);
for (const name of ['style.css', 'search.js']) {
  copyFileSync(join(root, 'docs/site', name), join(out, name));
}
const minisearch = createRequire(import.meta.url).resolve('minisearch');
copyFileSync(join(dirname(minisearch), '../umd/index.js'), join(out, 'minisearch.js'));
process.stdout.write(`${pages.length} pages: ${join(out, 'index.html')}\n`);
