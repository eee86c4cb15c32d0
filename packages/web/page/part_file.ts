import { Failure } from './analyst.js';

/** What is taken from a person's drop or choice. */
export function filesOf(files: FileList | null | undefined): File[] {
  if (files?.length) return [...files];
  throw new Failure('That was no file. Drop meshes or a file for a printer.', true);
}

/** What a part, or a plate of several, is called. */
export function nameOf(files: readonly File[]): string {
  return files.map(({ name }) => name).join(', ');
}

/** More than a browser hands over at once. */
const mostBytes = 2 ** 31 - 1;

/** The bytes of a file. Throws a Failure with a sentence for a person. */
export async function bytesOf(file: File): Promise<ArrayBuffer> {
  const { name } = file;
  if (file.size > mostBytes) {
    throw new Failure(
      `${name}: a file of more than 2 GB is too large for a browser. Use the command: npx stiltforge`,
      true,
    );
  }
  try {
    return await file.arrayBuffer();
  } catch {
    throw new Failure(
      `${name}: it can't be read. Choose a file that is there, not a folder.`,
      true,
    );
  }
}
