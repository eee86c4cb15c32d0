import type { Triangles } from 'stiltforge/slicing';
import { Breather } from '../breather.js';
import { binaryStlPieces } from '../mesh/binary_stl.js';

/**
 * Supports as geometry, a binary STL in pieces: a closed surface for each, then that of the raft.
 * Throws the signal's reason when it is aborted.
 */
export function supportsStl(
  scaffold: { positions: Triangles },
  signal?: AbortSignal,
): AsyncGenerator<Uint8Array, void, void> {
  return inPieces([scaffold.positions], 'stiltforge: supports', signal);
}

/** The part, corner by corner as it was read and placed, and then its supports. */
export function partWithSupportsStl(
  part: { mesh: Triangles },
  scaffold: { positions: Triangles },
  signal?: AbortSignal,
): AsyncGenerator<Uint8Array, void, void> {
  return inPieces([part.mesh, scaffold.positions], 'stiltforge: part with supports', signal);
}

async function* inPieces(
  meshes: readonly Triangles[],
  title: string,
  signal: AbortSignal | undefined,
): AsyncGenerator<Uint8Array, void, void> {
  const breather = new Breather(signal);
  for (const piece of binaryStlPieces(meshes, title)) {
    yield piece;
    await breather.breathe();
  }
}
