import {
  DataTexture,
  DoubleSide,
  Mesh,
  MeshBasicMaterial,
  PlaneGeometry,
  SRGBColorSpace,
} from 'three';
import type { ViewerSlice } from '../../src/slice_codec.js';
import type { Palette } from '../palette.js';
import type { ViewedPart } from '../part.js';
import { paintSlice } from '../slice/paint_slice.js';

/** Pixels of the longer side of the picture on the cut. */
const longerSide = 900;

/** The slice where the part is cut open: a picture that lies on the cut. */
export class CutFace {
  readonly mesh: Mesh<PlaneGeometry, MeshBasicMaterial>;
  private readonly picture: ImageData;
  private readonly texture: DataTexture;
  private readonly scale: number;

  constructor(part: ViewedPart) {
    const { crop } = part.document.part.print;
    this.scale = Math.min(1, longerSide / Math.max(crop.width, crop.height));
    const width = Math.max(1, Math.ceil(crop.width * this.scale));
    const height = Math.max(1, Math.ceil(crop.height * this.scale));
    this.picture = new ImageData(width, height);
    this.texture = new DataTexture(this.picture.data, width, height);
    this.texture.colorSpace = SRGBColorSpace;
    const material = new MeshBasicMaterial({ map: this.texture, side: DoubleSide, alphaTest: 0.5 });
    const geometry = new PlaneGeometry();
    const { position, uv } = geometry.attributes;
    for (let i = 0; i < position.count; i++) {
      const [across, down] = [uv.getX(i), 1 - uv.getY(i)];
      const [x, y] = part.placeOf(
        crop.column + (across * width) / this.scale - 0.5,
        crop.row + (down * height) / this.scale - 0.5,
      );
      position.setXY(i, x - (part.min[0] + part.max[0]) / 2, y - (part.min[1] + part.max[1]) / 2);
      // The picture's first row is the one where the texture begins.
      uv.setY(i, down);
    }
    this.mesh = new Mesh(geometry, material);
  }

  paint(slice: ViewerSlice, islands: ReadonlySet<number>, palette: Palette): void {
    paintSlice(slice, { left: 0, top: 0, scale: this.scale }, islands, palette, 10, this.picture);
    this.texture.needsUpdate = true;
  }
}
