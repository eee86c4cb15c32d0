/** Places round a pixel that are looked at, for every second pixel. */
const samples = 12;
/** The places turn from pixel to pixel, over squares of this side; the mean over one is smooth. */
const side = 4;
const goldenAngle = Math.PI * (3 - Math.sqrt(5));

/** Steeper than this towards the eye a neighbour begins to shade. */
const flatSlope = 0.35;
const strength = 0.9;
const darkest = 0.55;

/**
 * How much light each pixel keeps, 0 to 1, when surfaces that stand in front of it nearby take some:
 * creases and contacts get dark. `depth`: millimetres along the line of sight; `radius` in millimetres.
 */
export function ambientLight(
  depth: Float32Array,
  width: number,
  height: number,
  radius: number,
  pixelsPerMillimetre: number,
): Float32Array {
  const light = new Float32Array(depth.length);
  const turns = side * side;
  const columns = new Int32Array(samples * turns);
  const rows = new Int32Array(samples * turns);
  const slopePerDepth = new Float32Array(samples);
  for (let k = 0; k < samples; k++) {
    const distance = radius * Math.sqrt((k + 0.5) / samples);
    slopePerDepth[k] = 1 / distance;
    for (let turn = 0; turn < turns; turn++) {
      // Neighbouring turns far apart.
      const angle = k * goldenAngle + ((turn * 7) % turns) * ((2 * Math.PI) / turns);
      columns[turn * samples + k] = Math.round(distance * pixelsPerMillimetre * Math.cos(angle));
      rows[turn * samples + k] = Math.round(distance * pixelsPerMillimetre * Math.sin(angle));
    }
  }
  const reach = 4 * radius;
  for (let row = 0; row < height; row++) {
    for (let column = row % 2; column < width; column += 2) {
      const own = depth[row * width + column];
      if (own === Infinity) continue;
      const first = ((row % side) * side + (column % side)) * samples;
      let hidden = 0;
      for (let k = 0; k < samples; k++) {
        const x = column + columns[first + k];
        const y = row + rows[first + k];
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        const front = own - depth[y * width + x];
        const slope = front * slopePerDepth[k] - flatSlope;
        if (slope > 0 && front < reach) hidden += slope < 1 ? slope : 1;
      }
      light[row * width + column] = 1 - Math.min(darkest, (strength * hidden) / samples);
    }
  }
  return smoothed(light, depth, width, height, radius);
}

/** The mean of every second pixel in the square round each, without what lies on other surfaces. */
function smoothed(
  light: Float32Array,
  depth: Float32Array,
  width: number,
  height: number,
  farApart: number,
): Float32Array {
  const result = new Float32Array(light.length);
  for (let row = 0; row < height; row++) {
    const top = Math.max(0, row - side / 2);
    const bottom = Math.min(height, row + side / 2);
    for (let column = 0; column < width; column++) {
      const own = depth[row * width + column];
      if (own === Infinity) continue;
      const left = Math.max(0, column - side / 2);
      const right = Math.min(width, column + side / 2);
      let sum = 0;
      let count = 0;
      for (let y = top; y < bottom; y++) {
        for (let i = y * width + left + ((y + left) % 2); i < y * width + right; i += 2) {
          const apart = depth[i] - own;
          if (apart > farApart || apart < -farApart) continue;
          sum += light[i];
          count++;
        }
      }
      result[row * width + column] = count > 0 ? sum / count : 1;
    }
  }
  return result;
}
