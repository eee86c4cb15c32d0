export const sidesName = 'part.png';
export const undersideName = 'part_from_below.png';
export const sliceSheetName = 'slices.png';
export const sliceName = (index: number): string => `slices/${index + 1}.png`;

/** Most slices that are drawn. */
export const mostSlices = 6;

/** Every picture that a run may draw, beside those of regions. */
export const pictureNames = [
  sidesName,
  undersideName,
  sliceSheetName,
  ...Array.from({ length: mostSlices }, (_, index) => sliceName(index)),
];
