/** Deflates without a header, by what Node and browsers have. */
export const deflated = (bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array<ArrayBuffer>> =>
  through(new CompressionStream('deflate-raw'), bytes);

export const inflated = (bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array<ArrayBuffer>> =>
  through(new DecompressionStream('deflate-raw'), bytes);

async function through(
  { readable, writable }: GenericTransformStream,
  bytes: Uint8Array<ArrayBuffer>,
): Promise<Uint8Array<ArrayBuffer>> {
  const writer = (writable as WritableStream<Uint8Array<ArrayBuffer>>).getWriter();
  // What goes wrong shows at the other end.
  writer.write(bytes).catch(() => {});
  writer.close().catch(() => {});
  return new Uint8Array(await new Response(readable).arrayBuffer());
}

export function joined(chunks: readonly Uint8Array[]): Uint8Array<ArrayBuffer> {
  const bytes = new Uint8Array(chunks.reduce((sum, { length }) => sum + length, 0));
  let at = 0;
  for (const chunk of chunks) {
    bytes.set(chunk, at);
    at += chunk.length;
  }
  return bytes;
}
