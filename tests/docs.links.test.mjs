// Every link of the documents leads somewhere, and every command that they name is there.
import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { join, posix } from 'node:path';
import { test } from 'node:test';
import { anchors, documents, links, root } from './docs/markdown.mjs';

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
