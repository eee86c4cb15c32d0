// A system with musl, as far as it takes to run addons there: musl's loader as Debian has it, and Bun, which
// offers Node-API. No Node for musl is to be had from npm or Debian.
import { copyFileSync, existsSync, mkdirSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { aptOptions } from '../libraries/apt.mjs';
import { installedBun } from '../nodes.mjs';
import { run } from '../run.mjs';
import { compilerEnvironment } from './build.mjs';

const bunVersion = '1.4.5';

const machines = {
  x64: { debian: 'amd64', libraries: '/usr/lib/x86_64-linux-gnu', emulator: [] },
  arm64: { debian: 'arm64', libraries: '/usr/aarch64-linux-gnu/lib', emulator: ['qemu-aarch64'] },
};

/**
 * Bun needs libstdc++. Debian's is made for glibc, which it takes little of that musl lacks: this is that,
 * good enough for a program that neither formats times nor ends threads with destructors of their own.
 */
const missingInMusl = `
#include <stddef.h>
#include <stdint.h>
#include <sys/auxv.h>
#include <sys/random.h>

char __libc_single_threaded = 0;
unsigned __cpu_model[4];

int __cpu_indicator_init(void) { return 0; }
int __cxa_thread_atexit_impl(void (*end)(void*), void* object, void* library) { return 0; }
int _dl_find_object(void* address, void* result) { return -1; }
size_t __strftime_l(char* text, size_t size, const char* format, const void* time, void* locale) {
  return 0;
}
unsigned long __getauxval(unsigned long key) { return getauxval(key); }
uint32_t arc4random(void) {
  uint32_t value = 0;
  getrandom(&value, sizeof value, 0);
  return value;
}
`;

/** musl's loader, which is the C library too, of Debian's package for the processor. */
function prepareLoader(cpu, folder) {
  const loader = join(folder, 'libc.so');
  if (existsSync(loader)) return loader;
  const { debian } = machines[cpu];
  const apt = aptOptions(join(folder, 'apt'), 'deb', {
    'APT::Architecture': debian,
    'APT::Architectures': debian,
    // What is installed here is of no concern to that machine.
    'Dir::State::status': '/dev/null',
  });
  run('apt-get', [...apt, '-qq', 'update']);
  run('apt-get', [...apt, '-qq', 'download', 'musl'], { cwd: folder });
  const [file] = readdirSync(folder).filter((name) => /^musl_.*\.deb$/.test(name));
  const unpacked = join(folder, 'unpacked');
  run('dpkg-deb', ['-x', join(folder, file), unpacked]);
  const triple = { x64: 'x86_64', arm64: 'aarch64' }[cpu];
  copyFileSync(join(unpacked, 'lib', `${triple}-linux-musl`, 'libc.so'), loader);
  rmSync(unpacked, { recursive: true });
  return loader;
}

/** The words that run a script on a machine with musl of the target's processor. */
export function muslCommand(target, compiler, workFolder) {
  const { libraries, emulator } = machines[target.cpu];
  const folder = join(workFolder, `musl-${target.cpu}`);
  mkdirSync(folder, { recursive: true });
  const loader = prepareLoader(target.cpu, folder);
  for (const name of ['libstdc++.so.6', 'libgcc_s.so.1']) {
    copyFileSync(join(libraries, name), join(folder, name));
  }
  const source = join(folder, 'missing.c');
  // The name under which libstdc++ asks for glibc's loader.
  const missing = join(folder, 'ld-linux-x86-64.so.2');
  writeFileSync(source, missingInMusl);
  const words = [
    'cc',
    '-target',
    target.triple,
    '-O3',
    '-s',
    '-w',
    '-shared',
    '-o',
    missing,
    source,
  ];
  run(compiler.program, words, { env: compilerEnvironment(compiler, workFolder) });
  const bun = installedBun(bunVersion, target.cpu);
  return [...emulator, loader, '--library-path', folder, '--preload', missing, bun];
}
