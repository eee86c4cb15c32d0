/** The name of a file, of a path of any system. */
export function nameOfPath(path: string): string {
  return path.replace(/.*[/\\]/s, '');
}
