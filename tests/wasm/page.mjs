import * as wasm from 'stiltforge/wasm';
import { roadOf, textOf } from '../../packages/stiltforge/test/road.mjs';

window.roadInPage = async () => {
  await wasm.load();
  return textOf(await roadOf(wasm));
};

window.roadInWorker = () =>
  new Promise((done, fail) => {
    const worker = new Worker(new URL('./worker.mjs', import.meta.url), { type: 'module' });
    worker.onmessage = ({ data }) => done(data);
    worker.onerror = ({ message }) => fail(new Error(message));
  });
