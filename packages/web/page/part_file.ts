import { Failure } from './analyst.js';

/** What is taken from a person's drop or choice: one file. */
export function oneFile(files: FileList | null | undefined): File {
  if (files?.length === 1) return files[0];
  throw new Failure(
    files === null || files === undefined || files.length === 0
      ? 'That was no file. Drop a mesh or a file for a printer.'
      : `These were ${files.length} files. Drop one at a time.`,
    true,
  );
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
