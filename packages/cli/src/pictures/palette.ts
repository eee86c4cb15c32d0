/** Colours that several kinds of pictures share, as they are written in a style sheet. */
export const background = '#f8fafb';
export const pointColours = {
  /** Points of the analysis, by what they hold. */
  island: '#d4141c',
  overhang: '#ff6a00',
  /** Placed by finishing. */
  added: '#7b2fd0',
  /** Left out by finishing. */
  dropped: '#46515c',
  /** The overhang furthest from a point. */
  weakest: '#0a7cff',
} as const;

export type PointMark = keyof typeof pointColours;
