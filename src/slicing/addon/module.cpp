// The addon's interface, as TypeScript has it:
//
// /** What a slice carries besides its pixels. */
// export interface Slice {
//   /** width * height RGBA pixels, row by row: red 255 where there is material, green its stroke
//   value,
//    *  blue its support value, alpha 255; background 0, 0, 0, 255. Yours to keep, change or
//    recycle. */
//   pixels: ArrayBuffer;
//   materialPixels: number;
//   /** Millimetres above the plate, the middle of the layer. */
//   z: number;
// }
//
// export interface ChannelOptions {
//   /** mm */
//   layerHeight: number;
//   /** mm, side of the square pixels */
//   pixelSize: number;
//   /** Degrees between the plate and a surface that just carries itself, above 0 to 90.
//   Default 45.
//    *  Support value 255 reaches layerHeight / tan(criticalAngle) beyond the material below. */
//   criticalAngle?: number;
//   /** mm beyond the material below from where on the support value is 0. Default 0.5, or twice
//   the
//    *  self-supporting reach where that is more. */
//   fullOverhang?: number;
//   /** mm inwards of the contour from where on the stroke value is 0. Default 0.4. */
//   inset?: number;
// }
//
// export interface SlicerOptions extends ChannelOptions {
//   /** Nine numbers a triangle, mm, z up, counter-clockwise from outside. Copied by the
//   constructor. */ positions: Float32Array;
//   /** The printer's screen, pixels. */
//   screenWidth: number;
//   screenHeight: number;
//   /** mm from the screen's centre to the centre of the model's box. Default 0. */
//   offsetX?: number;
//   offsetY?: number;
//   /** Pixels left free around the model, as far as the screen reaches. Default 0. */
//   margin?: number;
// }
//
// /** Counts that tell how far a mesh is from a closed surface; volumes in mm3, bounds in mm. */
// export interface MeshReport {
//   triangles: number;
//   vertices: number;
//   degenerateTriangles: number;
//   openEdges: number;
//   nonManifoldEdges: number;
//   misorientedEdges: number;
//   parts: number;
//   openParts: number;
//   flippedParts: number;
//   cavities: number;
//   signedVolume: number;
//   /** What the slices should add up to: materialPixels * pixelSize ** 2 * layerHeight. An
//   estimate where
//    *  parts are open or overlap. */
//   expectedVolume: number;
//   bounds: { min: [number, number, number]; max: [number, number, number] };
// }
//
// /** Cuts a triangle mesh into slices. The constructor throws an Error that says what cannot be
// sliced
//  *  and what to do. */
// export class Slicer {
//   constructor(options: SlicerOptions);
//   readonly layerCount: number;
//   /** Pixels of the slices, the part of the screen around the model. */
//   readonly width: number;
//   readonly height: number;
//   /** Screen column and row of the slices' first pixel. */
//   readonly cropX: number;
//   readonly cropY: number;
//   /** Model coordinates of the screen's outer corner at column 0, row 0: the centre of a slice's
//   pixel
//    *  lies at x = originX + (cropX + column + 0.5) * pixelSize and
//    *  y = originY - (cropY + row + 0.5) * pixelSize. */
//   readonly originX: number;
//   readonly originY: number;
//   readonly report: MeshReport;
//   /** Layer index, bottom first, computed off the main thread. Any order gives the same bytes,
//   ascending
//    *  is fastest. Several calls run one after the other. `recycled`, of exactly width * height *
//    4 bytes,
//    *  is filled and handed back instead of a new buffer; leave it alone until then. */
//   slice(index: number, recycled?: ArrayBuffer): Promise<Slice>;
// }
//
// export interface MaskSlicerOptions extends ChannelOptions {
//   /** Pixels of the masks. */
//   maskWidth: number;
//   maskHeight: number;
//   /** Part of the masks that the slices show. Default: all. */
//   cropX?: number;
//   cropY?: number;
//   width?: number;
//   height?: number;
//   /** The lowest grey that is material, 1 to 255. Default 128. */
//   threshold?: number;
// }
//
// /** Makes slices of black-and-white layers. */
// export class MaskSlicer {
//   constructor(options: MaskSlicerOptions);
//   /** The next layer up, the first call the one on the plate. mask: maskWidth * maskHeight grey
//   bytes,
//    *  row by row; leave it and `recycled` (see Slicer.slice) alone until the promise settles. */
//   next(mask: Uint8Array, recycled?: ArrayBuffer): Promise<Slice>;
// }

#include <napi.h>

#include "slicing/addon/mask_slicer_object.h"
#include "slicing/addon/slicer_object.h"

namespace {

Napi::Object initialize(Napi::Env env, Napi::Object exports) {
  exports.Set("Slicer", stiltforge::slicing::SlicerObject::define(env));
  exports.Set("MaskSlicer", stiltforge::slicing::MaskSlicerObject::define(env));
  return exports;
}

}  // namespace

NODE_API_MODULE(slicing, initialize)
