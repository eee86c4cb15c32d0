/** Whole pixels. */
export interface Size {
  width: number;
  depth: number;
}

/** Corner with the lowest x and y, whole pixels. */
export interface Corner {
  x: number;
  y: number;
}

/** A stretch of the front line behind which there is still room. */
interface Stretch {
  x: number;
  width: number;
  /** How far the stretch is taken. */
  y: number;
}

type Order = (a: Size, b: Size) => number;

/** What comes first decides much; one of these mostly does well. */
const orders: readonly Order[] = [
  (a, b) => b.depth - a.depth || b.width - a.width,
  (a, b) => b.width - a.width || b.depth - a.depth,
  (a, b) => b.width * b.depth - a.width * a.depth,
];

/**
 * Places rectangles side by side, without turning them: each as far to the front and then to the left as
 * it goes over the skyline of those before. Those that find no room are undefined.
 */
export function packed(sizes: readonly Size[], room: Size): (Corner | undefined)[] {
  let best: (Corner | undefined)[] = [];
  let most = -1;
  for (const order of orders) {
    const corners = packedInOrder(sizes, room, order);
    const placed = corners.filter((corner) => corner !== undefined).length;
    if (placed > most) [best, most] = [corners, placed];
    if (placed === sizes.length) break;
  }
  return best;
}

function packedInOrder(sizes: readonly Size[], room: Size, order: Order): (Corner | undefined)[] {
  const corners: (Corner | undefined)[] = sizes.map(() => undefined);
  let skyline: Stretch[] = [{ x: 0, width: room.width, y: 0 }];
  const numbers = sizes.map((_, number) => number);
  numbers.sort((a, b) => order(sizes[a], sizes[b]) || a - b);
  for (const number of numbers) {
    const corner = lowestCorner(skyline, sizes[number], room);
    if (corner === undefined) continue;
    corners[number] = corner;
    skyline = raised(skyline, corner, sizes[number]);
  }
  return corners;
}

function lowestCorner(
  skyline: readonly Stretch[],
  { width, depth }: Size,
  room: Size,
): Corner | undefined {
  let lowest: Corner | undefined;
  skyline.forEach(({ x }, first) => {
    if (x + width > room.width) return;
    let y = 0;
    for (let i = first; i < skyline.length && skyline[i].x < x + width; i++) {
      y = Math.max(y, skyline[i].y);
    }
    if (y + depth <= room.depth && (lowest === undefined || y < lowest.y)) lowest = { x, y };
  });
  return lowest;
}

function raised(skyline: readonly Stretch[], { x, y }: Corner, { width, depth }: Size): Stretch[] {
  const end = x + width;
  const pieces = skyline.flatMap((stretch) => {
    const right = stretch.x + stretch.width;
    const left = { ...stretch, width: Math.min(right, x) - stretch.x };
    const rest = { ...stretch, x: Math.max(stretch.x, end) };
    rest.width = right - rest.x;
    return [left, rest].filter((piece) => piece.width > 0);
  });
  return [...pieces, { x, width, y: y + depth }].sort((a, b) => a.x - b.x);
}
