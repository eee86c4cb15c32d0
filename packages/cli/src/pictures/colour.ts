/** A colour in linear light, each channel in [0, 1]. */
export type Colour = readonly [red: number, green: number, blue: number];

/** A colour as it is written in a style sheet, "#rrggbb". */
export function colourOf(hex: string): Colour {
  const channel = (from: number): number => {
    const value = Number.parseInt(hex.slice(from, from + 2), 16) / 255;
    return value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
  };
  return [channel(1), channel(3), channel(5)];
}

const steps = 16383;
const bytes = Uint8Array.from({ length: steps + 1 }, (_, i) => {
  const linear = i / steps;
  const curved = linear <= 0.0031308 ? 12.92 * linear : 1.055 * linear ** (1 / 2.4) - 0.055;
  return Math.round(255 * curved);
});

/** The byte of a channel in an eight-bit picture. */
export function byteOf(linear: number): number {
  return bytes[linear <= 0 ? 0 : linear >= 1 ? steps : (linear * steps + 0.5) | 0];
}
