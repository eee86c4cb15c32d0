/**
 * Throws a TypeError for hosts without types: `what` is the argument, "The options", and `contents` what
 * it must hold.
 */
export function requireObject(value: unknown, what: string, contents: string): void {
  if (typeof value === 'object' && value !== null) return;
  throw new TypeError(`${what} must be an object with ${contents}.`);
}
