import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import path from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { runNode } from './harness.mjs';

for (const [resolution, file] of [
  ['Node', 'tsconfig.json'],
  ['a bundler', 'tsconfig.bundler.json'],
]) {
  test(`resolved as by ${resolution}, the declarations fit the uses in types/ and refuse the wrong ones`, async () => {
    const compiler = createRequire(import.meta.url).resolve('typescript/package.json');
    const tsc = path.join(path.dirname(compiler), 'lib', 'tsc.js');
    const project = fileURLToPath(new URL(`types/${file}`, import.meta.url));
    const { code, stdout } = await runNode([tsc, '--project', project], { timeoutSeconds: 120 });
    assert.equal(code, 0, stdout);
  });
}
