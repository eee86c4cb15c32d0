import { buildScaffold, type Scaffold, type ScaffoldOptions } from 'stiltforge/scaffold';
import { codeOf } from '../errors.js';

/**
 * The supports as they are built unless somebody wants them otherwise; none of a part of which they can't
 * be built. Throws the signal's reason.
 */
export async function usualScaffold(
  options: Pick<ScaffoldOptions, 'positions' | 'points' | 'plateZ' | 'layerHeight' | 'progress'> & {
    signal?: AbortSignal;
  },
): Promise<Scaffold | undefined> {
  try {
    return await buildScaffold(options);
  } catch (error) {
    options.signal?.throwIfAborted();
    if (codeOf(error) === 'ERR_STILTFORGE_MESH') return undefined;
    throw error;
  }
}
