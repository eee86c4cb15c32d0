import * as wasm from 'stiltforge/wasm';
import { roadOf, textOf } from '../../packages/stiltforge/test/road.mjs';

await wasm.load();
postMessage(textOf(await roadOf(wasm)));
