import assert from 'node:assert/strict';
import { PassThrough } from 'node:stream';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { stripVTControlCharacters } from 'node:util';
import { Course } from '../dist/progress.js';
import { progressBar } from '../dist/progress_bar.js';

/** A clock that stands still until it is set. */
function clockOf(t) {
  const clock = { seconds: 0 };
  t.mock.method(performance, 'now', () => 1000 * clock.seconds);
  return clock;
}

for (const columns of [80, 100, 200]) {
  test(`the bar leaves room for the time left on a terminal of ${columns} columns`, async (t) => {
    const clock = clockOf(t);
    const terminal = Object.assign(new PassThrough(), { isTTY: true, columns });
    const progress = progressBar(terminal);
    progress.start(65_535, 0);
    clock.seconds = 65;
    progress.layers(10_000);
    progress.stop();
    const last = stripVTControlCharacters(await text(terminal.end()))
      .match(/[█░]+ \d+%[^█░]*/g)
      .at(-1)
      .trimEnd();
    assert.match(last, /layer 10000 of 65535 \| 154 layers\/s \| 6 min 1 s left$/);
    assert.ok(last.length < columns, `${last.length} columns: ${last}`);
  });
}

test('the pictures are part of the time left while layers are analysed', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(100, 6);
  clock.seconds = 2;
  const { share, parts } = course.layers(50);
  assert.deepEqual(parts, ['layer 50 of 100', '25 layers/s', '8 s left']);
  assert.equal(share, 0.2);
});

for (const [layers, rate] of [
  [4, '0.4'],
  [94, '9'],
  [96, '10'],
  [12_345, '1,235'],
]) {
  test(`${layers} layers in ten seconds are ${rate} a second`, (t) => {
    const clock = clockOf(t);
    const course = new Course();
    course.start(65_535, 0);
    clock.seconds = 10;
    assert.equal(course.layers(layers).parts[1], `${rate} layers/s`);
  });
}

test('while pictures are drawn the time left follows how long they take', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(100, 1);
  clock.seconds = 1;
  course.layers(100);
  assert.deepEqual(course.pictures(0).parts, ['drawing pictures', '1 s left']);
  clock.seconds = 10;
  const half = course.pictures(0.5);
  assert.deepEqual(half.parts, ['drawing pictures', '5 s left']);
  assert.ok(half.share > 0.6 && half.share < 0.7, half.share);
  clock.seconds = 19;
  assert.equal(course.pictures(1).share, 1);
});

test('while supports are built and files written the time left follows how long that takes', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(100, 0);
  clock.seconds = 1;
  course.layers(100);
  course.supports(0);
  clock.seconds = 4;
  assert.deepEqual(course.supports(0.25).parts, ['building the supports', '9 s left']);
  clock.seconds = 5;
  course.files(0);
  clock.seconds = 7;
  assert.deepEqual(course.files(0.5).parts, ['writing the files', '2 s left']);
  clock.seconds = 13;
  course.report(0);
  clock.seconds = 14;
  assert.deepEqual(course.report(0.5).parts, ['writing the report', '1 s left']);
});

test('while the report is made the time left follows how long it takes', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(100, 1);
  clock.seconds = 1;
  course.layers(100);
  course.report(0);
  clock.seconds = 3;
  assert.deepEqual(course.report(0.5).parts, ['writing the report', '3 s left']);
});

test('the bar never goes back', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(100, 1);
  clock.seconds = 1;
  const before = course.layers(90).share;
  clock.seconds = 60;
  assert.ok(course.layers(91).share >= before);
});

test('layers that take seconds each have a rate, too', (t) => {
  const clock = clockOf(t);
  const course = new Course();
  course.start(30, 0);
  clock.seconds = 4;
  assert.equal(course.layers(2).parts[1], '0.5 layers/s');
});
