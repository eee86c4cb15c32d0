import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { complaintsAbout, projectWith } from '../../../tests/consumer.mjs';

const program = `
import { type LabelledRuns, type PartDocument, packPart, reportHtml } from 'stiltforge-viewer';

declare const part: PartDocument;
declare function runs(first: number, count: number): Promise<LabelledRuns[]>;
export async function page(template: string, positions: Float32Array): Promise<string> {
  return reportHtml(template, await packPart({ part, positions, runs }));
}
`;

test('a TypeScript program needs no types but those that the package brings', async (t) => {
  const project = await projectWith(t, 'viewer');
  writeFileSync(join(project, 'program.mts'), program);
  for (const [module, moduleResolution] of [
    ['nodenext', 'nodenext'],
    ['esnext', 'bundler'],
  ]) {
    const settings = { module, moduleResolution, lib: ['es2022'], types: [] };
    assert.equal(await complaintsAbout(project, ['program.mts'], settings), '', module);
  }
});
