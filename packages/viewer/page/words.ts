const whole = new Intl.NumberFormat('en');

export const countText = (count: number): string => whole.format(count);

/** "1 point", "1,200 points". */
export const counted = (count: number, noun: string, plural = `${noun}s`): string =>
  `${countText(count)} ${count === 1 ? noun : plural}`;

export const millimetres = (value: number, digits = 2): string => `${value.toFixed(digits)} mm`;

/** To about three digits. */
export function figure(value: number): string {
  const digits = value === 0 ? 0 : value < 1 ? 3 : value < 10 ? 2 : value < 100 ? 1 : 0;
  return digits === 0 ? countText(Math.round(value)) : value.toFixed(digits);
}

export const area = (value: number): string => `${figure(value)} mm²`;

/** Of mm3. */
export const volume = (value: number): string =>
  value < 1000 ? `${value.toFixed(value < 10 ? 1 : 0)} mm³` : `${(value / 1000).toFixed(1)} ml`;

/** A sentence of the analysis, which writes mm2 and mm3, with the signs of this page. */
export const withSigns = (sentence: string): string =>
  sentence.replace(/\bmm2\b/g, 'mm²').replace(/\bmm3\b/g, 'mm³');

/** 0 of none; there may be more than a call takes arguments. */
export function largest(values: readonly number[]): number {
  let most = 0;
  for (const value of values) if (value > most) most = value;
  return most;
}
