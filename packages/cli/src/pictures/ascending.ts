/** Position of the first value of an ascending list that is not below `value`. */
export function firstFrom(ascending: Float32Array, value: number): number {
  let low = 0;
  let high = ascending.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (ascending[middle] < value) low = middle + 1;
    else high = middle;
  }
  return low;
}
