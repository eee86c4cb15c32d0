// The platforms that binaries are made for.

/**
 * `name`: what the package is called after its scope. `os`, `cpu`, `libc`: as package.json has them.
 * `triple`: the compiler's name; for glibc with the oldest version that the binary runs on.
 */
export const targets = [
  {
    name: 'linux-x64-gnu',
    os: 'linux',
    cpu: 'x64',
    libc: 'glibc',
    triple: 'x86_64-linux-gnu.2.28',
  },
  {
    name: 'linux-arm64-gnu',
    os: 'linux',
    cpu: 'arm64',
    libc: 'glibc',
    triple: 'aarch64-linux-gnu.2.28',
  },
  { name: 'linux-x64-musl', os: 'linux', cpu: 'x64', libc: 'musl', triple: 'x86_64-linux-musl' },
  {
    name: 'linux-arm64-musl',
    os: 'linux',
    cpu: 'arm64',
    libc: 'musl',
    triple: 'aarch64-linux-musl',
  },
  { name: 'win32-x64', os: 'win32', cpu: 'x64', triple: 'x86_64-windows-gnu' },
  { name: 'win32-arm64', os: 'win32', cpu: 'arm64', triple: 'aarch64-windows-gnu' },
  { name: 'darwin-x64', os: 'darwin', cpu: 'x64', triple: 'x86_64-macos.11.0' },
  { name: 'darwin-arm64', os: 'darwin', cpu: 'arm64', triple: 'aarch64-macos.11.0' },
];

/** What each package holds. */
export const addons = ['stiltforge.node', 'binding.node'];

/** The targets of these names, all of them without any; throws for a name that is none. */
export function targetsNamed(names) {
  if (names.length === 0) return targets;
  return names.map((name) => {
    const target = targets.find((one) => one.name === name);
    if (target) return target;
    throw new Error(
      `there is no target ${name}; the targets are ${targets.map((one) => one.name).join(', ')}`,
    );
  });
}
