// Loads damaged mesh files in child processes: each must give an error that names the file or a
// usable mesh, in bounded time and memory.
//
//   node fuzz/mesh_files.mjs [--seconds 60] [--seed 1]
//
// With --seed alone that one batch is loaded, as the report of a failure says.

import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

const loader = fileURLToPath(new URL('mesh_files_loader.mjs', import.meta.url));
const patienceSeconds = 60;
const filesPerChild = 400;
const memoryLimitMb = 1024;

const { values } = parseArgs({
  options: { seconds: { type: 'string' }, seed: { type: 'string' } },
});
const deadline = values.seconds ? Date.now() + Number(values.seconds) * 1000 : 0;
const firstSeed = Number(values.seed ?? Date.now() % 1_000_000);

function load(seed) {
  return new Promise((resolve) => {
    const child = spawn(process.execPath, [
      `--max-old-space-size=${memoryLimitMb}`,
      loader,
      String(seed),
      String(filesPerChild),
    ]);
    let output = '';
    let hung = false;
    let timer;
    // Every sign of life is a file that was loaded.
    const wait = () => {
      clearTimeout(timer);
      timer = setTimeout(() => {
        hung = true;
        child.kill('SIGKILL');
      }, patienceSeconds * 1000);
    };
    const collect = (data) => {
      wait();
      output = (output + data).slice(-20_000);
    };
    wait();
    child.stdout.on('data', collect);
    child.stderr.on('data', collect);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({ output, ending: hung ? `hung for ${patienceSeconds} seconds` : (signal ?? code) });
    });
  });
}

let files = 0;
let meshes = 0;
let seed = firstSeed;
do {
  const { output, ending } = await load(seed);
  if (ending !== 0) {
    console.error(`${output}\nThe loader ended with ${ending}. Load these files again with:`);
    console.error(`  node fuzz/mesh_files.mjs --seed ${seed}`);
    process.exit(1);
  }
  files += filesPerChild;
  meshes += Number(/meshes: (\d+)/.exec(output)?.[1] ?? 0);
  seed += 1;
} while (Date.now() < deadline);
console.log(
  `mesh_files: ${files} files from seed ${firstSeed}, ${meshes} of them meshes, no failure`,
);
