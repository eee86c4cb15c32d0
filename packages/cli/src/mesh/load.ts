import { type MeshFile, readMesh } from 'stiltforge/slicing';
import { codeOf, ExitCode, messageOf, UserError } from '../errors.js';

/**
 * Reads an STL (binary or text), OBJ, PLY or 3MF off the main thread: the file of a path, or bytes,
 * which `name` stands for in messages. The content decides over the name's extension. Throws a UserError
 * that names the file when it can't be read, is no usable mesh, or there is not enough memory for it;
 * whatever the signal gives as a reason when it is aborted.
 */
export async function loadMesh(
  source: string | ArrayBuffer | ArrayBufferView,
  signal?: AbortSignal,
  name?: string,
): Promise<MeshFile> {
  try {
    return await readMesh(source, { signal, name });
  } catch (error) {
    signal?.throwIfAborted();
    const exitCode = exitCodes.get(codeOf(error));
    if (exitCode === undefined) throw error;
    throw new UserError(exitCode, messageOf(error), { cause: error });
  }
}

const exitCodes = new Map<unknown, ExitCode>([
  ['ERR_STILTFORGE_MESH', ExitCode.mesh],
  ['ERR_STILTFORGE_MEMORY', ExitCode.memory],
]);
