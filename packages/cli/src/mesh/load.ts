import { readFile, stat } from 'node:fs/promises';
import { extname } from 'node:path';
import { ExitCode, MeshError, messageOf, UserError } from '../errors.js';
import { hasBinaryStlLength, parseBinaryStl } from './binary_stl.js';
import { parseObj } from './obj.js';
import { parsePly } from './ply.js';
import { parseTextStl } from './text_stl.js';
import { parse3mf } from './three_mf.js';
import { boundingBox, type Triangles, triangleCount } from './triangles.js';

type Parser = (bytes: Uint8Array<ArrayBuffer>) => Triangles;

/**
 * The triangles of an STL (binary or text), OBJ, PLY or 3MF file, in the file's own coordinates, which
 * are taken for millimetres where the format has no unit. The content decides over the extension.
 * Throws a UserError that names the file when it can't be read or is no usable mesh.
 */
export async function loadMesh(path: string): Promise<Triangles> {
  let bytes: Uint8Array<ArrayBuffer>;
  try {
    bytes = await readWhole(path);
  } catch (error) {
    if ((error as NodeJS.ErrnoException).code === 'EISDIR') {
      const message = `${path}: this is a folder. Name a mesh file in it.`;
      throw new UserError(ExitCode.mesh, message, { cause: error });
    }
    throw new UserError(
      ExitCode.mesh,
      `${path}: the file can't be read (${messageOf(error)}). Check the path and its permissions.`,
      { cause: error },
    );
  }
  try {
    const triangles = parserFor(bytes, extname(path).toLowerCase())(bytes);
    checkTriangles(triangles);
    return triangles;
  } catch (error) {
    if (error instanceof MeshError) {
      throw new UserError(ExitCode.mesh, `${path}: ${error.message}`, { cause: error });
    }
    // The loaders of three.js stumble over damaged files in ways of their own.
    throw new UserError(
      ExitCode.mesh,
      `${path}: the mesh can't be read (${messageOf(error)}). It is damaged or too large.`,
      { cause: error },
    );
  }
}

/** The loaders want an ArrayBuffer that holds the file and nothing else. */
async function readWhole(path: string): Promise<Uint8Array<ArrayBuffer>> {
  const file = await stat(path);
  if (file.isCharacterDevice() || file.isBlockDevice()) {
    throw new Error('it is a device, which has no end');
  }
  const buffer = await readFile(path);
  const owned = buffer.byteOffset === 0 && buffer.byteLength === buffer.buffer.byteLength;
  return owned ? new Uint8Array(buffer.buffer as ArrayBuffer) : new Uint8Array(buffer);
}

function parserFor(bytes: Uint8Array, extension: string): Parser {
  if (bytes.length === 0) {
    throw new MeshError('the file is empty', 'Copy or export it again');
  }
  const head = new TextDecoder('latin1').decode(bytes.subarray(0, 4096));
  if (head.startsWith('PK\x03\x04')) return parse3mf;
  if (/^ply\r?\n/.test(head)) return parsePly;
  if (hasBinaryStlLength(bytes)) return parseBinaryStl;
  const isText = !head.includes('\0');
  if (isText && /^\W*solid\b/.test(head)) return parseTextStl;
  if (extension === '.stl' && !isText) return parseBinaryStl;
  if (isText && /^(v|f|o|g|mtllib|usemtl)\s/m.test(head)) return parseObj;
  const kind = ['.stl', '.obj', '.ply', '.3mf'].includes(extension)
    ? `the content is not that of a file named ${extension}`
    : 'the content is none of STL, OBJ, PLY or 3MF';
  throw new MeshError(kind, 'Export the model as one of STL, OBJ, PLY or 3MF');
}

function checkTriangles(triangles: Triangles): void {
  if (triangleCount(triangles) === 0) {
    throw new MeshError('the mesh has no triangles', 'Export the model as a triangle mesh');
  }
  for (let i = 0; i < triangles.length; i++) {
    if (!Number.isFinite(triangles[i])) {
      throw new MeshError(
        `triangle ${Math.floor(i / 9)} has a coordinate that is not a number`,
        'Repair the mesh in a modelling program and export it again',
      );
    }
  }
  const { min, max } = boundingBox(triangles);
  if (max.some((value, axis) => value === min[axis])) {
    throw new MeshError(
      'the mesh is flat: it has no volume to print',
      'Check that the whole model was exported',
    );
  }
}
