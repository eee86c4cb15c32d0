/** Colours that canvases and the scene need as numbers; the style sheet has those of the page. */
export interface Palette {
  regions: readonly string[];
  island: string;
  outline: string;
  pointIsland: string;
  pointOverhang: string;
  pointAdded: string;
  pointEdge: string;
  pointBelow: string;
  part: string;
  tint: string;
  support: string;
  plate: string;
  plateLines: string;
  ink: string;
  muted: string;
  line: string;
  accent: string;
  overhang: string;
  surface: string;
}

const light: Palette = {
  regions: ['#a9c6e6', '#aed6b4', '#cbbbe2', '#efd596', '#a3d6d6', '#e0c4b2', '#c3cdda'],
  island: '#f28b76',
  outline: '#40566d',
  pointIsland: '#c40f1a',
  pointOverhang: '#f07000',
  pointAdded: '#7b2fd0',
  pointEdge: '#ffffff',
  pointBelow: '#5f6f80',
  part: '#aab8c7',
  tint: '#e0a35e',
  support: '#6fa8a3',
  plate: '#e3e9ee',
  plateLines: '#c9d3dc',
  ink: '#16202b',
  muted: '#5a6a7a',
  line: '#d9e0e7',
  accent: '#1f5fd1',
  overhang: '#b36a1c',
  surface: '#ffffff',
};

const dark: Palette = {
  regions: ['#5d83ad', '#5e9368', '#8473a8', '#a58b45', '#4f9494', '#9a7a66', '#77879a'],
  island: '#d9604a',
  outline: '#dbe6f0',
  pointIsland: '#ff4f57',
  pointOverhang: '#ff9a3d',
  pointAdded: '#b891ff',
  pointEdge: '#10161d',
  pointBelow: '#c3ced9',
  part: '#8fa0b2',
  tint: '#c98a45',
  support: '#4c8a85',
  plate: '#1c252f',
  plateLines: '#2f3c49',
  ink: '#e8eef4',
  muted: '#94a3b2',
  line: '#2a3541',
  accent: '#6aa2ff',
  overhang: '#e0a35e',
  surface: '#161d25',
};

export const palettes = { light, dark } as const;

/** "#rrggbb" as three bytes. */
export function bytesOf(hex: string): readonly [number, number, number] {
  const value = Number.parseInt(hex.slice(1), 16);
  return [value >> 16, (value >> 8) & 255, value & 255];
}
