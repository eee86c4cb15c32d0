import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { test } from 'node:test';

const tests = new URL('.', import.meta.url);
const page = readFileSync(new URL('../../../docs/safety.md', import.meta.url), 'utf8');

/** The text of the test file with this number, with `${...}` in titles as a wildcard. */
function titles(number) {
  const file = readdirSync(tests).find((name) => name.startsWith(`${number}.`));
  const source = readFileSync(new URL(file, tests), 'utf8');
  return [...source.matchAll(/test\(\s*(['`])(.*?)\1/g)].map(([, , title]) => {
    const literal = title
      .split(/\$\{.*?\}/)
      .map((part) => part.replace(/[.*+?^${}()|[\]\\]/g, '\\$&'));
    return new RegExp(`^${literal.join('.*')}$`);
  });
}

test('every test that docs/safety.md names exists', () => {
  const named = [...page.matchAll(/\b(\d\d): `([^`]+)`/g)];
  assert.ok(named.length > 50);
  for (const [, number, title] of named) {
    assert.ok(
      titles(number).some((pattern) => pattern.test(title)),
      `${number}: ${title}`,
    );
  }
});

test('every row of a table of mistakes names a test', () => {
  const rows = page.split('\n').filter((line) => line.startsWith('| ') && !line.includes('ERR_'));
  const headings = ['| mistake |', '| situation |', '| code |'];
  for (const row of rows.filter((line) => !headings.some((heading) => line.startsWith(heading)))) {
    assert.match(row, /\| \d\d: `[^`]+` \|$/, row);
  }
});
