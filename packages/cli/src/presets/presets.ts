import type { PrintSettings, SupportSettings } from 'stiltforge/slicing';

export interface Preset<Settings> {
  name: string;
  /** What a person reads beside the name. */
  about: string;
  settings: Settings;
}

export type ScreenSettings = Pick<PrintSettings, 'pixelSize' | 'screenWidth' | 'screenHeight'>;
export type ResinSettings = Pick<SupportSettings, 'supportArea' | 'criticalAngle'>;

/**
 * Screens that many printers have, named by the thousands of pixels across and their size in mm. Each is
 * that of a printer's profile for PrusaSlicer; pixels that are not square are none of these.
 */
export const screens: readonly Preset<ScreenSettings>[] = [
  screen(2560, 1440, 0.04725),
  screen(2560, 1620, 0.051),
  screen(3840, 2400, 0.035),
  screen(4098, 2560, 0.035),
  screen(3840, 2400, 0.05),
  screen(5760, 3600, 0.034),
  screen(5760, 3600, 0.0344),
  screen(7500, 3240, 0.022),
  screen(7680, 4320, 0.0285),
  screen(7680, 4320, 0.043),
  screen(8520, 4320, 0.018),
  screen(9024, 5120, 0.017),
];

/** Kinds of resin by what counts for supports: how it breaks, and how stiff it is while wet. */
export const resins: readonly Preset<ResinSettings>[] = [
  {
    name: 'standard',
    about: 'what most resins need; as without a preset',
    settings: { supportArea: 15, criticalAngle: 45 },
  },
  {
    name: 'stiff',
    about: 'cures stiff and carries flatter slopes',
    settings: { supportArea: 15, criticalAngle: 35 },
  },
  {
    name: 'brittle',
    about: 'supports break early: more of them',
    settings: { supportArea: 8, criticalAngle: 45 },
  },
  {
    name: 'soft',
    about: 'flexible or for casting, bends while wet: more, and under steeper slopes',
    settings: { supportArea: 10, criticalAngle: 55 },
  },
];

function screen(width: number, height: number, pixelSize: number): Preset<ScreenSettings> {
  const size = [width, height].map((pixels) => Math.round(pixels * pixelSize)).join('x');
  // A screen is called 4K from about 3,840 pixels on, 6K from 5,760.
  const thousands = Math.floor((width + 500) / 1000);
  return {
    name: `${width < 3000 ? 2 : thousands}k-${size}`,
    about: `${width} x ${height} pixels of ${pixelSize} mm`,
    settings: { pixelSize, screenWidth: width, screenHeight: height },
  };
}
