// Writes the samples, with the results that they must give everywhere: those of the native build.
//   node scripts/prebuild/write_samples.mjs FOLDER
import { join, resolve } from 'node:path';
import { run } from '../run.mjs';
import { root } from './build.mjs';
import { writeSamples } from './samples.mjs';

const folder = resolve(process.argv[2]);
writeSamples(folder);
const expected = join(folder, 'expected.json');
const script = join(folder, 'results.mjs');
run(process.execPath, [script, join(root, 'packages/stiltforge'), folder, expected]);
