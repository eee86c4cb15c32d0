// The same for Node, which cannot fetch a file.

import { readFile } from 'node:fs/promises';
import { readDefaultBy } from './binding.mjs';

readDefaultBy((address) => readFile(new URL(address)));

export * from './index.mjs';
