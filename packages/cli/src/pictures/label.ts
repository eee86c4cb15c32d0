import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import type { Font } from 'opentype.js';

const require = createRequire(import.meta.url);
const fontFile = require.resolve('@fontsource/roboto/files/roboto-latin-500-normal.woff');

let font: Font | undefined;

function loadedFont(): Font {
  if (font === undefined) {
    // import would search the whole library for its exports first, which takes longer than to load it.
    const opentype = require('opentype.js') as typeof import('opentype.js');
    const bytes = readFileSync(fontFile);
    font = opentype.parse(
      bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.byteLength) as ArrayBuffer,
    );
  }
  return font;
}

export interface LabelStyle {
  size: number;
  colour?: string;
  anchor?: 'start' | 'middle' | 'end';
}

/**
 * Text as an SVG path with its baseline at (x, y). Paths, since a bare machine has no fonts and the
 * same picture is wanted everywhere.
 */
export function label(text: string, x: number, y: number, style: LabelStyle): string {
  const { size, colour = '#1f2933', anchor = 'start' } = style;
  const width = labelWidth(text, size);
  const left = anchor === 'start' ? x : anchor === 'middle' ? x - width / 2 : x - width;
  return `<path fill="${colour}" d="${loadedFont().getPath(text, left, y, size).toPathData(2)}"/>`;
}

export function labelWidth(text: string, size: number): number {
  return loadedFont().getAdvanceWidth(text, size);
}
