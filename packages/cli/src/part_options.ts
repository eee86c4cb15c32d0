import { type Command, Option } from 'commander';
import {
  defaultPrint,
  defaultSupport,
  type PrintSettings,
  type SupportSettings,
} from 'stiltforge/slicing';
import { angle, distance, positive, screenSize, turn } from './option_values.js';
import { addPresetOption } from './presets/option.js';
import { units } from './units.js';

// Options that several commands have.

export interface PartOptions {
  units?: keyof typeof units;
  up: 'z' | 'y';
  rotate?: [x: number, y: number, z: number];
  height?: number;
  scale?: number;
  center?: boolean;
  lift?: number;
}

export interface PrinterOptions {
  layerHeight: number;
  pixelSize: number;
  screen: [width: number, height: number];
}

/** How the part is placed. */
export function addPartOptions(command: Command): Command {
  return command
    .optionsGroup('The part:')
    .addOption(
      new Option('--units <unit>', 'unit of the mesh (default: what the file says, or mm)').choices(
        Object.keys(units),
      ),
    )
    .addOption(
      new Option('--up <axis>', 'axis of the mesh that points up').choices(['z', 'y']).default('z'),
    )
    .option(
      '--rotate <X,Y,Z>',
      'turn the part by so many degrees about x, then y, then z, like 90,0,-12.5',
      turn,
    )
    .addOption(
      new Option('--height <mm>', 'scale the part to this height')
        .argParser(positive)
        .conflicts('scale'),
    )
    .option('--scale <factor>', 'scale the part by this factor', positive)
    .option('--center', 'move the part: its middle to x = y = 0, its lowest point to z = 0')
    .option('--lift <mm>', 'raise the part above the plate: supports hold its underside', distance);
}

export function addPrinterOptions(command: Command): Command {
  return addPresetOption(command.optionsGroup('The printer:'))
    .option('--layer-height <mm>', 'height of a layer', positive, defaultPrint.layerHeight)
    .option('--pixel-size <mm>', 'side of a pixel of the screen', positive, defaultPrint.pixelSize)
    .addOption(
      new Option('--screen <WxH>', 'pixels of the screen, across and up')
        .argParser(screenSize)
        .default(
          [defaultPrint.screenWidth, defaultPrint.screenHeight],
          `${defaultPrint.screenWidth}x${defaultPrint.screenHeight}`,
        ),
    );
}

export function addSupportOptions(command: Command): Command {
  return command
    .optionsGroup('The supports:')
    .option(
      '--support-area <mm2>',
      'area of a layer that one support holds: less gives more supports',
      positive,
      defaultSupport.supportArea,
    )
    .option(
      '--critical-angle <degrees>',
      'surfaces that lie flatter than this, measured from the plate, need supports',
      angle,
      defaultSupport.criticalAngle,
    )
    .option(
      '--inset <mm>',
      'keep supports this far from the contour where there is a choice',
      distance,
      defaultSupport.inset,
    );
}

export interface RoomOptions {
  minHeight: number;
  minSpacing?: number;
}

export interface FinishOptions extends RoomOptions {
  asAnalysed?: boolean;
}

/** How the points of the analysis are finished. In the group of the last options. */
export function addFinishOptions(command: Command): Command {
  return addRoomOptions(command).option(
    '--as-analysed',
    "the analysis's own points, not finished: see docs/holding.md",
  );
}

/** The room that supports need. In the group of the last options. */
export function addRoomOptions(command: Command): Command {
  return command
    .option(
      '--min-height <mm>',
      'no support fits closer than this above the plate or the part',
      distance,
      defaultSupport.minimumHeight,
    )
    .option(
      '--min-spacing <mm>',
      'keep supports of a region this far apart (default: follows from the support area)',
      distance,
    );
}

export function printSettings(options: PrinterOptions & Pick<PartOptions, 'lift'>): PrintSettings {
  const { layerHeight, pixelSize, screen, lift } = options;
  const [screenWidth, screenHeight] = screen;
  const print = { layerHeight, pixelSize, screenWidth, screenHeight };
  return lift === undefined ? print : { ...print, lift };
}

export function supportSettings(options: SupportSettings): SupportSettings {
  const { criticalAngle, inset, supportArea } = options;
  return { criticalAngle, inset, supportArea };
}
