import { Command } from 'commander';
import { type ParameterRow, parameterTable } from 'stiltforge/analysis';
import { analysisParameters, type SupportSettings } from 'stiltforge/slicing';
import {
  addPrinterOptions,
  addSupportOptions,
  type PrinterOptions,
  printSettings,
  supportSettings,
} from '../part_options.js';
import { checkSettings } from '../setting_ranges.js';
import {
  addParameterOptions,
  givenParameters,
  isFree,
  type ParameterOptions,
  rangeText,
} from './given.js';

interface Options extends PrinterOptions, SupportSettings, ParameterOptions {
  json?: boolean;
}

const description =
  'Prints the 28 parameters of the analysis: the value that a run with these settings takes, unit, ' +
  'range and meaning. They follow from the settings in millimetres; --set and --params of ' +
  'stiltforge <part> put others in their place.';

const notes = `
Examples:
  stiltforge params
  stiltforge params --pixel-size 0.035 --support-area 8
  stiltforge params --json`;

export function paramsCommand(): Command {
  const command = new Command('params')
    .usage('[options]')
    .summary('print the parameters of the analysis')
    .description(description);
  addPrinterOptions(command);
  addSupportOptions(command);
  addParameterOptions(command);
  return command
    .optionsGroup('The output:')
    .option('--json', 'print them as JSON, for programs')
    .helpOption('-h, --help', 'print this help')
    .addHelpText('after', notes)
    .action(printParameters);
}

/** A parameter as a run with the settings has it; no value where it follows from the part. */
interface Row extends ParameterRow {
  value?: number | boolean;
}

function printParameters(options: Options): void {
  const print = printSettings(options);
  const support = supportSettings(options);
  checkSettings(print, support);
  const values = {
    ...analysisParameters(print, support, { width: 1, height: 1, layerCount: 1 }),
    ...givenParameters(options),
  };
  const rows: Row[] = parameterTable().map(({ name, kind, least, most, unit, summary }) => {
    const value = isFree(name) ? { value: values[name] } : {};
    return { name, ...value, kind, least, most, unit, summary };
  });
  if (options.json) {
    process.stdout.write(`${JSON.stringify(rows, null, 2)}\n`);
    return;
  }
  const lines = rows.flatMap((row) => {
    const value = row.value === undefined ? '-' : String(Number(Number(row.value).toPrecision(6)));
    const range = row.kind === 'flag' ? '' : rangeText(row);
    const numbers = `${row.name.padEnd(33)}${value.padEnd(11)}${row.unit.padEnd(9)}${range}`;
    return [`  ${numbers}`.trimEnd(), ...wrapped(row.summary, 74).map((line) => `      ${line}`)];
  });
  const { pixelSize, layerHeight } = print;
  process.stdout.write(
    `The parameters of the analysis, for pixels of ${pixelSize} mm and layers of ${layerHeight} mm.\n` +
      'Without a value: it follows from the part. Areas are in pixels.\n\n' +
      `  ${'name'.padEnd(33)}${'value'.padEnd(11)}${'unit'.padEnd(9)}range\n${lines.join('\n')}\n`,
  );
}

function wrapped(text: string, width: number): string[] {
  return text.match(new RegExp(`\\S.{0,${width - 2}}(?=\\s|$)`, 'g')) ?? [];
}
