// A program that has this package and the TypeScript compiler, and no other types.
import {
  Analysis,
  AnalysisError,
  type AnalysisParameters,
  type Bytes,
  estimateMemory,
  type GroupImages,
  type SliceImage,
  type SliceResult,
} from 'stiltforge/analysis';
import { loadBinary } from 'stiltforge/load';

declare const parameters: AnalysisParameters;

async function* source(): AsyncGenerator<SliceImage> {
  yield new ArrayBuffer(4);
  yield new Uint8Array(4);
  yield { width: 1, height: 1, data: new Uint8ClampedArray(4) };
}

export async function use(): Promise<Uint8Array[]> {
  const all: Uint8Array[] = [];
  await using analysis = Analysis.create(parameters);
  for await (const result of analysis.run(source())) {
    const { pixelBuffer, layer }: SliceResult = result;
    if (pixelBuffer !== null) all.push(pixelBuffer.subarray(0, layer.groupCount));
    // @ts-expect-error without the types of Node it is no Buffer
    pixelBuffer?.readUInt32LE(0);
  }
  const { images }: GroupImages = await analysis.groupImages(0, 0);
  const combined: Bytes = images.combined;
  all.push(combined);
  return all;
}

export function check(error: unknown): number {
  if (error instanceof AnalysisError && error.code === 'ERR_STILTFORGE_MEMORY') throw error;
  return estimateMemory(parameters).total;
}

export const binding: unknown = loadBinary('binding.node');
// @ts-expect-error no such binary
export const other: unknown = loadBinary('other.node');
