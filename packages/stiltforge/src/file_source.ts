/** The path of a file, or its bytes, which a call copies. In WebAssembly there are bytes alone. */
export type FileSource = string | ArrayBuffer | ArrayBufferView;
