import { distance } from 'fastest-levenshtein';

/** The name that was probably meant; undefined when none is like it. */
export function nearestName(text: string, names: readonly string[]): string | undefined {
  const ranked = names
    .map((name) => ({ name, edits: distance(text.toLowerCase(), name.toLowerCase()) }))
    .sort((a, b) => a.edits - b.edits);
  const [best] = ranked;
  return best !== undefined && best.edits <= Math.max(2, text.length / 3) ? best.name : undefined;
}

/** " Did you mean ghostRadius?", or nothing. */
export function suggestion(text: string, names: readonly string[]): string {
  const name = nearestName(text, names);
  return name === undefined ? '' : ` Did you mean ${name}?`;
}
