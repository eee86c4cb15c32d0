// What must hold of a binary before anyone is handed it, read from the file by LLVM's tools.
import { readFileSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import { basename, join } from 'node:path';
import { capture } from '../run.mjs';
import { root } from './build.mjs';

const formats = {
  'linux-x64': 'elf64-x86-64',
  'linux-arm64': 'elf64-littleaarch64',
  'win32-x64': 'COFF-x86-64',
  'win32-arm64': 'COFF-ARM64',
  'darwin-x64': 'Mach-O 64-bit x86-64',
  'darwin-arm64': 'Mach-O arm64',
};

/** The libraries that every installation of the system has. */
const systemLibraries = {
  glibc:
    /^(libc\.so\.6|libm\.so\.6|libdl\.so\.2|libpthread\.so\.0|ld-linux-(x86-64\.so\.2|aarch64\.so\.1))$/,
  musl: /^libc\.so$/,
  win32: /^(KERNEL32|ADVAPI32|ntdll|api-ms-win-crt-[a-z]+-l1-1-0)\.dll$/i,
  darwin: /^\/usr\/lib\/libSystem\.B\.dylib$/,
};

const exported = {
  'stiltforge.node': ['napi_register_module_v1'],
  'binding.node': ['napi_register_module_v1', 'node_api_module_get_api_version_v1'],
};

const largest = 4e6; // bytes
const nodeApiVersion = 8;
const isNodeApi = (name) => /^(napi|node_api)_/.test(name);

/** Node-API functions of all versions that the addons are compiled for. */
function promisedFunctions() {
  const symbols = createRequire(join(root, 'package.json'))('node-api-headers').symbols;
  const versions = Array.from({ length: nodeApiVersion }, (_, i) => symbols[`v${i + 1}`]);
  return new Set(
    versions.flatMap(({ js_native_api_symbols, node_api_symbols }) => [
      ...js_native_api_symbols,
      ...node_api_symbols,
    ]),
  );
}

const lines = (text) => text.split('\n').map((line) => line.trim());

/** Whether a version such as 2.28 comes after another; what one leaves out counts as 0. */
function isNewer(version, other) {
  const [ours, theirs] = [version, other].map((text) => text.split('.').map(Number));
  const at = ours.findIndex((part, i) => part !== (theirs[i] ?? 0));
  return at >= 0 && ours[at] > (theirs[at] ?? 0);
}

function read(file, { os }) {
  if (os === 'linux') {
    const dynamic = capture('llvm-readobj', ['--needed-libs', file]);
    const named = (which) => lines(capture('llvm-nm', ['-D', '--format=posix', which, file]));
    const symbols = (which) =>
      named(which)
        .map((line) => line.split(' ')[0])
        .filter(Boolean);
    return {
      needed: lines(dynamic).filter((line) => /\.so(\.|$)/.test(line)),
      exports: symbols('--defined-only'),
      imports: symbols('--undefined-only'),
    };
  }
  if (os === 'win32') {
    const headers = lines(capture('llvm-objdump', ['-p', file]));
    const value = (line, key) => line.slice(key.length).trim();
    const from = headers.findIndex((line) => line.startsWith('Ordinal'));
    return {
      needed: headers
        .filter((line) => line.startsWith('DLL Name:'))
        .map((line) => value(line, 'DLL Name:')),
      exports: headers
        .slice(from + 1)
        .filter((line) => /^\d+\s+0x[0-9a-f]+\s+\w+$/.test(line))
        .map((line) => line.split(/\s+/)[2]),
      imports: [],
    };
  }
  const symbols = (...which) =>
    lines(capture('llvm-nm', ['--format=just-symbols', ...which, file]))
      .filter(Boolean)
      .map((name) => name.replace(/^_/, ''));
  const libraries = lines(capture('llvm-objdump', ['--macho', '--dylibs-used', file])).slice(1);
  // The linker exports its own marks and C++'s operators new and delete whatever it is asked for.
  const unasked = /^(__dso_handle|_mh_dylib_header|_Z[nd][al]\w*|_Znw\w*)$/;
  return {
    needed: libraries.map((line) => line.split(' ')[0]).filter((name) => name.startsWith('/')),
    exports: symbols('--defined-only', '--extern-only').filter((name) => !unasked.test(name)),
    imports: symbols('--undefined-only').filter(isNodeApi),
  };
}

/** What is wrong with an addon that was built for a target: sentences. */
export function faultsOf(file, target) {
  const faults = [];
  const name = basename(file);
  const fault = (sentence) => faults.push(`${target.name}/${name}: ${sentence}`);

  const description = capture('llvm-readobj', ['--file-headers', file]);
  const [, format] = /^Format: (.*)$/m.exec(description) ?? [];
  const expected = formats[`${target.os}-${target.cpu}`];
  if (format !== expected) fault(`its format is ${format}, not ${expected}`);

  const { needed, exports, imports } = read(file, target);
  const allowed = systemLibraries[target.libc ?? target.os];
  for (const library of needed) {
    if (!allowed.test(library)) fault(`it needs ${library}, which not every system has`);
  }
  if (exports.sort().join() !== exported[name].join()) {
    fault(`it exports ${exports.join(', ') || 'nothing'}, not ${exported[name].join(', ')}`);
  }
  const promised = promisedFunctions();
  for (const symbol of imports) {
    const [plain, version] = symbol.split('@').filter(Boolean);
    if (isNodeApi(plain) && !promised.has(plain)) {
      fault(`it needs ${plain}, which is not in Node-API ${nodeApiVersion}`);
    }
    const [, glibc] = /^GLIBC_([\d.]+)$/.exec(version ?? '') ?? [];
    const [, oldest] = target.triple.split('-gnu.');
    if (glibc && (oldest === undefined || isNewer(glibc, oldest))) {
      fault(`it needs ${symbol}${oldest ? `, newer than glibc ${oldest}` : ' of glibc'}`);
    }
  }
  if (target.os === 'darwin') {
    const commands = capture('llvm-objdump', ['--macho', '--private-headers', file]);
    const [, oldest] = /-macos\.([\d.]+)$/.exec(target.triple);
    const [, minimum] = /cmd LC_BUILD_VERSION[\s\S]*?minos ([\d.]+)/.exec(commands) ?? [];
    if (minimum === undefined || isNewer(minimum, oldest)) {
      fault(`it needs macOS ${minimum}, newer than ${oldest}`);
    }
    // Processors of this kind run nothing that is not signed.
    if (target.cpu === 'arm64' && !commands.includes('LC_CODE_SIGNATURE'))
      fault('it is not signed');
  }

  const bytes = readFileSync(file);
  for (const place of [root, process.env.HOME].filter((path) => path?.length > 1)) {
    if (bytes.includes(place)) fault(`it names the folder ${place}`);
  }
  const { size } = statSync(file);
  if (size > largest) fault(`it has ${size} bytes, more than ${largest}`);
  return faults;
}
