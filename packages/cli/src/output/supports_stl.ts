import type { Triangles } from 'stiltforge/slicing';
import { Breather } from '../breather.js';
import { binaryStlBytes, binaryStlPieces } from '../mesh/binary_stl.js';

/**
 * Supports as geometry, a binary STL in pieces: a closed surface for each, then that of the raft.
 * `progress` is told the share that is made, from 0 to 1. Throws the signal's reason when it is aborted.
 */
export function supportsStl(
  scaffold: { positions: Triangles },
  signal?: AbortSignal,
  progress?: (share: number) => void,
): AsyncGenerator<Uint8Array, void, void> {
  return inPieces([scaffold.positions], 'stiltforge: supports', signal, progress);
}

/** The same of the part, corner by corner as it was read and placed, and then its supports. */
export function partWithSupportsStl(
  part: { mesh: Triangles },
  scaffold: { positions: Triangles },
  signal?: AbortSignal,
  progress?: (share: number) => void,
): AsyncGenerator<Uint8Array, void, void> {
  const meshes = [part.mesh, scaffold.positions];
  return inPieces(meshes, 'stiltforge: part with supports', signal, progress);
}

async function* inPieces(
  meshes: readonly Triangles[],
  title: string,
  signal: AbortSignal | undefined,
  progress: ((share: number) => void) | undefined,
): AsyncGenerator<Uint8Array, void, void> {
  const breather = new Breather(signal);
  const bytes = binaryStlBytes(meshes);
  let done = 0;
  for (const piece of binaryStlPieces(meshes, title)) {
    yield piece;
    done += piece.length;
    progress?.(done / bytes);
    await breather.breathe();
  }
}
