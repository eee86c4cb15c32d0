import {
  buildScaffold,
  defaultScaffold,
  findScaffoldConflict,
  type Scaffold,
  type ScaffoldSettings,
  type Stand,
} from 'stiltforge/scaffold';

export async function use(positions: Float32Array<ArrayBuffer>): Promise<void> {
  const settings: ScaffoldSettings = { ...defaultScaffold, tipDiameter: 0.3 };
  const points = [{ x: 1, y: 2, z: 3 }];
  const { signal } = new AbortController();
  const print = { plateZ: 0, layerHeight: 0.05 };
  const built: Scaffold = await buildScaffold({ positions, points, ...print, ...settings, signal });
  const stands: Stand[] = built.supports.map(({ stand }) => stand);
  console.log(built.positions.length, stands, built.leftOut[0]?.reason);
  console.log(findScaffoldConflict(settings, 2)?.range);
  // @ts-expect-error the plate is needed
  await buildScaffold({ positions, points, layerHeight: 0.05 });
  // @ts-expect-error there is no such setting
  await buildScaffold({ positions, points, ...print, colour: 'red' });
}
