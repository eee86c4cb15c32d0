/** Millimetres of a unit. */
export const units = { mm: 1, cm: 10, m: 1000, inch: 25.4 };
