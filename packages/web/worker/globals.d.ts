/** Name and version of the program, set by the build. */
declare const __GENERATOR__: string;
