// Makes the binaries of all platforms on a Debian machine, checks them, and runs those that it can.
import { createHash } from 'node:crypto';
import { existsSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { parseArgs } from 'node:util';
import { libraryFaults, prepareLibraries } from '../libraries/sources.mjs';
import {
  build,
  dropRecord,
  prepareTools,
  root,
  settingElsewhere,
  workFolder,
  writeRecord,
} from './build.mjs';
import { faultsOf } from './check_binary.mjs';
import { runTarget } from './run_targets.mjs';
import { addons, targets, targetsNamed } from './targets.mjs';

const { values } = parseArgs({
  options: {
    target: { type: 'string', multiple: true, default: [] },
    test: { type: 'boolean' },
    twice: { type: 'boolean' },
    help: { type: 'boolean' },
  },
});
if (values.help) {
  console.log(`usage: npm run prebuild [-- [--target NAME]... [--test] [--twice]]
Builds both addons for every platform, or for those named, into build/prebuild/NAME/binaries/ and checks
them: format, libraries and symbols that they need and export, size.
  --test   also runs them, as far as this machine can, and compares the results with those of the native
           build, which "npm run build" makes
  --twice  also builds them a second time, from sources in another folder, and compares the bytes
Targets: ${targets.map(({ name }) => name).join(', ')}.`);
  process.exit(0);
}

const secondsSince = (start) => `${Math.round((Date.now() - start) / 1000)} s`;
const hashOf = (file) => createHash('sha256').update(readFileSync(file)).digest('hex');
let failures = 0;

function tell(isWell, sentence, details = []) {
  if (!isWell) failures += 1;
  console.log(`${isWell ? 'ok    ' : 'FAILED'} ${sentence}`);
  for (const line of details) console.log(`       ${line}`);
}

function prebuild(target, setting, settingThere) {
  const start = Date.now();
  dropRecord(target);
  const binaries = build(target, setting);
  const faults = addons.flatMap((name) => faultsOf(join(binaries, name), target));
  tell(faults.length === 0, `${target.name}: built and checked, ${secondsSince(start)}`, faults);

  const record = { faults, libraries: setting.found };
  if (settingThere) {
    const again = build(target, settingThere);
    const different = addons.filter(
      (name) => hashOf(join(binaries, name)) !== hashOf(join(again, name)),
    );
    record.sameAgain = different.length === 0;
    tell(record.sameAgain, `${target.name}: the same bytes when built elsewhere`, different);
  }
  if (values.test) {
    record.runs = [];
    for (const { label, same, details } of runTarget(target, binaries, setting)) {
      tell(same, label, details);
      record.runs.push({ label, same });
    }
    if (record.runs.length === 0) console.log(`       ${target.name}: this machine can't run it`);
  }
  writeRecord(target, record);
}

try {
  const chosen = targetsNamed(values.target);
  const native = ['build/Release/binding.node', 'packages/stiltforge/dist/analysis.js'];
  if (values.test && !native.every((file) => existsSync(join(root, file)))) {
    throw new Error('there is no native build to compare with: run "npm run build" first');
  }
  const compiler = prepareTools();
  const libraries = prepareLibraries();
  for (const { name, version } of libraries.found) console.log(`       ${name} ${version}`);
  const faults = libraryFaults(libraries.found);
  if (faults.length > 0) throw new Error(faults.join('\n'));
  const setting = { compiler, ...libraries, folder: workFolder };
  const there = values.twice ? settingElsewhere(setting, join(workFolder, 'again')) : undefined;
  for (const target of chosen) {
    try {
      prebuild(target, setting, there);
    } catch (error) {
      // The others may be well all the same.
      tell(false, `${target.name}: not finished`, error.message.split('\n'));
    }
  }
} catch (error) {
  console.error(`prebuild: ${error.message}`);
  process.exit(1);
}
console.log(failures === 0 ? 'All is well.' : `${failures} failed.`);
process.exit(failures === 0 ? 0 : 1);
