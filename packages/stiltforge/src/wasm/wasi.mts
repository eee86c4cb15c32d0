const success = 0;
const badDescriptor = 8;
const notImplemented = -52;

/** The functions, and for every call of an operating system one that says that there is none. */
export function withoutSystem(functions: WebAssembly.ModuleImports): WebAssembly.ModuleImports {
  return new Proxy(functions, {
    get: (known, name: string) =>
      known[name] ?? (name.startsWith('__syscall_') ? () => notImplemented : undefined),
  });
}

/**
 * What the module asks of WASI: a clock, an end that is an error, and files of which there are none.
 * `memory` is asked for at each call, since it may have grown.
 */
export function wasiFunctions(memory: () => WebAssembly.Memory): WebAssembly.ModuleImports {
  const view = () => new DataView(memory().buffer);
  return {
    clock_time_get(_clock: number, _precision: bigint, time: number) {
      view().setBigUint64(time, BigInt(Math.round(performance.now() * 1e6)), true);
      return success;
    },
    environ_sizes_get(count: number, size: number) {
      view().setUint32(count, 0, true);
      view().setUint32(size, 0, true);
      return success;
    },
    environ_get: () => success,
    fd_close: () => badDescriptor,
    fd_read: () => badDescriptor,
    fd_seek: () => badDescriptor,
    fd_write: () => badDescriptor,
    proc_exit(code: number) {
      throw new Error(`The module ended itself with code ${code}.`);
    },
  };
}
