/** What the build puts into the page: deflated, in base64. */
export type EmbeddedName = 'worker' | 'core' | 'template';

export const embeddedId = (name: EmbeddedName): string => `stiltforge-${name}`;

/** The bytes that stand in the page under that name. */
export async function embedded(name: EmbeddedName): Promise<ArrayBuffer> {
  const code = atob(document.getElementById(embeddedId(name))?.textContent ?? '');
  const bytes = new Uint8Array(code.length);
  for (let i = 0; i < code.length; i++) bytes[i] = code.charCodeAt(i);
  const inflated = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate-raw'));
  return new Response(inflated).arrayBuffer();
}

export async function embeddedText(name: EmbeddedName): Promise<string> {
  return new TextDecoder().decode(await embedded(name));
}
