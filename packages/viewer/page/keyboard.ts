/**
 * What keys do, by the key and by "Shift+" and the key, until the signal is aborted. Typing into a field
 * is left alone.
 */
export function listenToKeys(
  actions: Readonly<Record<string, () => void>>,
  signal: AbortSignal,
): void {
  const act = (event: KeyboardEvent): void => {
    if (event.defaultPrevented || event.altKey || event.ctrlKey || event.metaKey) return;
    const { target } = event;
    if (target instanceof HTMLSelectElement || isTyped(target)) return;
    // A dialog that is open has the keys to itself.
    if (target instanceof Element && target.closest('dialog') !== null) return;
    // The slider has the arrows and Home and End of its own; the others mean the same everywhere.
    const isArrow = /^(Arrow|Page|Home|End)/.test(event.key);
    if (target instanceof HTMLInputElement && isArrow && !event.shiftKey) return;
    const exact = actions[`${event.shiftKey ? 'Shift+' : ''}${event.key}`];
    // "+" and "?" need Shift on most keyboards, and "f" with Shift is "F".
    const plain =
      exact ?? (event.shiftKey && event.key.length === 1 ? actions[event.key] : undefined);
    if (plain === undefined) return;
    event.preventDefault();
    plain();
  };
  addEventListener('keydown', act, { signal });
}

function isTyped(target: EventTarget | null): boolean {
  return target instanceof HTMLInputElement && ['text', 'search', 'number'].includes(target.type);
}
