// From a printer file, or a folder of pictures, to slices.

import { binding } from './binding.js';
import type { FileSource } from './file_source.js';
import type { ChannelOptions, LabelledRuns, Slice } from './sliced_layer.js';
import { type AbortSignalLike, following } from './waiting.js';

/**
 * An open file or folder with the layers of a print. What the file does not say is missing, or an
 * empty text.
 */
export interface PrinterFile {
  readonly format: 'SL1' | 'NanoDLP' | 'GOO' | 'archive of pictures' | 'folder of pictures';
  /** 1 to 65535. */
  readonly layerCount: number;
  /** Pixels of the layers, 1 to 65535. */
  readonly width: number;
  readonly height: number;
  /** mm */
  readonly layerHeight?: number;
  /** mm, of the layer on the plate, where the file says it. */
  readonly firstLayerHeight?: number;
  /** mm */
  readonly pixelWidth?: number;
  /** mm */
  readonly pixelHeight?: number;
  /**
   * How a layer shows the plate. Without any of these x runs along its columns and y against its rows;
   * turned by a quarter, x runs against the rows and y against the columns. Then left and right, or top
   * and bottom, are exchanged.
   */
  readonly turned: boolean;
  readonly mirroredX: boolean;
  readonly mirroredY: boolean;
  readonly printer: string;
  readonly material: string;
}

export interface OpenOptions {
  /** Of bytes: their file, for messages. */
  name?: string;
  /** The lowest grey that is material, 1 to 255; 128 unless set. */
  threshold?: number;
  /**
   * Bytes in which layers stay decoded, as runs, for those who read them again: as many as fit, those that
   * are read first before others; 0 unless set.
   */
  keptBytes?: number;
  signal?: AbortSignalLike;
}

export interface LayerSlicerOptions extends ChannelOptions {
  /** Column and row of the layers that the slices start with; 0 unless set. */
  cropX?: number;
  cropY?: number;
  /** Pixels of the slices, within the layers; as the layers unless set. */
  width?: number;
  height?: number;
  /**
   * Whether the layers are RGB pictures that carry the channels: red material, green the stroke value,
   * blue the support value. The channels follow from the layers' geometry unless set.
   */
  haveChannels?: boolean;
}

/**
 * The layers of a printer file as slices, decoded off the main thread. An analysis takes it as it takes
 * a Slicer. What is wrong with a layer rejects with ERR_STILTFORGE_FILE and a sentence that names it.
 */
export interface LayerSlicer {
  readonly layerCount: number;
  /** Pixels of the slices. */
  readonly width: number;
  readonly height: number;
  /** Column and row of the layers that the slices start with. */
  readonly cropX: number;
  readonly cropY: number;
  /** As that of Slicer; layers that carry channels are painted without the stroke value of what is supported. */
  slice(index: number, recycled?: ArrayBuffer): Promise<Slice>;
  /** As that of Slicer. */
  runs(first: number, count?: number): Promise<LabelledRuns[]>;
}

interface PrinterFileBinding {
  openPrinterFile(source: FileSource, options?: OpenOptions): Promise<PrinterFile>;
  isPrinterFile(source: FileSource, name?: string): boolean;
  LayerSlicer: new (file: PrinterFile, options: LayerSlicerOptions) => LayerSlicer;
}

/**
 * Opens an SL1, NanoDLP or GOO file, another zip archive or a folder of numbered PNG pictures, off the
 * main thread. The content tells which. No layer is decoded yet; the file stays open as long as there is
 * a reference to it.
 *
 * Rejects with an Error that names the file, what is wrong with it and where, and what to do, with the
 * code ERR_STILTFORGE_FILE; ERR_STILTFORGE_MEMORY when memory runs out, ABORT_ERR when the signal is
 * aborted; with a TypeError or a RangeError for arguments that are none and for an unknown option.
 */
export function openPrinterFile(source: FileSource, options?: OpenOptions): Promise<PrinterFile> {
  const { openPrinterFile: open } = binding<PrinterFileBinding>();
  return following(options?.signal, (signal) =>
    open(source, signal ? { ...options, signal } : options),
  );
}

/**
 * Whether a path is one for openPrinterFile() and not for readMesh(): a folder, a name with the extension
 * of a printer file, or a file that begins like one. False for others that can't be read. Of bytes, with
 * the name of their file where it is known.
 */
export function isPrinterFile(source: FileSource, name?: string): boolean {
  return binding<PrinterFileBinding>().isPrinterFile(source, name);
}

/**
 * Throws a TypeError for a file that openPrinterFile() has not opened and for an option that is missing,
 * unknown or of another type, an Error with a sentence for one that is out of range.
 */
export function createLayerSlicer(file: PrinterFile, options: LayerSlicerOptions): LayerSlicer {
  const { LayerSlicer } = binding<PrinterFileBinding>();
  return new LayerSlicer(file, options);
}
