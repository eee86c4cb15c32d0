/** Rows in columns two blanks apart, under a line of names. */
export function textTable(
  rows: readonly string[][],
  head: readonly string[],
  isRight: readonly boolean[],
): string[] {
  const all = [head, ...rows];
  const widths = head.map((_, i) => Math.max(...all.map((row) => row[i].length)));
  return all.map((row) =>
    row
      .map((cell, i) => (isRight[i] ? cell.padStart(widths[i]) : cell.padEnd(widths[i])))
      .join('  ')
      .trimEnd(),
  );
}

/** Lines of at most `width` characters where words allow it; those after the first begin with `indent`. */
export function wrapped(text: string, width: number, indent = ''): string[] {
  const lines = [''];
  for (const word of text.split(' ')) {
    const line = lines[lines.length - 1];
    if (line !== '' && line.length + word.length + 1 > width) lines.push(`${indent}${word}`);
    else lines[lines.length - 1] = line === '' ? word : `${line} ${word}`;
  }
  return lines;
}
