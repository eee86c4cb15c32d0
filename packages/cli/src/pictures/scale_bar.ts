import { label } from './label.js';

const thickness = 3;
const colour = '#5b6b7b';

/** A bar of a round length, at most `longest` pixels, with its length in mm: SVG, its left end at (x, y). */
export function scaleBar(
  x: number,
  y: number,
  pixelsPerMillimetre: number,
  longest: number,
): string {
  const millimetres = roundLength(longest / pixelsPerMillimetre);
  const length = (millimetres * pixelsPerMillimetre).toFixed(1);
  return (
    `<rect x="${x}" y="${y - thickness / 2}" width="${length}" height="${thickness}" fill="${colour}"/>` +
    label(`${millimetres} mm`, x + Number(length) + 8, y + 5, { size: 14, colour })
  );
}

/** The largest of 1, 2, 5, 10, 20 ... and their tenths that is no more than `longest`. */
function roundLength(longest: number): number {
  const power = 10 ** Math.floor(Math.log10(longest));
  const digit = longest >= 5 * power ? 5 : longest >= 2 * power ? 2 : 1;
  return Number((digit * power).toPrecision(1));
}
