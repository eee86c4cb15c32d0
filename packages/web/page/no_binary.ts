/** Stands in the place of stiltforge/load: the page itself takes settings alone from the packages. */
export function loadBinary(name: string): never {
  throw new Error(`${name} is the worker's, not the page's.`);
}
