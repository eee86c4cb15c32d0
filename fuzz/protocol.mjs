// Plays random sequences of the five functions and of the binding's objects in child processes: random
// arguments, timing, worker threads, ways to end. A child that crashes, hangs or breaks a promise of the module ends the run.
//
//   node fuzz/protocol.mjs [--seconds 60] [--seed 1]
//
// With --seed alone that one sequence is played, as the report of a failure says.

import { spawn } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

const player = fileURLToPath(new URL('protocol_player.mjs', import.meta.url));
const patienceSeconds = 120;

const { values } = parseArgs({
  options: { seconds: { type: 'string' }, seed: { type: 'string' } },
});
const deadline = values.seconds ? Date.now() + Number(values.seconds) * 1000 : 0;
const firstSeed = Number(values.seed ?? Date.now() % 1_000_000);

function play(seed) {
  return new Promise((resolve) => {
    const child = spawn(process.execPath, [player, String(seed)]);
    let output = '';
    let hung = false;
    const collect = (data) => {
      output = (output + data).slice(-20_000);
    };
    child.stdout.on('data', collect);
    child.stderr.on('data', collect);
    const timer = setTimeout(() => {
      hung = true;
      child.kill('SIGKILL');
    }, patienceSeconds * 1000);
    child.on('close', (code, signal) => {
      clearTimeout(timer);
      resolve({ output, ending: hung ? `hung for ${patienceSeconds} seconds` : (signal ?? code) });
    });
  });
}

let played = 0;
let calls = 0;
do {
  const seed = firstSeed + played;
  const { output, ending } = await play(seed);
  if (ending !== 0) {
    console.error(`${output}\nThe sequence ended with ${ending}. Play it again with:`);
    console.error(`  node fuzz/protocol.mjs --seed ${seed}`);
    process.exit(1);
  }
  calls += Number(/calls: (\d+)/.exec(output)?.[1] ?? 0);
  played += 1;
} while (Date.now() < deadline);
console.log(
  `protocol: ${played} sequences from seed ${firstSeed}, at least ${calls} calls, no failure`,
);
