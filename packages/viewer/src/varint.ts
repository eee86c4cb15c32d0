/** Bytes that grow; whole numbers from 0 to 2 ** 32 - 1 take seven bits a byte, lowest first. */
export class VarintWriter {
  private bytes = new Uint8Array(4096);
  private length = 0;

  unsigned(value: number): void {
    if (this.length + 5 > this.bytes.length) this.grow();
    let rest = value >>> 0;
    while (rest > 127) {
      this.bytes[this.length++] = (rest & 127) | 128;
      rest >>>= 7;
    }
    this.bytes[this.length++] = rest;
  }

  /** From -(2 ** 31) to 2 ** 31 - 1; small ones of either sign are short. */
  signed(value: number): void {
    this.unsigned((value << 1) ^ (value >> 31));
  }

  finish(): Uint8Array<ArrayBuffer> {
    return this.bytes.slice(0, this.length);
  }

  private grow(): void {
    const larger = new Uint8Array(2 * this.bytes.length);
    larger.set(this.bytes);
    this.bytes = larger;
  }
}

/** Reads what a VarintWriter wrote. Throws a RangeError at the end of the bytes. */
export class VarintReader {
  private at = 0;

  constructor(private readonly bytes: Uint8Array) {}

  unsigned(): number {
    let value = 0;
    for (let shift = 0; ; shift += 7) {
      if (this.at >= this.bytes.length) throw new RangeError('the data of this page is cut off');
      const byte = this.bytes[this.at++];
      value |= (byte & 127) << shift;
      if (byte < 128) return value >>> 0;
    }
  }

  signed(): number {
    const value = this.unsigned();
    return (value >>> 1) ^ -(value & 1);
  }
}
