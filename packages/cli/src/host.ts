/** The program in which parts are analysed. */
export interface Host {
  /** Its name and version, as documents tell them. */
  generator: string;
  /** Bytes that a run may take unless its job says how many. */
  memory: number;
}
