import { label, labelWidth } from './label.js';

export interface LegendEntry {
  /** SVG of what is explained, round (0, 0). */
  mark: string;
  /** Pixels that it reaches to the left and to the right. */
  markRadius: number;
  text: string;
}

const size = 15;
const lineHeight = 26;
const afterMark = 9;
const between = 26;

/** What marks mean, in as many lines as the width takes: SVG from the top at (left, 0), and its height. */
export function legend(
  entries: readonly LegendEntry[],
  left: number,
  width: number,
): { svg: string; height: number } {
  let x = left;
  let line = 0;
  const parts = entries.map(({ mark, markRadius, text }) => {
    const wide = 2 * markRadius + afterMark + labelWidth(text, size);
    if (x > left && x + wide > left + width) {
      x = left;
      line++;
    }
    const y = lineHeight * (line + 0.5);
    const svg =
      `<g transform="translate(${x + markRadius} ${y})">${mark}</g>` +
      label(text, x + 2 * markRadius + afterMark, y + 0.36 * size, { size });
    x += wide + between;
    return svg;
  });
  return { svg: parts.join(''), height: lineHeight * (line + 1) };
}
