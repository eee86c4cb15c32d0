/** The files that a run can write the points to, by the word that --format takes. */
export const formatFiles = {
  json: 'supports.json',
  csv: 'points.csv',
  '3mf': 'part.3mf',
  stl: 'supports.stl',
} as const;

/** What --merge adds to it. */
export const mergedFile = 'part_with_supports.stl';

export type OutputFormat = keyof typeof formatFiles;

export const formatNames = Object.keys(formatFiles) as OutputFormat[];

export const defaultFormats: readonly OutputFormat[] = ['json', 'csv'];
