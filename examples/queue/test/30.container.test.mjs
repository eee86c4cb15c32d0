// No container is built here: what the recipes name is looked up instead.
import assert from 'node:assert/strict';
import { existsSync, readFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { parse } from 'yaml';
import { settingsFrom } from '../dist/settings.js';

const here = fileURLToPath(new URL('..', import.meta.url));
const root = resolve(here, '../..');
const manifest = (folder) => JSON.parse(readFileSync(join(root, folder, 'package.json'), 'utf8'));

/** Instructions with their words, lines that go on joined. */
const instructions = readFileSync(join(here, 'Dockerfile'), 'utf8')
  .replace(/^#.*\n/gm, '')
  .replaceAll('\\\n', ' ')
  .split('\n')
  .filter(Boolean)
  .map((line) => line.trim().split(/\s+/));

const of = (name) => instructions.filter(([word]) => word === name).map(([, ...words]) => words);

test('all that the container is made of is there', () => {
  const known = /^(FROM|WORKDIR|COPY|RUN|ENV|USER|VOLUME|EXPOSE|HEALTHCHECK|CMD)$/;
  for (const [word] of instructions) assert.match(word, known);
  for (const words of of('COPY')) {
    const sources = words.filter((word) => !word.startsWith('--')).slice(0, -1);
    for (const source of sources) {
      const path = source.replace(/^\/stiltforge\//, '');
      assert.ok(existsSync(join(root, path)), source);
    }
  }
});

test('the container is built with a command of the repository', () => {
  const [command] = of('RUN')[0].join(' ').split(' && ');
  assert.ok(command.replace('npm run ', '') in manifest('.').scripts, command);
});

test('the container runs the worker as its first process, and not as root', () => {
  assert.deepEqual(of('USER'), [['node']]);
  const [command] = of('CMD').map((words) => JSON.parse(words.join(' ')));
  assert.deepEqual(command, ['node', 'dist/worker.js']);
  assert.ok(existsSync(join(here, command[1])));
  assert.equal(manifest('examples/queue').scripts.start, command.join(' '));
});

test('the compose file names what there is and sets what the worker knows', () => {
  const { services, volumes } = parse(readFileSync(join(here, 'compose.yaml'), 'utf8'));
  const { worker, redis } = services;
  assert.ok(existsSync(resolve(here, worker.build.context, worker.build.dockerfile)));
  for (const name of Object.keys(worker.depends_on)) assert.ok(name in services, name);
  for (const volume of [...worker.volumes, ...redis.volumes]) {
    assert.ok(volume.split(':')[0] in volumes, volume);
  }
  const values = Object.entries(worker.environment).map(([name, value]) => [
    name,
    String(value).replace(/^\$\{\w+:-(.*)\}$/, '$1'),
  ]);
  const settings = settingsFrom(Object.fromEntries(values));
  assert.ok(1000 * Number.parseInt(worker.stop_grace_period, 10) > settings.drain + 5000);
  assert.ok(1e9 * Number.parseInt(worker.mem_limit.match(/\d+/)[0], 10) > settings.memoryLimit);
  const source = readFileSync(join(here, 'src/settings.ts'), 'utf8');
  for (const [name] of values) assert.ok(source.includes(`  ${name}: `), name);
  assert.match(redis.command.join(' '), /--appendonly yes --appendfsync always/);
});

test('the README lists every variable that the worker knows', () => {
  const source = readFileSync(join(here, 'src/settings.ts'), 'utf8');
  const names = [...source.matchAll(/^ {2}([A-Z_]+): /gm)].map(([, name]) => name);
  assert.ok(names.length > 10);
  const readme = readFileSync(join(here, 'README.md'), 'utf8');
  for (const name of names) assert.ok(readme.includes(`\`${name}\``), name);
});
