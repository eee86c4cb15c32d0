/** Colours that several kinds of pictures share, as they are written in a style sheet. */
export const background = '#f8fafb';
export const pointColours = { island: '#d4141c', overhang: '#ff6a00' } as const;
