// Everything that must hold before a release is published. Publishes nothing.
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { parseArgs } from 'node:util';
import { libraryFaults, prepareLibraries } from '../libraries/sources.mjs';
import { capture, run } from '../run.mjs';
import { billOfMaterials } from './bill_of_materials.mjs';
import { prepareTools, readRecord, root, sourceState, toolProgram, workFolder } from './build.mjs';
import { bundledPackages } from './bundled.mjs';
import { neededFolders } from './needed.mjs';
import { bundledIn } from './notice.mjs';
import { makePackages, workspacePackages } from './packages.mjs';
import {
  changelogFaults,
  missingFiles,
  oddFiles,
  recordFaults,
  versionFaults,
} from './release_rules.mjs';
import { targets } from './targets.mjs';

const { values } = parseArgs({ options: { help: { type: 'boolean' } } });
if (values.help) {
  console.log(`usage: npm run release:check
Checks what must hold before a release, after "npm run prebuild -- --test --twice", and leaves the packages
to publish in build/prebuild/release/tarballs/, with a software bill of materials and checksums beside
them. Publishes nothing.`);
  process.exit(0);
}

const folder = join(workFolder, 'release');
let failures = 0;

/** A check: a sentence for each fault that it returns or throws; `tell` adds a line to what is printed. */
async function check(what, findFaults) {
  const told = [];
  let found;
  try {
    found = await findFaults((line) => told.push(line));
  } catch (error) {
    found = [error.message];
  }
  if (found.length > 0) failures += 1;
  console.log(`${found.length === 0 ? 'ok    ' : 'FAILED'} ${what}`);
  for (const line of [...told, ...found])
    console.log(`       ${line.replaceAll('\n', '\n       ')}`);
}

const read = (file) => readFileSync(join(root, file), 'utf8');
const manifests = workspacePackages.map((name) =>
  JSON.parse(read(`packages/${name}/package.json`)),
);
const { version } = manifests[0];

await check(`all packages and the library have the version ${version}`, () =>
  versionFaults(manifests, read('CMakeLists.txt')),
);

await check(`CHANGELOG.md has a section of ${version}, and nothing unreleased`, () =>
  changelogFaults(read('CHANGELOG.md'), version),
);

await check('the work tree is committed', () =>
  capture('git', ['status', '--porcelain'], { cwd: root })
    .split('\n')
    .filter(Boolean)
    .map((line) => `not committed: ${line}`),
);

let libraries = [];
await check('the libraries inside are those that a release carries', (tell) => {
  libraries = prepareLibraries().found;
  for (const { name, version: revision } of libraries) tell(`${name} ${revision}`);
  return libraryFaults(libraries);
});

const binaries = {};
const sources = sourceState();
for (const target of targets) {
  await check(
    `${target.name}: of these sources, checked, the same when built elsewhere, run where it can`,
    (tell) => {
      const record = readRecord(target);
      if (record) binaries[target.name] = record.binaries;
      for (const { label, same } of record?.runs ?? []) {
        if (same) tell(`same results: ${label}`);
      }
      if (record?.runs?.length === 0) tell("this machine can't run it");
      return recordFaults(record, { sources, libraries });
    },
  );
}

let packed = [];
await check('all packages can be packed', (tell) => {
  packed = makePackages(binaries, folder);
  for (const { name, filename, size, entryCount } of packed) {
    tell(`${name}: ${filename}, ${(size / 1e6).toFixed(2)} MB, ${entryCount} files`);
  }
  return [];
});

await check('the packages hold what they name, and nothing that is for their makers', () =>
  packed.flatMap((one) => [...missingFiles(one), ...oddFiles(one)]),
);

await check('a NOTICE names all that bundlers put into a package, with its licence', async () => {
  const faults = [];
  for (const name of ['stiltforge', 'viewer']) {
    const named = bundledIn(name).map((part) => part.name);
    for (const part of await bundledPackages(name)) {
      if (!named.includes(part))
        faults.push(`packages/${name} carries ${part}: add it to notice.mjs`);
    }
  }
  return faults;
});

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

const tarballs = join(folder, 'tarballs');
const typed = packed.filter(({ folder: place }) => existsSync(join(place, 'dist')));

/** What a tool says of each package with code that it finds fault with. */
function faultsByTool(program, wordsFor) {
  prepareTools();
  return typed.flatMap((one) => {
    try {
      run(toolProgram(program), wordsFor(one));
      return [];
    } catch (error) {
      return [error.message];
    }
  });
}

await check('the types are right for every way of importing (are-the-types-wrong)', () =>
  faultsByTool('attw', (one) => [join(tarballs, one.filename), ...meant(one)]),
);

await check('the packages are put together as npm and bundlers expect (publint)', () =>
  faultsByTool('publint', (one) => ['--strict', one.folder]),
);

await check('a software bill of materials is written', (tell) => {
  const own = packed.map(({ name }) => name);
  const needed = neededFolders(
    workspacePackages.map((name) => join(root, 'packages', name)),
    own,
  );
  const file = join(folder, 'sbom.cdx.json');
  mkdirSync(folder, { recursive: true });
  const bill = billOfMaterials(folder, needed, libraries, new Date());
  writeFileSync(file, `${JSON.stringify(bill, null, 2)}\n`);
  tell(`${file}: ${bill.components.length} components`);
  return [];
});

await check('the checksums of the packages are written', (tell) => {
  const file = join(folder, 'SHA256SUMS');
  const lines = packed.map(({ filename }) => {
    const bytes = readFileSync(join(tarballs, filename));
    return `${createHash('sha256').update(bytes).digest('hex')}  tarballs/${filename}\n`;
  });
  writeFileSync(file, lines.join(''));
  tell(`${file}: "sha256sum --check" compares them`);
  return [];
});

if (failures > 0) {
  console.log(`Not ready: ${failures} of these failed.`);
  process.exit(1);
}
console.log(`Ready: ${tarballs} holds what is to be published. Nothing was.`);
