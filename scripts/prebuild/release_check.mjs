// Everything that must hold before a release is published. Publishes nothing.
import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { isDeepStrictEqual, parseArgs } from 'node:util';
import { libraryFaults, prepareLibraries } from '../libraries/sources.mjs';
import { capture, run } from '../run.mjs';
import { billOfMaterials } from './bill_of_materials.mjs';
import { prepareTools, readRecord, root, sourceState, toolProgram, workFolder } from './build.mjs';
import { neededFolders } from './needed.mjs';
import { makePackages, workspacePackages } from './packages.mjs';
import { missingFiles, oddFiles, versionFaults } from './release_rules.mjs';
import { targets } from './targets.mjs';

const { values } = parseArgs({ options: { help: { type: 'boolean' } } });
if (values.help) {
  console.log(`usage: npm run release:check
Checks what must hold before a release, after "npm run build" and "npm run prebuild -- --test --twice", and
leaves the packages to publish in build/prebuild/release/tarballs/ and a software bill of materials beside
them. Publishes nothing.`);
  process.exit(0);
}

const folder = join(workFolder, 'release');
const faults = [];

/** A check: a sentence for each fault that it returns or throws. */
function check(what, findFaults) {
  let found;
  try {
    found = findFaults();
  } catch (error) {
    found = [error.message];
  }
  console.log(`${found.length === 0 ? 'ok    ' : 'FAILED'} ${what}`);
  for (const sentence of found) console.log(`       ${sentence.replaceAll('\n', '\n       ')}`);
  faults.push(...found);
}

const read = (file) => readFileSync(join(root, file), 'utf8');
const manifests = workspacePackages.map((name) =>
  JSON.parse(read(`packages/${name}/package.json`)),
);
const { version } = manifests[0];

check(`all packages and the library have the version ${version}`, () =>
  versionFaults(manifests, read('CMakeLists.txt')),
);

check(`CHANGELOG.md has a section of ${version}, and nothing unreleased`, () => {
  const headings = [...read('CHANGELOG.md').matchAll(/^## \[?([\w.]+)/gm)].map(([, name]) => name);
  const wrong = [];
  if (!headings.includes(version)) wrong.push(`there is no heading "## ${version}"`);
  if (headings.includes('Unreleased')) wrong.push('there is a section "Unreleased"');
  return wrong;
});

check('the work tree is committed', () =>
  capture('git', ['status', '--porcelain'], { cwd: root }).trim() === '' ? [] : ['it has changes'],
);

let found = [];
check('the libraries inside are those that a release carries', () => {
  ({ found } = prepareLibraries());
  for (const { name, version } of found) console.log(`       ${name} ${version}`);
  return libraryFaults(found);
});

const binaries = {};
check(
  'binaries of all platforms are of these sources and were checked, and run where they can',
  () => {
    const sources = sourceState();
    const wrong = [];
    for (const target of targets) {
      const record = readRecord(target);
      const say = (sentence) => wrong.push(`${target.name}: ${sentence}`);
      if (record === undefined) {
        say('not built');
        continue;
      }
      binaries[target.name] = record.binaries;
      if (record.sources !== sources)
        say(`built from other sources (${record.sources}, not ${sources})`);
      if (!isDeepStrictEqual(record.libraries, found)) say('other revisions of libraries inside');
      for (const sentence of record.faults) say(sentence);
      if (record.runs === undefined) say('not run: npm run prebuild -- --test');
      for (const { label, same } of record.runs ?? []) {
        console.log(`       ${same ? 'same results' : 'OTHER RESULTS'}: ${label}`);
        if (!same) say(`other results: ${label}`);
      }
      if (record.sameAgain === undefined) say('not built twice: npm run prebuild -- --twice');
      if (record.sameAgain === false) say('other bytes when built again');
    }
    return wrong;
  },
);

let packed = [];
check('all packages can be packed', () => {
  packed = makePackages(binaries, folder);
  for (const { name, filename, size, entryCount } of packed) {
    console.log(`       ${name}: ${filename}, ${(size / 1e6).toFixed(2)} MB, ${entryCount} files`);
  }
  return [];
});

check('the packages hold what they name, and nothing that is for their makers', () =>
  packed.flatMap((one) => [...missingFiles(one), ...oddFiles(one)]),
);

/** For are-the-types-wrong: what is meant to be as it is. */
function meant({ folder: place }) {
  const options = ['--profile', 'node16'];
  const { name, type } = JSON.parse(readFileSync(join(place, 'package.json'), 'utf8'));
  // ES modules alone: CommonJS programs import them, or require them where Node does that.
  if (type === 'module' || name === 'stiltforge')
    options.push('--ignore-rules', 'cjs-resolves-to-esm');
  // No modules: a page, and what the module in WebAssembly loads.
  if (name === 'stiltforge-viewer') options.push('--exclude-entrypoints', './report.html');
  if (name === 'stiltforge') options.push('--exclude-entrypoints', './wasm/stiltforge.wasm');
  return options;
}

const tarballOf = ({ filename }) => join(folder, 'tarballs', filename);
const typed = packed.filter(({ folder: place }) => existsSync(join(place, 'dist')));

check('the types are right for every way of importing (are-the-types-wrong)', () => {
  prepareTools();
  return typed.flatMap((one) => {
    try {
      run(toolProgram('attw'), [tarballOf(one), ...meant(one)]);
      return [];
    } catch (error) {
      return [error.message];
    }
  });
});

check('the packages are put together as npm and bundlers expect (publint)', () => {
  prepareTools();
  return typed.flatMap((one) => {
    try {
      run(toolProgram('publint'), ['--strict', one.folder]);
      return [];
    } catch (error) {
      return [error.message];
    }
  });
});

check('a software bill of materials is written', () => {
  const own = packed.map(({ name }) => name);
  const needed = neededFolders(
    workspacePackages.map((name) => join(root, 'packages', name)),
    own,
  );
  const file = join(folder, 'sbom.cdx.json');
  mkdirSync(folder, { recursive: true });
  const bill = billOfMaterials(folder, needed, found, new Date());
  writeFileSync(file, `${JSON.stringify(bill, null, 2)}\n`);
  console.log(`       ${file}: ${bill.components.length} components`);
  return [];
});

if (faults.length > 0) {
  console.log(`Not ready: ${faults.length} to mend.`);
  process.exit(1);
}
console.log(`Ready: ${join(folder, 'tarballs')} holds what is to be published. Nothing was.`);
