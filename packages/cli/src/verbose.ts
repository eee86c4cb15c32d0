import { examination } from './doctor/examination.js';
import type { SupportsDocument } from './output/documents.js';

/** What --verbose tells beside the summary: the installation, and all that the run went by. */
export async function verboseText({
  model,
  print,
  settings,
  parameters,
}: SupportsDocument): Promise<string> {
  const installation = (await examination()).map(({ what, state }) => [what, state]);
  const parts: [title: string, rows: string[][]][] = [
    ['installation', installation],
    ['mesh', rowsOf(model.mesh ?? {})],
    ['layers', rowsOf(model.layers ?? {})],
    ['placement', rowsOf(model.placement ?? {})],
    ['print', rowsOf(print)],
    ['settings', rowsOf(settings)],
    ['parameters', rowsOf(parameters)],
  ];
  const told = parts.filter(([, rows]) => rows.length > 0);
  const lines = told.flatMap(([title, rows]) => [
    `  ${title}`,
    ...rows.map(([name, value]) => `    ${name.padEnd(34)}${value}`),
  ]);
  return `${lines.join('\n')}\n`;
}

function rowsOf(values: object): string[][] {
  return Object.entries(values)
    .filter(([, value]) => value !== undefined)
    .map(([name, value]) => [name, typeof value === 'object' ? JSON.stringify(value) : `${value}`]);
}
