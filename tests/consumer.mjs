// An empty project with packed packages of this repository, as a user would install them.

import { execFile } from 'node:child_process';
import {
  existsSync,
  mkdirSync,
  mkdtempSync,
  readFileSync,
  rmSync,
  symlinkSync,
  writeFileSync,
} from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const root = fileURLToPath(new URL('..', import.meta.url));
const run = promisify(execFile);

/**
 * A folder that goes with the test, with the packages of these folders of packages/ in node_modules and
 * what their package.json names as dependencies beside them, and nothing else.
 */
export async function projectWith(t, ...packages) {
  const project = mkdtempSync(path.join(tmpdir(), 'stiltforge-consumer-'));
  t.after(() => rmSync(project, { recursive: true }));
  const modules = path.join(project, 'node_modules');
  const dependencies = [];
  for (const folder of packages) {
    const source = path.join(root, 'packages', folder);
    const words = ['pack', '--json', '--ignore-scripts', '--pack-destination', project];
    const { stdout } = await run('npm', words, {
      cwd: source,
      shell: process.platform === 'win32',
    });
    const [{ name, filename }] = JSON.parse(stdout);
    const installed = path.join(modules, name);
    mkdirSync(installed, { recursive: true });
    await run('tar', ['-xzf', filename, '-C', installed, '--strip-components=1'], { cwd: project });
    const manifest = JSON.parse(readFileSync(path.join(installed, 'package.json'), 'utf8'));
    dependencies.push(...Object.keys(manifest.dependencies ?? {}));
  }
  for (const name of dependencies) {
    const link = path.join(modules, name);
    if (existsSync(link)) continue;
    mkdirSync(path.dirname(link), { recursive: true });
    symlinkSync(path.join(root, 'node_modules', name), link, 'junction');
  }
  return project;
}

const typescript = createRequire(import.meta.url).resolve('typescript/package.json');
const compiler = path.join(path.dirname(typescript), 'lib', 'tsc.js');

/** What the TypeScript compiler says to this tsconfig.json: nothing when all is well. */
export async function complaints(tsconfig) {
  try {
    return (await run(process.execPath, [compiler, '--project', tsconfig])).stdout;
  } catch ({ stdout, stderr }) {
    return stdout + stderr;
  }
}

/** The same for files of a project, compiled strictly, declarations included. */
export function complaintsAbout(project, files, settings) {
  const fixed = { strict: true, noEmit: true, skipLibCheck: false, target: 'es2022' };
  const tsconfig = path.join(project, 'tsconfig.json');
  writeFileSync(tsconfig, JSON.stringify({ compilerOptions: { ...fixed, ...settings }, files }));
  return complaints(tsconfig);
}
