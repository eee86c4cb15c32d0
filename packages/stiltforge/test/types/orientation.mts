import {
  defaultWeights,
  type Orientation,
  type OrientationWeights,
  type OrientResult,
  orient,
  turnedMesh,
} from 'stiltforge/orientation';

export async function use(positions: Float32Array<ArrayBuffer>): Promise<void> {
  const weights: OrientationWeights = { ...defaultWeights, height: 5 };
  const { signal } = new AbortController();
  const result: OrientResult = await orient({
    positions,
    weights,
    keepClean: [0, -1, 0],
    pixelSize: 0.05,
    progress: (done: number, total: number) => console.log(done / total),
    signal,
  });
  const best: Orientation = result.best[0];
  console.log(turnedMesh(positions, best.turn).length, best.measures.points, result.asItIs?.cost);
  // @ts-expect-error there is no such weight
  await orient({ positions, weights: { beauty: 1 } });
  // @ts-expect-error a mesh is needed
  await orient({ weights });
}
