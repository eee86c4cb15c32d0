import assert from 'node:assert/strict';
import { PassThrough } from 'node:stream';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { stripVTControlCharacters } from 'node:util';
import { progressOn } from '../dist/progress.js';

for (const columns of [80, 100, 200]) {
  test(`the bar leaves room for the time left on a terminal of ${columns} columns`, async (t) => {
    let seconds = 0;
    t.mock.method(performance, 'now', () => 1000 * seconds);
    const terminal = Object.assign(new PassThrough(), { isTTY: true, columns });
    const progress = progressOn(terminal);
    progress.start(65_535);
    seconds = 65;
    progress.update(10_000);
    progress.stop();
    const last = stripVTControlCharacters(await text(terminal.end()))
      .match(/[█░]+ \d+%[^█░]*/g)
      .at(-1)
      .trimEnd();
    assert.match(last, /layer 10000 of 65535 \| 154 layers\/s \| 6 min 1 s left$/);
    assert.ok(last.length < columns, `${last.length} columns: ${last}`);
  });
}
