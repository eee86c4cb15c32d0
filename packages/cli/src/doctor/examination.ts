import { accessSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { availableParallelism, freemem } from 'node:os';
import { loadBinary } from 'stiltforge/load';
import { messageOf } from '../errors.js';
import { memoryOfMachine } from '../machine_memory.js';
import { version } from '../version.js';

/** One thing that a run needs, and how it is with it. */
export interface Finding {
  what: string;
  /** How it is, or what is wrong and what to do. */
  state: string;
  well: boolean;
}

const require = createRequire(import.meta.url);

const manifest = JSON.parse(
  readFileSync(new URL('../../package.json', import.meta.url), 'utf8'),
) as { engines: { node: string } };

/** Less free memory than this is not enough for parts of a usual size, bytes. */
const scarceMemory = 500e6;

export async function examination(): Promise<Finding[]> {
  return [
    { what: 'stiltforge', state: version, well: true },
    node(),
    binary('binding.node'),
    binary('stiltforge.node'),
    vectorPath(),
    { what: 'cores', state: String(availableParallelism()), well: true },
    memory(),
    page(),
    await pictures(),
  ];
}

function node(): Finding {
  const least = manifest.engines.node.replace('>=', '');
  const well = isAtLeast(process.versions.node, least);
  const state = `${process.versions.node} on ${process.platform}-${process.arch}`;
  return { what: 'Node', well, state: well ? state : `${state}; install ${least} or newer` };
}

function isAtLeast(version: string, least: string): boolean {
  const [have, need] = [version, least].map((text) => text.split('.').map(Number));
  const at = need.findIndex((part, i) => have[i] !== part);
  return at < 0 || have[at] > need[at];
}

function binary(name: Parameters<typeof loadBinary>[0]): Finding {
  try {
    loadBinary(name);
    const path = Object.keys(require.cache).find((file) => file.endsWith(name));
    return { what: name, state: path ?? 'loaded', well: true };
  } catch (error) {
    return { what: name, state: messageOf(error), well: false };
  }
}

function vectorPath(): Finding {
  const what = 'vector path';
  try {
    const { vectorPath } = loadBinary('binding.node') as { vectorPath: string };
    return { what, state: vectorPath, well: true };
  } catch {
    return { what, state: 'unknown without binding.node', well: false };
  }
}

function memory(): Finding {
  const gigabytes = (bytes: number): string => `${(bytes / 1e9).toFixed(1)} GB`;
  const [all, free] = [memoryOfMachine(), Math.min(freemem(), memoryOfMachine())];
  const well = free >= scarceMemory;
  const state = `${gigabytes(all)}, ${gigabytes(free)} of it free`;
  return { what: 'memory', state: well ? state : `${state}; close other programs`, well };
}

function page(): Finding {
  const what = 'page of --report';
  try {
    const path = require.resolve('stiltforge-viewer/report.html');
    accessSync(path);
    return { what, state: path, well: true };
  } catch {
    return { what, state: 'it is missing: run "npm run build", or install anew', well: false };
  }
}

async function pictures(): Promise<Finding> {
  const what = 'pictures';
  try {
    const { default: sharp } = await import('sharp');
    return { what, state: `sharp ${sharp.versions.sharp}`, well: true };
  } catch (error) {
    const [line] = messageOf(error).trim().split('\n');
    const state = `${line} Install anew, or run with --no-pictures.`;
    return { what, state, well: false };
  }
}
