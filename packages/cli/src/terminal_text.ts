/**
 * The text with a "?" for each character that a terminal would obey: names of files may hold any, and
 * some come from others.
 */
export function terminalText(text: string): string {
  return text.replace(/[^\P{Cc}\n]/gu, '?');
}

/** Writes what a person reads. */
export function tell(stream: NodeJS.WritableStream, text: string): void {
  stream.write(terminalText(text));
}
