/** "1,200". */
export function countText(value: number): string {
  return value.toLocaleString('en-US');
}

/** "1 island", "1,200 islands". */
export function counted(count: number, one: string, many = `${one}s`): string {
  return `${countText(count)} ${count === 1 ? one : many}`;
}

/** "7,980 mm3", "0.0425 mm3". */
export function volumeText(cubicMillimetres: number): string {
  return `${threeDigits(cubicMillimetres)} mm3`;
}

/** "1,240 mm2", "0.0425 mm2". */
export function areaText(squareMillimetres: number): string {
  return `${threeDigits(squareMillimetres)} mm2`;
}

/** "60.4", "0.906", of mm. */
export function lengthText(millimetres: number): string {
  return threeDigits(millimetres);
}

function threeDigits(value: number): string {
  const digits = value < 100 ? { maximumSignificantDigits: 3 } : { maximumFractionDigits: 0 };
  return value.toLocaleString('en-US', digits);
}

/** "41 s", "3 min 20 s". */
export function durationText(seconds: number): string {
  const whole = Math.ceil(seconds);
  return whole < 60 ? `${whole} s` : `${Math.floor(whole / 60)} min ${whole % 60} s`;
}

/** "587", "0.4": a number a second. */
export function rateText(rate: number): string {
  const digits = rate < 10 ? { maximumSignificantDigits: 1 } : { maximumFractionDigits: 0 };
  return rate.toLocaleString('en-US', digits);
}
