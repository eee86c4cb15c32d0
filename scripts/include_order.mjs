// Which folder of src/ may include which, and what goes against it.
//   node scripts/include_order.mjs     lists the includes that run upwards, aside or in a circle
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, extname, join, posix } from 'node:path';
import { argv } from 'node:process';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('..', import.meta.url));

const wholeCore = [
  ...['orient', 'scaffold', 'printer_files', 'print', 'slicing', 'mesh', 'files', 'check', 'hold'],
  ...['model', 'support', 'analysis', 'runtime'],
];

/**
 * Each folder with the folders it may include besides itself, from the doors down. A folder inside
 * one of these has the rights of the nearest one that is listed.
 */
export const order = {
  addon: ['node_api', 'model', 'support', 'analysis', 'runtime'],
  binding: ['node_api', ...wholeCore],
  capi: wholeCore,
  wasm: ['node_api'],
  node_api: ['model', 'support', 'analysis', 'runtime'],
  orient: ['check', 'hold', 'print', 'slicing', 'model', 'support', 'analysis', 'runtime'],
  scaffold: ['slicing', 'runtime'],
  check: ['hold', 'model', 'support', 'analysis', 'runtime'],
  hold: ['model', 'support', 'analysis', 'runtime'],
  print: ['hold', 'slicing', 'model', 'analysis', 'runtime'],
  printer_files: ['files', 'analysis', 'runtime'],
  slicing: ['analysis', 'runtime'],
  mesh: ['files', 'runtime'],
  files: [],
  model: ['support', 'analysis', 'runtime'],
  support: ['analysis', 'runtime'],
  analysis: ['runtime'],
  runtime: [],
};

/** Only these may include Node's headers. */
export const nodeFolders = ['addon', 'binding', 'wasm', 'node_api'];

const nodeHeaders = /^(napi.*|node_api.*|js_native_api.*|node|v8.*|uv)\.h$/;

/** Every C++ file of src/: its path inside src/ and its text. */
export function readSources(folder = join(root, 'src')) {
  return readdirSync(folder, { recursive: true })
    .filter((name) => ['.cpp', '.h', '.c', '.hpp'].includes(extname(name)))
    .sort()
    .map((name) => ({
      path: name.replaceAll('\\', '/'),
      text: readFileSync(join(folder, name), 'utf8'),
    }));
}

function folderOf(path) {
  const top = dirname(path);
  for (let folder = top; folder !== '.'; folder = dirname(folder)) {
    if (Object.hasOwn(order, folder)) return folder;
  }
  return top;
}

/** What the file includes: the name as written, its line, and the file of src/ that it means. */
function includesOf({ path, text }, known) {
  return text.split('\n').flatMap((line, index) => {
    const name = /^\s*#\s*include\s*["<]([^">]+)[">]/.exec(line)?.[1];
    if (name === undefined) return [];
    const beside = posix.normalize(posix.join(dirname(path), name));
    const target = [name, beside].find((candidate) => known.has(candidate));
    return [{ name, line: index + 1, target }];
  });
}

/** One sentence for each circle of files that include each other. */
function circles(graph) {
  const found = [];
  const done = new Set();
  const visit = (path, trail) => {
    const start = trail.indexOf(path);
    if (start >= 0) {
      found.push(`src/${[...trail.slice(start), path].join(' includes src/')}: a circle`);
      return;
    }
    if (done.has(path)) return;
    for (const target of graph.get(path)) visit(target, [...trail, path]);
    done.add(path);
  };
  for (const path of graph.keys()) visit(path, []);
  return found;
}

/** One sentence for everything in the sources that the order forbids; none when all is well. */
export function violations(sources) {
  const known = new Set(sources.map(({ path }) => path));
  const graph = new Map();
  const found = [];
  for (const source of sources) {
    const folder = folderOf(source.path);
    const rights = order[folder];
    if (rights === undefined) {
      found.push(
        `src/${source.path}: the folder ${folder} has no place in the order of includes; give it one in scripts/include_order.mjs`,
      );
    }
    const includes = includesOf(source, known);
    graph.set(
      source.path,
      includes.flatMap(({ target }) => target ?? []),
    );
    for (const { name, line, target } of includes) {
      const where = `src/${source.path}:${line}: `;
      if (nodeHeaders.test(name) && !nodeFolders.includes(folder)) {
        found.push(
          `${where}${folder} includes Node's header ${name}; only ${nodeFolders.join(', ')} may`,
        );
      }
      const to = target && folderOf(target);
      if (rights && to && to !== folder && !rights.includes(to)) {
        const may = rights.length === 0 ? 'nothing but itself' : rights.join(', ');
        found.push(`${where}${folder} includes ${name} of ${to}; it may include ${may}`);
      }
    }
  }
  return [...found, ...circles(graph)];
}

if (argv[1] === fileURLToPath(import.meta.url)) {
  const found = violations(readSources());
  for (const sentence of found) console.error(sentence);
  process.exit(found.length === 0 ? 0 : 1);
}
