/** Hands a file to the browser's downloads. */
export function saveFile(file: Blob, name: string): void {
  const address = URL.createObjectURL(file);
  const link = document.createElement('a');
  link.href = address;
  link.download = name;
  link.click();
  // The download has the address by then.
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}
