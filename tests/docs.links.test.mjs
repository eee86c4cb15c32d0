// Every link of the documents leads somewhere, and every command that they name is there.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, readFileSync } from 'node:fs';
import { join, posix } from 'node:path';
import { test } from 'node:test';
import { commandPage } from '../docs/site/command_page.mjs';
import { anchors, codeBlocks, documents, inlineCode, links, root } from './docs/markdown.mjs';

/** What is wrong with a link of a document; undefined when nothing is. */
function faultOf(path, link) {
  if (/^[a-z]+:/i.test(link)) {
    return URL.canParse(link) && link.startsWith('https://') ? undefined : 'is no https address';
  }
  const [file, anchor] = decodeURI(link).split('#');
  const target = file === '' ? path : posix.join(posix.dirname(path), file);
  if (target.startsWith('..') || !existsSync(join(root, target))) return 'leads nowhere';
  if (anchor === undefined) return undefined;
  if (!target.endsWith('.md')) return 'has an anchor into what is no document';
  return anchors(target).has(anchor) ? undefined : 'has an anchor that its document lacks';
}

test('every link leads to a file or a heading of the repository, or is an https address', () => {
  assert.ok(documents.length >= 15);
  const faults = documents.flatMap((path) =>
    links(path).flatMap((link) => {
      const fault = faultOf(path, link);
      return fault === undefined ? [] : [`${path}: ${link} ${fault}`];
    }),
  );
  assert.deepEqual(faults, []);
});

test('the links of a document are looked at', () => {
  assert.equal(faultOf('README.md', 'docs/nowhere.md'), 'leads nowhere');
  assert.equal(faultOf('docs/check.md', '../../outside.md'), 'leads nowhere');
  assert.match(faultOf('docs/check.md', '#no-such-heading'), /anchor/);
  assert.match(faultOf('README.md', 'http://insecure.example'), /https/);
  assert.equal(faultOf('docs/handover.md', 'formats.md#part3mf'), undefined);
});

test('every npm command that a document names is a script of its package', () => {
  const scriptsOf = (folder) =>
    JSON.parse(readFileSync(join(root, folder, 'package.json'), 'utf8')).scripts ?? {};
  const known = {
    ...scriptsOf('.'),
    ...scriptsOf('packages/viewer'),
    ...scriptsOf('examples/queue'),
  };
  for (const path of documents) {
    const text = readFileSync(join(root, path), 'utf8');
    for (const [command, name] of text.matchAll(/npm run (?:-s )?([\w:]+)/g)) {
      assert.ok(name in known, `${path}: ${command}`);
    }
  }
});

/** Options of other programs by who takes them. */
const otherOptions = {
  npm: ['omit', 'silent'],
  'redis-server': ['appendfsync', 'appendonly', 'maxmemory-policy'],
  'pkg-config': ['cflags', 'libs', 'static'],
  PrusaSlicer: ['pad-around-object', 'support-object-elevation', 'output'],
};
const known = new Set(Object.values(otherOptions).flat());

/** Whether a script or a benchmark of ours speaks of the word. */
function isOfScripts(word) {
  const folders = ['scripts', 'bench', 'fuzz', 'examples', ':!*.md'];
  return (
    spawnSync('git', ['grep', '-qw', '-e', word, '--', ...folders], { cwd: root }).status === 0
  );
}

/** Commands of other programs. */
const notOurs = /^(npm|node|cmake|git|docker|sh|bash|prusa-slicer|redis-server) /;

test('every option that a document names is one of the command, of a script, or of another program', () => {
  const help = commandPage();
  const faults = [];
  for (const path of documents) {
    const lines = codeBlocks(path).flatMap(({ text }) => text.split('\n'));
    for (const piece of [...inlineCode(path), ...lines].filter((text) => !notOurs.test(text))) {
      for (const [option, name] of piece.matchAll(/(?<![\w-])--([a-z][a-z-]*)/g)) {
        const isKnown = help.includes(option) || known.has(name) || isOfScripts(name);
        if (!isKnown) faults.push(`${path}: ${piece}`);
      }
    }
  }
  assert.deepEqual(faults, []);
});

test('every option of the command stands in a document', () => {
  const told = new Set(
    documents
      .flatMap((path) => [
        ...readFileSync(join(root, path), 'utf8').matchAll(/(?<![\w-])--[a-z][a-z-]*/g),
      ])
      .map(([option]) => option),
  );
  const options = [...commandPage().matchAll(/^ {2,6}(?:-\w, )?(--[a-z][a-z-]*)/gm)].map(
    ([, option]) => option,
  );
  assert.ok(options.length > 50, options.join());
  assert.deepEqual(
    [...new Set(options)].filter((option) => !told.has(option)),
    [],
  );
});
