import { deflateSync } from 'fflate';

/** Deflates without a header. The same bytes on every machine, which what Node and browsers have are not. */
export const deflated = (bytes: Uint8Array): Uint8Array => deflateSync(bytes, { level: 6 });

/** By what Node and browsers have. */
export async function inflated(bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array<ArrayBuffer>> {
  const { readable, writable } = new DecompressionStream('deflate-raw');
  const writer = writable.getWriter();
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
